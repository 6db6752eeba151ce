// The links of a model on their way through the compile: what the rules that rewrite them make of the diagram.
#pragma once

#include <algorithm>
#include <cstdint>
#include <span>
#include <string>
#include <unordered_set>
#include <vector>

#include "core/large_array.h"
#include "host/diagnose/report.h"
#include "model/rules/wires.h"

namespace zarn {

/// A link between blocks, as the passes rewrite it.
struct wire_t : tessel::rules::wire_t {
    const edge_t* from = nullptr;  // the drawn link at its source end
    const edge_t* to = nullptr;    // the drawn link at its destination end; the same unless goto or cast stood between
    bool told = false;             // why it carries nothing is reported
    bool lost = false;             // a goto or from at its source could not be dissolved
};

/// What feeds an input.
struct feed_t {
    place_in_list_t source;  // position of the block
    std::int16_t port = 0;
    const edge_t* from = nullptr;  // as in `wire_t`
    const edge_t* edge = nullptr;
};

/// A value for each input of each block, all in one array.
template <class T>
class InputTable {
public:
    InputTable() = default;
    /// With as many values for each block as another table has.
    template <class U>
    explicit InputTable(const InputTable<U>& like) : first_(like.first_), values_(like.first_.back()) {}
    explicit InputTable(const graph_t& graph) {
        first_.reserve(graph.nodes.size() + 1);
        for (const node_t& node : graph.nodes)
            first_.push_back(first_.back() + static_cast<std::uint32_t>(node.inputs()));
        values_.resize(first_.back());
    }

    /// The values of a block; none for a block that the table is not made for.
    std::span<T> operator[](std::size_t node) { return {values_.data() + begin_of(node), count_of(node)}; }
    std::span<const T> operator[](std::size_t node) const { return {values_.data() + begin_of(node), count_of(node)}; }

private:
    template <class U>
    friend class InputTable;

    std::size_t begin_of(std::size_t node) const { return first_[std::min(node, first_.size() - 1)]; }
    std::size_t count_of(std::size_t node) const { return begin_of(node + 1) - begin_of(node); }

    tessel::large_array<std::uint32_t> first_{0};  // of each block, and the end
    tessel::large_array<T> values_;
};

/// The state of the diagram between passes. Positions are those of `graph_t::nodes`.
struct wiring_t {
    std::vector<std::size_t> live;  // in the order of the library's list
    tessel::large_array<wire_t> wires;
    InputTable<feed_t> typed;                // while types and zones are worked out
    InputTable<feed_t> running;              // in the run, where casts make it another
    bool has_double_feeds = false;           // whether two wires may lead to one input
    bool has_casts = false;                  // whether `running` counts
    InputTable<char> excused;                // whether an input lacks a source for a reason that is told
    std::unordered_set<std::size_t> needed;  // outports without a number that an input waits for
    std::vector<bool> starves;               // blocks of which an input has no source

    const feed_t* feed(std::size_t node, std::size_t input) const {
        const feed_t& found = typed[node][input];
        return found.source != none ? &found : nullptr;
    }
    /// What feeds the inputs of a block in the run.
    std::span<const feed_t> in_run(std::size_t node) const { return has_casts ? running[node] : typed[node]; }
};

/// Blocks as the rules take them: all, or those that are live.
using lineup_t = tessel::large_array<tessel::IMetaBlock*>;
lineup_t line_up(const graph_t& graph);
lineup_t line_up(const graph_t& graph, const std::vector<std::size_t>& live);

/// All blocks and links as drawn.
wiring_t as_drawn(const graph_t& graph);

/// goto and from blocks become direct links.
void dissolve_gotos(const graph_t& graph, wiring_t& wiring, Report& report);

/// Links end at real blocks, inputs get their sources, subsystems leave.
void bind_links(const graph_t& graph, wiring_t& wiring, Report& report);

/// The numbers by which inports and outports stand for the ports of their subsystem.
void check_port_numbers(const graph_t& graph, wiring_t& wiring, Report& report);

/// Inputs that nothing feeds.
void check_sources(const graph_t& graph, const wiring_t& wiring, Report& report);

/// Whether inputs can have other sources in the run than while types are worked out.
bool has_casts(const graph_t& graph);
/// cast blocks become direct links, inputs get the sources that they have in the run.
void dissolve_casts(const graph_t& graph, wiring_t& wiring, Report& report);

/// Inputs that more than one link leads to.
void check_double_feeds(const graph_t& graph, const wiring_t& wiring, Report& report);

/// The "portNumber" of an inport or outport; of one that is written as text, the number that is meant.
std::int16_t port_number(const node_t& node);

/// "input 3 of mainsys.sum (add)", "output 0 of ...".
std::string input_text(const node_t& node, std::int16_t port);
std::string output_text(const node_t& node, std::int16_t port);

}  // namespace zarn
