// Execution levels, and closed loops that have none.
#pragma once

#include <functional>
#include <memory>

#include "IMetaModel.h"
#include "core/export.h"
#include "model/rules/blocks.h"

namespace tessel::rules {

/// Lets the blocks without a zone work out theirs, in sweeps in list order, until one changes nothing. A block may be
/// left out of a sweep when none of its sources has got a zone since its last turn.
/// @return the positions of the blocks that answered in the last sweep that they wait, rising.
BLOCKS_API large_array<std::size_t> sweep_zones(lineup_t blocks);

/// A loop among blocks without a zone of which each waits for the one before; empty where a wait ends in nothing.
BLOCKS_API std::vector<IMetaBlock*> find_loop(lineup_t blocks, const large_array<std::size_t>& waiting);

/// Takes the blocks of a loop, each feeding the next.
using take_loop_t = std::function<void(const std::vector<IMetaBlock*>&)>;

/// A model without blocks and without properties whose compile ends with result_failure in the pass over the zones when
/// a closed loop without a block of fixed zone would keep that pass busy without end. The loop is told first; the
/// blocks are as they were in the pass.
BLOCKS_API std::shared_ptr<IMetaModel> create_watched_meta_model(take_loop_t take);

}  // namespace tessel::rules
