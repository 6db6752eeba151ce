// What units are made of: the blocks of a run with their wiring, before anything has a name.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "IExecModel.h"
#include "IMetaModel.h"
#include "PropertiesModel.h"
#include "coder/exact/unit.h"

namespace tessel::exact {

/// Position of a node in the order of the run.
using node_number = std::int32_t;
inline constexpr node_number no_node = -1;

/// One block of a run.
struct node_t {
    IMetaBlock* block = nullptr;
    std::string path;
    std::uint32_t class_hash = 0;
    formula_t formula{};
    std::vector<node_number> sources{};  ///< behind each input of the formula
    node_number gate = no_node;          ///< the `enable` block that decides whether it runs

    // what a part leaves of it
    bool inside = true;
    bool is_border_input = false;   ///< what it reads comes from outside the program
    bool is_border_output = false;  ///< the program's surroundings read it
};

/// The blocks of a run, in its order.
struct draft_t {
    std::vector<node_t> nodes;
    std::string part;  ///< path of the subsystem that is the program, "" for a whole model

    node_t& at(node_number i) { return nodes[static_cast<std::size_t>(i)]; }
    const node_t& at(node_number i) const { return nodes[static_cast<std::size_t>(i)]; }
    /// Whether a node ever runs: it does not where its `enable` block comes behind it.
    bool runs(node_number i) const;
    /// Whether `reader` reads what `source` puts out in the same step, and not in the step before.
    static bool in_same_step(node_number source, node_number reader) { return source < reader; }
};

/// The blocks of a model as its run has them. Raises `Refusal`.
draft_t gather(IMetaModel& model, const PropertiesModel& properties, IExecModel& exec);

/// Marks what is inside a part and what crosses its border. Raises `Refusal` where one call a step cannot give what a
/// run gives: where an input depends on an output in the same step.
void cut_out(draft_t& draft, const std::string& part);

/// The order in which statements stand: what gives the same values as the run, with the blocks of one subsystem side by
/// side where they may be. `edges[i]` are the statements that must stand behind statement i; `groups[i]` tells those
/// that like to stand together.
std::vector<std::size_t> schedule(const std::vector<std::vector<std::size_t>>& edges,
                                  const std::vector<std::string>& groups);

}  // namespace tessel::exact
