// Text formatting: the standard's formatter where the compiler has one, else libfmt, which has the same language.
#pragma once

#if defined(__has_include)
#if __has_include(<format>)
#include <format>
#endif
#endif

// BLOCKS_FORMAT: whether there is `tessel::format`. A host whose compiler has no formatter does without: the other one
// is part of the library's build and not installed.
#if defined(__cpp_lib_format)
#define BLOCKS_FORMAT 1
namespace tessel {
using std::format;
using std::format_string;
}  // namespace tessel
#elif __has_include("core/format_fmt.h")
#define BLOCKS_FORMAT 1
#include "core/format_fmt.h"
#else
#define BLOCKS_FORMAT 0
#endif
