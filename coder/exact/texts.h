// Texts that go into programs as they are.
#pragma once

#include <string_view>

namespace tessel::texts::core {

extern const std::string_view exact_h;  ///< core/exact.h

}  // namespace tessel::texts::core
