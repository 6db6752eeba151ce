// Port types, worked out by the blocks themselves and further than a compile goes, which stops at the first failure.
#pragma once

#include <functional>
#include <vector>

#include "host/diagnose/evaluation.h"
#include "host/diagnose/wiring.h"

namespace zarn {

struct typing_t {
    Evaluations evaluations;                // of constants, and of blocks that lack a type
    std::vector<tessel::result_t> results;  // of each block's last calculate_type
    std::vector<bool> unknown;              // blocks whose types cannot be known for a reason that is told elsewhere
    std::unique_ptr<tessel::IMetaBlock> ghost;  // stands in for the sources that are missing
    std::vector<std::size_t> haunted;           // blocks that it feeds
};

/// Hears of each block, once it will not be asked again: its position, its last questions and what it came to.
using look_at_block_t = std::function<void(std::size_t, evaluations_t, tessel::result_t)>;

/// Binds the blocks to each other and lets them work out their types in the order of the compile. Reports types that
/// cannot be worked out.
typing_t work_out_types(const graph_t& graph, const wiring_t& wiring, Report& report, const look_at_block_t& look);

/// Reports blocks that have no runnable form for their types.
void check_signatures(const graph_t& graph, const wiring_t& wiring, const typing_t& typing, Report& report);

/// Strongly connected parts of a directed graph given by the successors of each node: the number of each node's part.
/// A part's successors have lower numbers.
std::vector<std::size_t> parts_of(const std::vector<std::vector<std::size_t>>& successors);

}  // namespace zarn
