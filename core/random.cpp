#include "core/random.h"

#include <random>

namespace tessel {

std::uint64_t random_bits() {
    std::random_device device;
    return std::uint64_t{device()} << 32 | device();
}

}  // namespace tessel
