#include "core/id_index.h"

#include "core/random.h"

namespace tessel {

void IdPlace::scatter() {
    static const std::uint64_t seed_of_process = random_bits() | 1;
    seed_ = seed_of_process;
}

}  // namespace tessel
