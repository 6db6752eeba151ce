// One way of running a model, and what a comparison sees of it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

#include "core/type.h"
#include "host/verify/program/trace.h"

namespace zarn::verify {

/// A port whose values are compared.
struct watched_t {
    std::string path;  ///< of its block
    std::string class_name;
    std::uint64_t block = 0;  ///< id
    std::int16_t port = 0;
    bool is_input = false;
    tessel::type_t type = tessel::type_unknown;
};

inline constexpr std::uint64_t never = std::numeric_limits<std::uint64_t>::max();

/// What is looked at beside the trace. Steps count from 0.
struct look_t {
    std::uint64_t steps = never;                  ///< the run ends behind so many
    std::uint64_t first = never, behind = never;  ///< the fold behind each of these steps is kept
    std::uint64_t at = never;                     ///< the values behind this step are kept
};

/// What a run left.
struct seen_t {
    trace_t trace{};
    std::vector<std::uint64_t> folds;   ///< of the steps that were asked for
    std::vector<std::uint64_t> values;  ///< of every watched port, as `trace_bits` gives them
    std::vector<std::uint64_t> final;   ///< of every watched port behind the run
    double time = 0.0;                  ///< of the step that was asked for
    bool final_only = false;            ///< whether nobody looked into the run: the trace counts its steps alone
};

/// Keeps of a run what a look asks for.
class Watcher {
public:
    explicit Watcher(const look_t& look) : look_(look) { trace_begin(&seen_.trace); }

    /// Ends a step at time t; `bits(i)` gives the value of watched port i of `ports`.
    template <class Bits>
    void step(double t, std::size_t ports, const Bits& bits) {
        const std::uint64_t step = seen_.trace.steps;
        for (std::size_t i = 0; i < ports; ++i) trace_value(&seen_.trace, bits(i));
        if (step == look_.at) {
            for (std::size_t i = 0; i < ports; ++i) seen_.values.push_back(bits(i));
            seen_.time = t;
        }
        if (step >= look_.first && step < look_.behind) seen_.folds.push_back(seen_.trace.fold);
        trace_step(&seen_.trace);
    }
    seen_t& seen() { return seen_; }

private:
    look_t look_;
    seen_t seen_;
};

/// Why a way cannot be gone here: a compiler that is not there, a model that it does not take.
class Skipped : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A way of running a model: each call runs it from its start. Raises `Skipped`, `SessionError`, and for a way that
/// went wrong `std::runtime_error`.
class Way {
public:
    virtual ~Way() = default;
    virtual std::string name() const = 0;
    /// The ports that it shows, the same in each run. Once `run` was called.
    virtual const std::vector<watched_t>& ports() const = 0;
    virtual seen_t run(const look_t& look) = 0;
};

}  // namespace zarn::verify
