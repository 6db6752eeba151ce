// Sweeps over the blocks that visit those alone for which something may have changed.
#pragma once

#include <cstddef>
#include <vector>

#include "model/rules/blocks.h"

namespace tessel::rules {

/// Whether a sweep that found `before` open blocks and left `after` has closed less than an eighth of them. Further
/// sweeps go by an agenda then, so that a long chain drawn against the list does not take the square of its length.
inline bool sweeps_are_slow(std::size_t before, std::size_t after) noexcept { return 8 * (before - after) < before; }

/// The consumers of every block, by position in the list, and an agenda of the positions to visit: those behind the
/// one at work come in this sweep, those before it in the next.
class Agenda {
public:
    explicit Agenda(lineup_t blocks);

    /// Lets a position be visited; each is visited once a sweep at most.
    void add(std::size_t position);
    /// Lets the blocks be visited that read from the one at `position`.
    void add_consumers(std::size_t position);
    /// The next position of this sweep in list order, or `nowhere` when the sweep is over; the next call begins
    /// another.
    std::size_t next();
    /// Whether neither this sweep nor the next has anything to visit.
    bool empty() const noexcept { return now_.empty() && later_.empty(); }

private:
    large_array<std::size_t> first_;      // into consumers_, one more than there are blocks
    large_array<std::size_t> consumers_;  // positions
    std::vector<std::size_t> now_;        // min-heap
    std::vector<std::size_t> later_;
    std::vector<bool> noted_;
    std::size_t at_ = 0;
    bool sweeping_ = false;
};

}  // namespace tessel::rules
