// What a sweep keeps of each run.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "exec/ensemble/batch.h"

namespace zarn {

enum class measure_kind_t {
    last,
    minimum,
    maximum,
    mean,
    rms,
    crossing,  ///< time of the first step at which the signal is at or above the level; not-a-number where it never is
    integral,  ///< of the signal over time
    iae,       ///< of the error, without its sign, against a reference
    ise,       ///< of the squared error
};

/// One number of a run: "NAME=KIND(SIGNAL)" or "NAME=KIND(SIGNAL, NUMBER)", where NAME can be left out. Values are
/// computed in flt64 over the steps in which the block ran; of a signal that never ran they are not-a-number.
struct measure_t {
    std::string name;
    measure_kind_t kind = measure_kind_t::last;
    std::string signal;                ///< as `find_signals` reads it
    double number = 0.0;               ///< level or reference
    std::size_t number_of_signal = 0;  ///< among those watched
};

/// Raises `SessionError` for a text that is none.
measure_t parse_measure(const std::string& text);

/// Watches one batch.
class Meter final : public tessel::ensemble::Listener {
public:
    /// Of `signals` that are watched the first `kept` have their samples kept: of the steps one in `every`, `samples`
    /// in all.
    Meter(std::span<const measure_t> measures, std::size_t signals, double ts, std::size_t kept, std::uint64_t every,
          std::uint64_t samples);

    void take(std::size_t signal, std::uint64_t step, double t, const void* row, tessel::type_t type,
              const std::uint8_t* ran) noexcept override;
    /// Readies it for the next batch, of a program of so many lanes.
    void clear(std::size_t lanes);
    double result(std::size_t measure, std::size_t lane) const;
    /// The samples of a signal in a lane; not-a-number where the block did not run.
    std::span<const double> series(std::size_t signal, std::size_t lane) const {
        return std::span(series_).subspan((signal * most + lane) * samples_, samples_);
    }

private:
    static constexpr std::size_t most = tessel::ensemble::most_lanes;
    using row_t = std::array<double, most>;
    struct state_t {
        row_t value;
        row_t count;  // of steps
    };
    void keep(std::size_t signal, std::uint64_t step, const row_t& row, const std::uint8_t* ran) noexcept;
    void add(const measure_t& measure, state_t& state, double t, const row_t& row, const std::uint8_t* ran) noexcept;

    std::span<const measure_t> measures_;
    std::vector<std::vector<std::size_t>> of_signal_;  // measures
    std::vector<state_t> states_;
    std::size_t lanes_ = most;
    double ts_;
    std::size_t kept_;
    std::uint64_t every_, samples_;
    std::vector<double> series_;
};

}  // namespace zarn
