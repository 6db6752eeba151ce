// libfmt's formatter as part of the library, so that no host needs its shared library.
#define FMT_HEADER_ONLY
#include "core/format.h"

#if !defined(__cpp_lib_format)
#include <fmt/format.h>

namespace tessel {

std::string format_text(fmt::string_view text, fmt::format_args args) { return fmt::vformat(text, args); }

}  // namespace tessel
#endif
