// Compiles the sources of an FMU with a compiler of the PATH.
#pragma once

#include <functional>
#include <string>

#include "coder/fmu/package.h"

namespace zarn {

/// A platform of the interface and the C compiler for it, a program of the PATH or a path.
struct target_t {
    std::string platform;
    std::string compiler;
};

/// The shared library for a platform. Equal sources give equal bytes with one compiler. Raises `std::runtime_error`
/// with the compiler's first line. Once `interrupted` answers true the compiler is ended.
std::string compile_library(const tessel::fmu::package_t& package, const target_t& target,
                            const std::function<bool()>& interrupted = {});

}  // namespace zarn
