// What a step of a run costs, without its set-up.
#pragma once

#include <cstddef>

#include "bench/engine.h"
#include "exec/ExecModel.h"

namespace bench {

/// Takes the time between the first and the last step of a run: what a step costs, without set-up.
class StepClock final : public tessel::RunMonitor {
public:
    bool step_done(double) noexcept override {
        last_ = seconds();
        if (count_++ == 0) first_ = last_;
        return true;
    }
    bool looks_at_cells() const noexcept override { return false; }
    double seconds_per_step() {
        const double result = (last_ - first_) / static_cast<double>(count_ - 1);
        count_ = 0;
        return result;
    }

private:
    double first_ = 0, last_ = 0;
    std::size_t count_ = 0;
};

}  // namespace bench
