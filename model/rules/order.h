// The orders of blocks that come of their zones. All are stable, so one model gives one order; null entries are left
// out.
#pragma once

#include "core/export.h"
#include "model/rules/blocks.h"

namespace tessel::rules {

/// Positions in the order in which a run steps the blocks: by zone, and within a zone by the hash of the class.
BLOCKS_API large_array<std::size_t> stepping_order(lineup_t blocks);

/// Positions by zone alone.
large_array<std::size_t> zone_order(lineup_t blocks);

}  // namespace tessel::rules
