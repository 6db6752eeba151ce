// The tree of subsystems: paths, tiers and gates of blocks.
#pragma once

#include <cstdint>
#include <unordered_map>
#include <vector>

#include "host/diagnose/classes.h"
#include "host/diagnose/graph.h"

namespace zarn {

inline bool is_subsystem(const node_t& node) noexcept { return node.is(hash_subsys) || node.is(hash_refsys); }

/// Gives every block its path. A block whose way up does not end at the root gets one that begins with "?".
void name_paths(graph_t& graph);

/// Nesting level of every block, by position.
std::vector<std::int32_t> tiers_of(const graph_t& graph);

/// For each position the ids of the `enable` block of the block's own subsystem and of the one that gates the block;
/// 0 for none. Of blocks with one id the first decides.
struct gate_t {
    std::uint64_t own = 0;
    std::uint64_t gate = 0;
};
std::vector<gate_t> gates_of(const graph_t& graph);

}  // namespace zarn
