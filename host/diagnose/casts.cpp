// cast blocks: they go out of the diagram once they have given their type to the inputs behind them.

#include <unordered_set>

#include "host/diagnose/source.h"
#include "host/diagnose/tree.h"
#include "host/diagnose/wiring.h"

namespace zarn {
namespace {

class Casts {
public:
    Casts(const graph_t& graph, wiring_t& wiring, Report& report)
        : graph_(graph), wiring_(wiring), report_(report), index_(index_of(graph, wiring.live)) {
        // links that carry nothing count as well: the pass that dissolves casts looks at ids alone
        for (const wire_t& wire : wiring.wires) {
            if (wire.lost) continue;
            if (cast_at(wire.dst) != nullptr) into_[wire.dst].push_back(&wire);
            if (cast_at(wire.src) != nullptr) out_[wire.src].push_back(&wire);
        }
    }

    void run() {
        for (const std::size_t position : wiring_.live)
            if (graph_.nodes[position].is(hash_cast)) check(position);
        join();
        drop_by_swapping(wiring_.live, [this](std::size_t i) { return graph_.nodes[i].is(hash_cast); });
        bind_anew();
    }

private:
    using wires_t = std::vector<const wire_t*>;

    const node_t* cast_at(std::uint64_t id) const {
        const auto found = index_.find(id);
        return found != index_.end() && graph_.nodes[found->second].is(hash_cast) ? &graph_.nodes[found->second]
                                                                                  : nullptr;
    }
    static const wires_t& of(const std::unordered_map<std::uint64_t, wires_t>& map, std::uint64_t id) {
        static const wires_t empty;
        const auto found = map.find(id);
        return found != map.end() ? found->second : empty;
    }

    void check(std::size_t position) {
        const node_t& node = graph_.nodes[position];
        if (index_.at(node.id()) != position) return;  // a second block with its id: told with the id
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
        for (std::size_t k = 1; k < in.size(); ++k) {
            const bool same = in[k]->src == in[0]->src;
            report_.at_link("Z223", same ? severity_t::warning : severity_t::error, *in[k]->to, &node,
                            same ? tessel::format("a second link from the same block leads into this cast: the first, "
                                                  "from output {}, counts in the run",
                                                  in[0]->src_port)
                                 : "a second link leads into this cast, and only the first can be followed",
                            "take one of the links out");
        }
        if (cast_at(in[0]->src) == nullptr) tell_chain(node, out);
    }

    /// Casts in a row, told at the second of them.
    void tell_chain(const node_t& first, const wires_t& out) {
        for (const wire_t* wire : out) {
            const node_t* next = cast_at(wire->dst);
            if (next == nullptr) continue;
            std::string chain = first.path + " -> " + next->path;
            const node_t* end = next;
            for (std::size_t length = 2; length < 32; ++length) {
                const wires_t& behind = of(out_, end->id());
                const node_t* cast = behind.empty() ? nullptr : cast_at(behind[0]->dst);
                if (cast == nullptr || cast == next) break;
                chain += " -> " + cast->path;
                end = cast;
            }
            report_.at_block("Z214", severity_t::error, *next, "casts stand in a row: " + chain,
                             "keep one of them, or put another block between them");
        }
    }

    /// The links around casts as one: what the library makes of them, and through rows of casts what is meant.
    void join() {
        std::unordered_map<std::uint64_t, const wire_t*> first_into;
        for (const wire_t& wire : wiring_.wires)
            if (!wire.lost) first_into.try_emplace(wire.dst, &wire);
        std::vector<wire_t> kept, joined;
        for (const wire_t& wire : wiring_.wires) {
            if (wire.lost || cast_at(wire.dst) != nullptr) continue;
            if (cast_at(wire.src) == nullptr) {
                kept.push_back(wire);
                continue;
            }
            const wire_t* in = &wire;
            std::unordered_set<std::uint64_t> seen;
            while (in != nullptr && cast_at(in->src) != nullptr && seen.insert(in->src).second) {
                const auto found = first_into.find(in->src);
                in = found != first_into.end() ? found->second : nullptr;
            }
            if (in == nullptr || cast_at(in->src) != nullptr) continue;
            joined.push_back({in->src, wire.dst, in->src_port, wire.dst_port, in->from, wire.to});
        }
        kept.insert(kept.end(), joined.begin(), joined.end());
        wiring_.wires = std::move(kept);
    }

    void bind_anew() {
        for (const wire_t& wire : wiring_.wires) {
            const auto src = index_.find(wire.src), dst = index_.find(wire.dst);
            if (src == index_.end() || dst == index_.end()) continue;
            const node_t& source = graph_.nodes[src->second];
            const node_t& target = graph_.nodes[dst->second];
            if (wire.src_port < 0 || static_cast<std::size_t>(wire.src_port) >= source.outputs()) continue;
            if (wire.dst_port < 0 || static_cast<std::size_t>(wire.dst_port) >= target.inputs()) continue;
            wiring_.running[dst->second][static_cast<std::size_t>(wire.dst_port)] = {src->second, wire.src_port,
                                                                                     wire.to};
        }
    }

    const graph_t& graph_;
    wiring_t& wiring_;
    Report& report_;
    live_index_t index_;
    std::unordered_map<std::uint64_t, wires_t> into_;
    std::unordered_map<std::uint64_t, wires_t> out_;
};

}  // namespace

void dissolve_casts(const graph_t& graph, wiring_t& wiring, Report& report) { Casts(graph, wiring, report).run(); }

}  // namespace zarn
