// Many variants of a model.
//
// Use: construct with a setup and the variants, then `go` with who takes the rows. A front end parses options and
// writes rows; everything else is here.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "host/session/session.h"
#include "host/sweep/measures.h"
#include "host/sweep/variants.h"

namespace zarn {

struct sweep_setup_t {
    session_setup_t session;            ///< the model; its bridge holds the workspace, whose names vary
    std::optional<std::string> text;    ///< of the model, where it is at hand
    std::vector<std::string> measures;  ///< as `parse_measure` reads them
    std::vector<std::string> probes;    ///< signals whose samples are kept, as `find_signals` reads them
    std::uint64_t every = 1;            ///< of the samples one in so many
    unsigned jobs = 0;                  ///< threads, 0 for as many as the processor has
};

/// Neighbouring variants, row by row. The memory is the sweep's, for the time of the call.
struct rows_t {
    std::uint64_t first = 0;  ///< number of the first variant
    std::size_t count = 0;
    std::span<const double> values;      ///< count x names
    std::span<const double> measures;    ///< count x measures; not-a-number where the run has been ended
    std::span<const double> samples;     ///< count x signals x samples
    std::span<const std::string> ended;  ///< of each: why the run has no result, "" where it has one
};

class Sweep {
public:
    /// Prepares the model with the workspace as it is. Raises `SessionError`.
    Sweep(sweep_setup_t setup, std::unique_ptr<Variants> variants);
    Sweep(const Sweep&) = delete;
    Sweep& operator=(const Sweep&) = delete;
    ~Sweep();

    const Variants& variants() const;
    std::vector<std::string> measure_names() const;
    std::vector<std::string> signal_names() const;  ///< of the probes
    /// Samples of each probed signal in a run, and the times that they belong to.
    std::uint64_t samples() const;
    std::vector<double> sample_times() const;
    /// Variants that a batch takes: what a resumed sweep begins at is a multiple of it.
    std::uint64_t batch() const;
    /// How many kinds of models the variants came to so far: more than one where a variant changes types or sizes.
    std::size_t kinds() const;

    /// Several threads ask the session's bridge by turns: a caller who holds a lock that the bridge takes, as an
    /// interpreter's, must give it free for the time of the call.
    ///
    /// Runs the variants from `first` on and hands over their rows in order, a batch at a time, from one thread at a
    /// time. `take` answers whether to go on, and can raise. @return false when it ended the sweep.
    bool go(const std::function<bool(const rows_t&)>& take, std::uint64_t first = 0,
            std::optional<std::uint64_t> end = std::nullopt);

    /// Code that brings the workspace to a variant, and the parameters that are to be set, as a person would write
    /// them.
    std::string replay(std::uint64_t variant) const;

private:
    struct impl_t;
    std::unique_ptr<impl_t> impl_;
};

}  // namespace zarn
