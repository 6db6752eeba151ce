// The formatter of compilers without one; included by core/format.h alone.
#pragma once

#include <string>

#include <fmt/core.h>

#include "core/export.h"

namespace tessel {
using fmt::format_string;

/// The formatter itself, compiled once: in every file that formats it would be most of the build.
BLOCKS_API std::string format_text(fmt::string_view text, fmt::format_args args);

template <class... T>
std::string format(format_string<T...> text, T&&... args) {
    return format_text(text, fmt::make_format_args(args...));
}
}  // namespace tessel
