#include "host/diagnose/memory.h"

#include <cstdlib>
#include <fstream>

#include "core/format.h"

namespace zarn {

double free_memory() {
    std::ifstream info("/proc/meminfo");
    for (std::string line; std::getline(info, line);)
        if (line.starts_with("MemAvailable:")) return std::strtod(line.c_str() + 13, nullptr) * 1024.0;
    return 0.0;
}

double length_of(const std::filesystem::path& file) {
    std::error_code error;
    const auto length = std::filesystem::file_size(file, error);
    return error ? 0.0 : static_cast<double>(length);
}

std::string too_large(double length) {
    constexpr double bytes_per_character = 16.0;  // of a text that is mostly short keys and numbers
    constexpr double always = 0x1p24;             // worth a try on any machine
    const double available = free_memory();
    if (length <= always || available == 0.0 || length * bytes_per_character <= available) return {};
    return tessel::format("{:.3g} GiB of text, and models of up to {:.3g} GiB fit the free memory", length / 0x1p30,
                          available / bytes_per_character / 0x1p30);
}

}  // namespace zarn
