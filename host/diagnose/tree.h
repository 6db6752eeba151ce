// The tree of subsystems, as the checks and their messages see it.
#pragma once

#include "host/diagnose/classes.h"
#include "host/diagnose/graph.h"
#include "model/rules/blocks.h"

namespace zarn {

inline bool is_subsystem(const node_t& node) noexcept { return tessel::is_subsystem(*node.block); }

/// Whether this is an input of the whole model, which needs no source.
inline bool is_model_input(const node_t& node) noexcept { return node.is(hash_inport) && node.parent() == 0; }

/// Gives every block its path. A block whose way up does not end at the root gets one that begins with "?".
void name_paths(graph_t& graph);

}  // namespace zarn
