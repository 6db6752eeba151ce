// What compiles and yet does not run, or not as it is drawn.

#include <algorithm>
#include <limits>
#include <optional>
#include <unordered_set>

#include "core/type.h"
#include "host/diagnose/analysis.h"
#include "host/diagnose/source.h"
#include "port.h"

namespace zarn {
namespace {

void check_enables(const analysis_t& analysis, Report& report) {
    std::unordered_map<std::uint64_t, const node_t*> first;  // enable of each subsystem
    std::unordered_set<std::uint64_t> gating;
    if (!analysis.graph.has(hash_enable)) return;
    for (const std::size_t position : analysis.order()) gating.insert(analysis.gate_of(position));
    for (const node_t& node : analysis.graph.nodes) {
        if (!node.is(hash_enable)) continue;
        const node_t* around = analysis.graph.find(node.parent());
        const auto [entry, fresh] = first.try_emplace(node.parent(), &node);
        if (node.parent() == 0)
            report.at_block("Z410", severity_t::warning, node, "an enable block in the root gates nothing",
                            "move it into the subsystem that it is to gate, or take it out");
        else if (!fresh)
            report.at_block(
                "Z410", severity_t::warning, node,
                tessel::format("this enable gates nothing: {} gates this subsystem already", entry->second->path()),
                "keep one enable block in a subsystem");
        else if (around != nullptr && is_subsystem(*around) && !gating.contains(node.id()))
            report.at_block("Z410", severity_t::warning, node,
                            tessel::format("this enable gates nothing: no other block runs inside {}", around->path()),
                            "move the blocks that it is to gate into the subsystem, or take it out");
    }
}

/// Whether never being stepped changes nothing: a constant has its value from the start.
bool needs_no_step(const node_t& node) { return node.is(hash_constant); }

void check_never(const analysis_t& analysis, Report& report) {
    const auto never = never_run(analysis);
    for (std::size_t i = 0; i < analysis.order().size(); ++i) {
        const std::size_t position = analysis.order()[i];
        const node_t& node = analysis.graph.nodes[position];
        if (!never[i] || needs_no_step(node)) continue;
        const node_t& gate = *analysis.graph.find(analysis.gate_of(position));
        const std::int32_t zone = node.block->zone(), gate_zone = gate.block->zone();
        std::string what;
        if (i > analysis.rank_of_gate(gate.id()))
            what = tessel::format("this block never runs: its enable {} never runs", gate.path());
        else if (zone == gate_zone)
            what = tessel::format(
                "this block never runs: it and its enable {} have zone {}, and by the order of their "
                "classes it comes first",
                gate.path(), zone);
        else
            what = tessel::format("this block never runs: it has zone {}, and its enable {} comes later, in zone {}",
                                  zone, gate.path(), gate_zone);
        report.at_block("Z409", severity_t::warning, node, what,
                        zone == 0 ? "move it out of the subsystem, and bring its signal in through an inport"
                                  : tessel::format("bring the condition of {} on a shorter way, or the signal of this "
                                                   "block on a longer one, so that the enable has the lower zone",
                                                   gate.path()));
    }
}

/// The value that a constant gives to an input of an integer type, nothing when the source is no constant.
std::optional<std::int64_t> constant_at(const analysis_t& analysis, std::size_t position, std::size_t input) {
    const feed_t& feed = analysis.wiring.in_run(position)[input];
    if (feed.source == none || !analysis.graph.nodes[feed.source].is(hash_constant)) return std::nullopt;
    const node_t& source = analysis.graph.nodes[feed.source];
    const tessel::var_t value =
        value_of(source, analysis.typing.evaluations[feed.source], source.row->traits().parameters.front());
    if (value.type() == tessel::type_unknown || value.is_text()) return std::nullopt;
    switch (analysis.graph.nodes[position].block->input(static_cast<std::int16_t>(input))->type()) {
        case tessel::type_bool: return bool(value) ? 1 : 0;
        case tessel::type_int8: return static_cast<signed char>(value);
        case tessel::type_uint8: return static_cast<unsigned char>(value);
        case tessel::type_int16: return static_cast<short>(value);
        case tessel::type_uint16: return static_cast<unsigned short>(value);
        case tessel::type_int32: return static_cast<int>(value);
        default: return static_cast<long long>(value);
    }
}

void check_divisions(const analysis_t& analysis, Report& report) {
    for (const std::size_t position : analysis.wiring.live) {
        const node_t& node = analysis.graph.nodes[position];
        if (node.row->traits().fault != tessel::fault_t::lowest_by_minus_1 || node.inputs() != 2) continue;
        if (node.block->zone() < 0) continue;
        const tessel::type_t type = node.block->output(0)->type();
        if (type != tessel::type_int32 && type != tessel::type_int64) continue;
        const std::int64_t lowest = type == tessel::type_int32 ? std::numeric_limits<std::int32_t>::min()
                                                               : std::numeric_limits<std::int64_t>::min();
        // the lowest value reaches only an input of the common type itself
        if (node.block->input(0)->type() != type) continue;
        const auto dividend = constant_at(analysis, position, 0), divisor = constant_at(analysis, position, 1);
        if ((divisor && *divisor != -1) || (dividend && *dividend != lowest)) continue;
        const tessel::type_t right = node.block->input(1)->type();
        if (right == tessel::type_bool || right == tessel::type_uint8 || right == tessel::type_uint16 ||
            right == tessel::type_uint32)
            continue;  // never -1
        const bool certain = divisor && dividend && analysis.gate_of(position) == 0;
        report.at_block("Z411", certain ? severity_t::error : severity_t::note, node,
                        tessel::format("{} {} by -1 is a fault of the processor, which ends the program{}",
                                       tessel::short_name(type), lowest, certain ? "" : "; nothing rules it out here"),
                        "use a float type, or keep -1 away from input 1");
    }
}

/// What feeds the only input of a block in the run, null for nothing.
const node_t* source_of(const analysis_t& analysis, std::size_t position) {
    const feed_t& feed = analysis.wiring.in_run(position)[0];
    return feed.source != none ? &analysis.graph.nodes[feed.source] : nullptr;
}

/// Memory blocks behind memory blocks: all have zone 0 and one class, so the order of the file decides.
void check_memories(const analysis_t& analysis, Report& report) {
    constexpr std::uint32_t hash_memory = tessel::class_hash_of("memory");
    const auto follows_another = [&](std::size_t position) {
        const node_t& node = analysis.graph.nodes[position];
        const node_t* source = node.is(hash_memory) ? source_of(analysis, position) : nullptr;
        return source != nullptr && source->is(hash_memory) && source != &node;
    };
    if (std::ranges::none_of(analysis.wiring.live, follows_another)) return;
    std::vector<std::size_t> ranks(analysis.graph.nodes.size(), none);
    for (std::size_t i = 0; i < analysis.order().size(); ++i) ranks[analysis.order()[i]] = i;
    for (std::size_t i = 0; i < analysis.order().size(); ++i) {
        const std::size_t position = analysis.order()[i];
        if (!follows_another(position)) continue;
        const node_t& node = analysis.graph.nodes[position];
        const node_t* source = source_of(analysis, position);
        const bool idle = ranks[static_cast<std::size_t>(source - analysis.graph.nodes.data())] < i;
        report.at_block(
            "Z417", severity_t::note, node,
            tessel::format(
                "it is fed by {} (memory), which is stepped {} it: {}", source->path(), idle ? "before" : "behind",
                idle ? "it delays nothing, and both together delay by one step" : "both together delay by two steps"),
            idle ? "for two steps, put another block between them"
                 : "put another block between them, so that the order of the file does not matter");
    }
}

}  // namespace

bool is_late(const analysis_t& analysis, const std::vector<std::size_t>& ranks, const feed_t& feed, std::size_t block) {
    // a constant has its value before the first step
    return feed.source != none && !needs_no_step(analysis.graph.nodes[feed.source]) && ranks[feed.source] != none &&
           ranks[feed.source] >= ranks[block];
}

// A gate is itself a block that may never run, so the answer for a block comes of that for its gate, each once.
std::vector<bool> never_run(const analysis_t& analysis) {
    const std::size_t count = analysis.order().size();
    std::vector<bool> never(count);
    if (!analysis.has_gates()) return never;
    std::vector<bool> known(count), open(count);
    std::vector<std::size_t> way;  // up through the gates
    for (std::size_t i = 0; i < count; ++i) {
        bool answer = false;
        std::size_t at = i;
        while (true) {
            if (known[at] || open[at]) {
                answer = open[at] || never[at];  // gates that gate each other never open
                break;
            }
            const std::uint64_t gate = analysis.gate_of(analysis.order()[at]);
            const std::size_t rank = gate != 0 ? analysis.rank_of_gate(gate) : none;
            if (rank == none || rank == at) {
                known[at] = true;
                break;
            }
            way.push_back(at);
            open[at] = true;
            at = rank;
        }
        for (; !way.empty(); way.pop_back()) {
            const std::size_t own = way.back();
            answer = answer || own < analysis.rank_of_gate(analysis.gate_of(analysis.order()[own]));
            never[own] = answer;
            known[own] = true;
            open[own] = false;
        }
    }
    return never;
}

void check_behaviour(const analysis_t& analysis, Report& report) {
    check_enables(analysis, report);
    if (analysis.complete && analysis.has_gates()) check_never(analysis, report);  // zones mean nothing before that
    check_divisions(analysis, report);
    if (!analysis.complete) return;
    check_memories(analysis, report);
}

}  // namespace zarn
