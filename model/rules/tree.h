// The tree of subsystems: paths, tiers and gates. A parent that names no block stands directly in the root, but for
// paths, of which a block has none then; a ring of parents has no way out.
#pragma once

#include <functional>
#include <string>

#include "EnableMap.h"
#include "core/export.h"
#include "model/rules/blocks.h"

namespace tessel::rules {

/// Sets the number of subsystems around each block, one less for an `enable` block. In a ring of parents it is as many
/// as there are blocks.
BLOCKS_API void set_tiers(lineup_t blocks);

/// Adds for each block the `enable` block of its own subsystem and the one that gates it, 0 for none. An entry that is
/// there already stays.
BLOCKS_API void add_enables(lineup_t blocks, EnableMap& map);

/// Takes a block's position and path; the path is null where the way up does not end at the root, and is valid during
/// the call.
using take_path_t = std::function<void(std::size_t, const std::string*)>;

/// Tells the path of each block, in list order. Holds the path of one level at a time: those of all levels of a deep
/// tree take the square of its depth.
BLOCKS_API void walk_paths(lineup_t blocks, const take_path_t& take);

}  // namespace tessel::rules
