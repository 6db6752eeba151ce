// Texts that go beside an exported program as they are.
#pragma once

#include <string_view>

namespace tessel::texts::program {

extern const std::string_view trace_h, look_h, bare_c, bare_ld;

}  // namespace tessel::texts::program
