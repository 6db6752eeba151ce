// Text formatting: the standard's formatter where the compiler has one, else libfmt, which has the same language.
#pragma once

#if defined(__has_include) && __has_include(<format>)
#include <format>
#endif

#if defined(__cpp_lib_format)
#include <string>
namespace tessel {
using std::format;
using std::format_string;
}  // namespace tessel
#else
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
#endif
