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
#ifndef FMT_HEADER_ONLY
#define FMT_HEADER_ONLY
#endif
#include <fmt/format.h>
namespace tessel {
using fmt::format;
using fmt::format_string;
}  // namespace tessel
#endif
