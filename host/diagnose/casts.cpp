// cast blocks: they go out of the diagram once they have given their type to the inputs behind them.

#include <unordered_map>
#include <unordered_set>

#include "host/diagnose/source.h"
#include "host/diagnose/tree.h"
#include "host/diagnose/wiring.h"
#include "model/rules/binding.h"
#include "model/rules/rerouting.h"

namespace zarn {
namespace {

class Casts {
public:
    Casts(const graph_t& graph, wiring_t& wiring, Report& report)
        : graph_(graph), wiring_(wiring), report_(report), blocks_(line_up(graph, wiring.live)), index_(blocks_) {
        // links that carry nothing count as well: the pass that dissolves casts looks at ids alone
        std::erase_if(wiring.wires, [](const wire_t& wire) { return wire.lost; });
        for (std::size_t i = 0; i < wiring.wires.size(); ++i) {
            const wire_t& wire = wiring.wires[i];
            if (cast_at(wire.dst) != nullptr) into_[wire.dst].push_back(i);
            if (cast_at(wire.src) != nullptr) out_[wire.src].push_back(i);
            wires_.draw(wire);
        }
    }

    void run() {
        const auto tell = [this](const tessel::rules::reroute_t& found) {
            if (found.kind == tessel::rules::reroute_t::kind_t::touches) touching_.insert(found.wire);
            return true;
        };
        tessel::rules::join_casts(blocks_, wires_, tell);
        tessel::rules::find_touching(blocks_, wires_, tessel::is_cast, tell);
        for (const std::size_t position : wiring_.live)
            if (graph_.nodes[position].is(hash_cast)) check(position);
        take_wires();
        tessel::rules::drop(wiring_.live, tessel::rules::which(blocks_, tessel::is_cast));
        bind_anew();
    }

private:
    using wires_t = std::vector<std::size_t>;  // positions in `wiring_.wires`

    const node_t* cast_at(std::uint64_t id) const {
        const std::size_t found = index_.position(id);
        return found != none && tessel::is_cast(*blocks_[found]) ? &graph_.nodes[wiring_.live[found]] : nullptr;
    }
    const wire_t& wire(std::size_t position) const { return wiring_.wires[position]; }
    static const wires_t& of(const std::unordered_map<std::uint64_t, wires_t>& map, std::uint64_t id) {
        static const wires_t empty;
        const auto found = map.find(id);
        return found != map.end() ? found->second : empty;
    }

    void check(std::size_t position) {
        const node_t& node = graph_.nodes[position];
        // a second block with its id is told with the id, unless what was taken out has put it before the first
        if (index_.find(node.id()) != node.block && graph_.position(node.id()) != position) return;
        const wires_t& in = of(into_, node.id());
        const wires_t& out = of(out_, node.id());
        if (wiring_.typed[position][0].source == none) {
            if (!wiring_.excused[position][0] && !report_.blame_reference(node, input_text(node, 0)))
                report_.at_block(
                    "Z215", severity_t::error, node,
                    out.empty() ? "no link leads into this cast, and none out of it" : "no link leads into this cast",
                    "link a source to it, or take it out");
            return;
        }
        if (out.empty())
            report_.at_block("Z216", severity_t::error, node, "no link leads out of this cast",
                             "link a block behind it, or take it out");
        for (std::size_t k = 1; k < in.size(); ++k) check_second(node, wire(in[0]), in[k]);
        if (cast_at(wire(in[0]).src) == nullptr) tell_chain(node, out);
    }

    void check_second(const node_t& node, const wire_t& first, std::size_t second) {
        const bool same = wire(second).src == first.src;
        if (!same && !touching_.contains(second)) return;  // it comes from no block: told with the link
        report_.at_link("Z223", same ? severity_t::warning : severity_t::error, *wire(second).to, &node,
                        same ? tessel::format("a second link from the same block leads into this cast: the first, "
                                              "from output {}, counts in the run",
                                              first.src_port)
                             : "a second link leads into this cast, and only the first can be followed",
                        "take one of the links out");
    }

    /// Casts in a row, told at the second of them.
    void tell_chain(const node_t& first, const wires_t& out) {
        for (const std::size_t i : out) {
            const node_t* next = cast_at(wire(i).dst);
            if (next == nullptr) continue;
            std::string chain = first.path() + " -> " + next->path();
            const node_t* end = next;
            for (std::size_t length = 2; length < 32; ++length) {
                const wires_t& behind = of(out_, end->id());
                const node_t* cast = behind.empty() ? nullptr : cast_at(wire(behind[0]).dst);
                if (cast == nullptr || cast == next) break;
                chain += " -> " + cast->path();
                end = cast;
            }
            report_.at_block("Z214", severity_t::error, *next, "casts stand in a row: " + chain,
                             "keep one of them, or put another block between them");
        }
    }

    /// What still touches a cast cannot be followed: told.
    void take_wires() {
        tessel::large_array<wire_t> kept;
        for (std::size_t i = 0; i < wires_.size(); ++i) {
            if (!wires_.alive(i) || touching_.contains(i)) continue;
            const auto [first, last] = wires_.drawn_ends(i);
            kept.push_back({wires_[i], wire(first).from, wire(last).to, wires_.is_drawn(i) && wire(i).told});
        }
        wiring_.wires = std::move(kept);
    }

    void bind_anew() {
        wiring_.running = InputTable<feed_t>(wiring_.typed);
        wiring_.has_double_feeds = true;  // as one cast can feed many
        const lineup_t left = line_up(graph_, wiring_.live);
        const tessel::rules::Census census(left);
        for (const wire_t& wire : wiring_.wires) {
            const auto src = census.source(wire), dst = census.destination(wire);
            if (!src.well() || !dst.well()) continue;
            wiring_.running[wiring_.live[dst.block]][static_cast<std::size_t>(dst.port)] = {
                wiring_.live[src.block], src.port, wire.from, wire.to};
        }
    }

    const graph_t& graph_;
    wiring_t& wiring_;
    Report& report_;
    lineup_t blocks_;
    tessel::rules::BlockIndex index_;
    tessel::rules::Wires wires_;
    std::unordered_set<std::size_t> touching_;  // wires that are left at a cast
    std::unordered_map<std::uint64_t, wires_t> into_;
    std::unordered_map<std::uint64_t, wires_t> out_;
};

}  // namespace

// blocks of one id can change places when others go
bool has_casts(const graph_t& graph) { return graph.has(hash_cast) || graph.has_double_ids; }

void dissolve_casts(const graph_t& graph, wiring_t& wiring, Report& report) {
    wiring.has_casts = has_casts(graph);
    if (wiring.has_casts) Casts(graph, wiring, report).run();
}

}  // namespace zarn
