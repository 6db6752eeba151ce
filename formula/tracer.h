// The formula that is being traced on a thread.
#pragma once

#include "formula/formula.h"

namespace tessel {

/// While it lives, traced values of its thread are values of its formula.
class tracer {
public:
    tracer() noexcept : outer_(current_) { current_ = this; }
    ~tracer() { current_ = outer_; }
    tracer(const tracer&) = delete;
    tracer& operator=(const tracer&) = delete;

    static tracer* current() noexcept { return current_; }

    /// The number of a value; one that is there already is used again.
    std::int32_t add(value_t value);
    /// Notes the first thing that is wrong.
    void fail(const char* what) noexcept {
        if (formula.fault == nullptr) formula.fault = what;
    }
    /// The formula without the values that nothing needs.
    formula_t take();

    formula_t formula;

private:
    static thread_local tracer* current_;
    tracer* outer_;
};

}  // namespace tessel
