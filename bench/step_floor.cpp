#include "bench/step_floor.h"

namespace bench {

void Cell::copy(double* out) const noexcept { *out = value; }

bool AddObject::enabled() const noexcept { return *flag; }
void AddObject::set_time(double t) noexcept { time = t; }
void AddObject::sample() noexcept {
    in0.source->copy(&in0.value);
    in1.source->copy(&in1.value);
}
void AddObject::step() noexcept { out.value = in0.value + in1.value; }

}  // namespace bench
