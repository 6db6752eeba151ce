#include "coder/fmu/platform.h"

#include <algorithm>
#include <array>

#include "core/format.h"

namespace tessel::fmu {
namespace {

constexpr std::array<std::string_view, 8> architectures{"aarch32", "aarch64", "riscv32", "riscv64",
                                                        "x86",     "x86_64",  "ppc32",   "ppc64"};
struct system_t {
    std::string_view name, ending;
};
constexpr std::array<system_t, 3> systems{{{"darwin", "dylib"}, {"linux", "so"}, {"windows", "dll"}}};

struct folder_t {
    std::string_view platform, folder;
};
constexpr std::array<folder_t, 5> folders_of_version_2{{{"x86_64-linux", "linux64"},
                                                        {"x86-linux", "linux32"},
                                                        {"x86_64-windows", "win64"},
                                                        {"x86-windows", "win32"},
                                                        {"x86_64-darwin", "darwin64"}}};

std::string_view system_of(std::string_view platform) { return platform.substr(platform.find('-') + 1); }

}  // namespace

std::string this_platform() {
#if defined(__x86_64__)
    const std::string architecture = "x86_64";
#elif defined(__i386__)
    const std::string architecture = "x86";
#elif defined(__aarch64__)
    const std::string architecture = "aarch64";
#elif defined(__arm__)
    const std::string architecture = "aarch32";
#elif defined(__riscv) && __riscv_xlen == 64
    const std::string architecture = "riscv64";
#else
    const std::string architecture;
#endif
#if defined(__linux__)
    return architecture.empty() ? "" : architecture + "-linux";
#elif defined(__APPLE__)
    return architecture.empty() ? "" : architecture + "-darwin";
#else
    return "";
#endif
}

bool is_platform(std::string_view text) {
    const auto dash = text.find('-');
    if (dash == std::string_view::npos) return false;
    return std::ranges::find(architectures, text.substr(0, dash)) != architectures.end() &&
           std::ranges::find(systems, system_of(text), &system_t::name) != systems.end();
}

std::string library_path(std::string_view platform, version_t version, std::string_view name) {
    std::string_view folder = platform;
    if (version == version_t::two)
        if (const auto at = std::ranges::find(folders_of_version_2, platform, &folder_t::platform);
            at != folders_of_version_2.end())
            folder = at->folder;
    const auto system = std::ranges::find(systems, system_of(platform), &system_t::name);
    return format("binaries/{}/{}.{}", folder, name, system->ending);
}

}  // namespace tessel::fmu
