#include "host/diagnose/memory.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <vector>

#include "core/format.h"

namespace zarn {

double free_memory() {
    std::ifstream info("/proc/meminfo");
    for (std::string line; std::getline(info, line);)
        if (line.starts_with("MemAvailable:")) return std::strtod(line.c_str() + 13, nullptr) * 1024.0;
    return 0.0;
}

double memory_of(const std::filesystem::path& file) {
    constexpr double per_character = 20.0;
    constexpr double per_object = 2000.0;  // a block is two or more, and takes 4 to 5 KiB while it is checked
    std::error_code error;
    if (!std::filesystem::is_regular_file(file, error)) return 0.0;
    const auto length = std::filesystem::file_size(file, error);
    if (error) return 0.0;
    double bytes = static_cast<double>(length) * per_character;
    if (!too_large(bytes).empty()) return bytes;
    std::ifstream in(file, std::ios::binary);
    for (std::vector<char> piece(1u << 16); in;) {
        in.read(piece.data(), static_cast<std::streamsize>(piece.size()));
        bytes += per_object * static_cast<double>(std::count(piece.begin(), piece.begin() + in.gcount(), '{'));
    }
    return bytes;
}

std::string too_large(double bytes) {
    constexpr double always = 0x1p28;  // worth a try on any machine
    const double available = free_memory() * 0.8;
    if (bytes <= always || available == 0.0 || bytes <= available) return {};
    return tessel::format("takes about {:.3g} GiB once it is loaded, and the machine has {:.3g} GiB to give",
                          bytes / 0x1p30, available / 0x1p30);
}

}  // namespace zarn
