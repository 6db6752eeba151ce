// Ids, parents, counts: what a model must have before its links mean anything.

#include <unordered_set>

#include "host/diagnose/analysis.h"
#include "host/diagnose/source.h"

namespace zarn {
namespace {

/// Whether the way up from a block meets itself.
bool in_ring(const graph_t& graph, const node_t& node) {
    std::unordered_set<std::uint64_t> seen;
    for (const node_t* at = &node; at != nullptr && at->parent() != 0; at = graph.find(at->parent()))
        if (!seen.insert(at->id()).second) return at->id() == node.id();
    return false;
}

void check_parents(const graph_t& graph, Report& report) {
    for (const node_t& node : graph.nodes) {
        if (node.parent() == 0) continue;
        const node_t* around = graph.find(node.parent());
        if (around == nullptr) {
            if (graph.skipped.contains(node.parent())) continue;
            report.at_block("Z218", severity_t::warning, node,
                            tessel::format("its parent {} is no block of this model, so it has no place in the "
                                           "workspace, and its expressions are evaluated without one",
                                           node.parent()),
                            "write the id of a subsystem, or 0 for the root");
        } else if (!is_subsystem(*around)) {
            report.at_block("Z218", severity_t::warning, node,
                            tessel::format("its parent {} ({}) is no subsystem and holds no blocks", around->path(),
                                           around->class_name()),
                            "write the id of a subsystem, or 0 for the root");
        } else if (!node.hangs && is_subsystem(node) && in_ring(graph, node)) {
            report.at_block(
                "Z219", severity_t::warning, node,
                tessel::format("this subsystem lies inside itself, by way of its parent {}", around->path()),
                "write the id of the subsystem around it, or 0 for the root");
        }
    }
}

void check_counts(const graph_t& graph, const wiring_t& wiring, Report& report) {
    for (std::size_t i = 0; i < graph.nodes.size(); ++i) {
        if (wiring.typed[i].size() <= 8) continue;
        const node_t& node = graph.nodes[i];
        const auto counted_as = static_cast<std::int16_t>(node.inputs());  // the library looks at 16 bits
        const bool refused = counted_as > 8;
        if (!refused && !is_subsystem(node)) continue;  // its inputs without a source are told
        report.at_block("Z220", refused ? severity_t::error : severity_t::warning, node,
                        tessel::format("{} inputs, and a block can have 8", node.inputs()),
                        is_subsystem(node) ? "bring fewer signals into it" : "split it into several blocks in a row");
    }
}

}  // namespace

void check_ids(const graph_t& graph, const wiring_t& wiring, Report& report) {
    for (std::size_t i = 1; graph.has_double_ids && i < graph.nodes.size(); ++i) {
        const node_t& node = graph.nodes[i];
        const std::size_t first = graph.position(node.id());
        if (first == i) continue;
        const bool error = wiring.starves[i];
        const std::string other = first == 0 ? "the root" : graph.nodes[first].path();
        report.at_block(
            "Z114", error ? severity_t::error : severity_t::warning, node,
            tessel::format("its id {} is that of {} too, which all links lead to{}", graph.written_id(node.id()), other,
                           error ? "; its inputs stay without a source" : ""),
            "give every block an id of its own, above 0");
    }
}

void check_tree(const graph_t& graph, const wiring_t& wiring, Report& report) {
    if (graph.has_root && graph.nodes.size() > 1 && graph.edges.empty())
        report.at_place("Z221", severity_t::warning, 0, "/links",
                        tessel::format("the model has {} and no links", counted(graph.nodes.size() - 1, "block")),
                        "link the blocks");
    check_parents(graph, report);
    check_counts(graph, wiring, report);
}

}  // namespace zarn
