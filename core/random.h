// Chance, for what no file may foresee.
#pragma once

#include <cstdint>

namespace tessel {

/// 64 bits from the system's source of chance.
std::uint64_t random_bits();

}  // namespace tessel
