#include "host/document/memory.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>

#include "core/format.h"

namespace zarn {

double free_memory() {
    std::ifstream info("/proc/meminfo");
    for (std::string line; std::getline(info, line);)
        if (line.starts_with("MemAvailable:")) return std::strtod(line.c_str() + 13, nullptr) * 1024.0;
    return 0.0;
}

double memory_of_text(std::size_t length) {
    constexpr double per_character = 20.0;
    return static_cast<double>(length) * per_character;
}

namespace {

/// How many objects a text can hold. Counts eight characters at a time: of those that are a brace, what is left of the
/// difference is a byte of zeros, and of no other.
std::size_t count_objects(std::string_view text) {
    constexpr std::uint64_t low = 0x7F7F7F7F7F7F7F7Fu, braces = 0x0101010101010101u * '{';
    std::size_t count = 0;
    for (; text.size() >= sizeof low; text.remove_prefix(sizeof low)) {
        std::uint64_t eight = 0;
        std::memcpy(&eight, text.data(), sizeof eight);
        eight ^= braces;
        count += static_cast<std::size_t>(std::popcount(~(((eight & low) + low) | eight | low)));
    }
    return count + static_cast<std::size_t>(std::ranges::count(text, '{'));
}

}  // namespace

double memory_of(std::string_view text) {
    constexpr double per_object = 2000.0;  // a block is two or more, and takes 4 to 5 KiB while it is checked
    return memory_of_text(text.size()) + per_object * static_cast<double>(count_objects(text));
}

std::string too_large(double bytes) {
    constexpr double always = 0x1p28;  // worth a try on any machine
    if (bytes <= always) return {};
    const double available = free_memory() * 0.8;
    if (available == 0.0 || bytes <= available) return {};
    return tessel::format("takes about {:.3g} GiB once it is loaded, and the machine has {:.3g} GiB to give",
                          bytes / 0x1p30, available / 0x1p30);
}

}  // namespace zarn
