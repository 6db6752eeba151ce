// goto and from: wires without a line, dissolved before anything else is done with the links.

#include <unordered_map>
#include <unordered_set>

#include "host/diagnose/nearest.h"
#include "host/diagnose/source.h"
#include "host/diagnose/tree.h"
#include "host/diagnose/wiring.h"
#include "model/rules/rerouting.h"

namespace zarn {
namespace {

using tessel::rules::reroute_t;

std::string target_of(const node_t& node) { return node.block->param("target").text(); }

class Gotos {
public:
    Gotos(const graph_t& graph, wiring_t& wiring, Report& report)
        : graph_(graph), wiring_(wiring), report_(report), blocks_(line_up(graph, wiring.live)), index_(blocks_) {}

    void run() {
        auto dissolved = tessel::rules::which(blocks_, tessel::is_goto_or_from);
        find_targets();
        for (const wire_t& wire : wiring_.wires) wires_.draw(wire);
        for (const edge_t& edge : graph_.edges) drawn_from_.insert(edge.src);
        const auto tell = [this](const reroute_t& found) { return hear(found), true; };
        tessel::rules::join_gotos(blocks_, wires_, tell);
        tessel::rules::find_touching(blocks_, wires_, tessel::is_goto_or_from, tell);
        for (std::size_t i = 0; i < blocks_.size(); ++i)
            if (at(i).is(hash_from)) check_from(i);
        take_wires();
        tessel::rules::drop(wiring_.live, std::move(dissolved));
    }

private:
    const node_t& at(std::size_t position) const { return graph_.nodes[wiring_.live[position]]; }
    bool is_first(std::size_t position) const { return gotos_.at(target_of(at(position))) == position; }

    void find_targets() {
        for (std::size_t i = 0; i < blocks_.size(); ++i) {
            if (!at(i).is(hash_goto)) continue;
            const auto [first, fresh] = gotos_.try_emplace(target_of(at(i)), i);
            if (fresh) continue;
            report_.at_block("Z211", severity_t::error, at(i),
                             tessel::format("the target {} is that of {} already", in_quotes(target_of(at(i))),
                                            at(first->second).path()),
                             "give each goto a target of its own");
        }
    }

    void hear(const reroute_t& found) {
        const node_t& node = at(found.block);
        switch (found.kind) {
            case reroute_t::kind_t::no_source:
                if (!is_first(found.block)) return;  // told with the target
                unfed_.insert(found.block);
                report_.at_block("Z208", severity_t::error, node, "no link leads into this goto",
                                 "link a source to it, or take it out");
                return;
            case reroute_t::kind_t::second_source: return tell_second(found);
            case reroute_t::kind_t::no_reader:
                if (!is_first(found.block)) return;
                report_.at_block(
                    "Z212", severity_t::warning, node,
                    tessel::format("no from has the target {}, so the signal ends here", in_quotes(target_of(node))),
                    "add a from with this target, or take the goto out");
                return;
            case reroute_t::kind_t::touches: return tell_touching(found);
        }
    }

    const edge_t& drawn(std::size_t wire, bool source) const {
        const auto [first, last] = wires_.drawn_ends(wire);
        return source ? *wiring_.wires[first].from : *wiring_.wires[last].to;
    }

    void tell_second(const reroute_t& found) {
        const bool same = wires_[found.first].src == wires_[found.wire].src;
        const bool harmless = same || index_.position(wires_[found.wire].src) == none;  // as every link from no block
        report_.at_link("Z209", harmless ? severity_t::warning : severity_t::error, drawn(found.wire, false),
                        &at(found.block),
                        same ? tessel::format("a second link from the same block leads into this goto: the first, from "
                                              "output {}, counts",
                                              wires_[found.first].src_port)
                             : "a second link leads into this goto, and only the first can be followed",
                        "take one of the links out");
    }

    void tell_touching(const reroute_t& found) {
        const node_t& node = at(found.block);
        const bool source = wires_[found.wire].src == node.id();
        if (source && node.is(hash_from)) {
            if (unresolved_.insert(found.block).second) tell_ring(found.block);
        } else if (source) {
            report_.at_link("Z210", severity_t::error, drawn(found.wire, true), &node, "a link leads out of this goto",
                            tessel::format("link from a from block with the target {}", in_quotes(target_of(node))));
        } else if (node.is(hash_from)) {
            report_.at_link("Z210", severity_t::error, drawn(found.wire, false), &node, "a link leads into this from",
                            tessel::format("link to the goto with the target {}", in_quotes(target_of(node))));
        }
    }

    /// A from that is left although its goto has a source: the signal comes round to it.
    void tell_ring(std::size_t position) {
        const auto found = gotos_.find(target_of(at(position)));
        if (found == gotos_.end() || unfed_.contains(found->second)) return;  // told with the target
        report_.at_block("Z224", severity_t::error, at(position),
                         tessel::format("the signal goes round in a ring: what feeds {} comes from this from again",
                                        at(found->second).path()),
                         "link a source to one of the gotos of the ring");
    }

    void check_from(std::size_t position) {
        const node_t& node = at(position);
        const std::string target = target_of(node);
        if (!drawn_from_.contains(node.id())) {
            report_.at_block("Z212", severity_t::note, node, "nothing reads this from", "link it, or take it out");
        } else if (!gotos_.contains(target)) {
            std::vector<std::string> known;
            for (const auto& [name, first] : gotos_) known.push_back(name);
            const std::string near = nearest_name(target, known);
            // a link that leads to no block hinders no compile
            report_.at_block(
                "Z207", unresolved_.contains(position) ? severity_t::error : severity_t::warning, node,
                tessel::format("no goto has the target {}", in_quotes(target)),
                near.empty() ? "add a goto with this target" : tessel::format("write {}", in_quotes(near)));
        }
    }

    /// What still touches a goto or a from cannot be followed. Links that should feed an input stay, marked.
    void take_wires() {
        const auto touches = [this](std::uint64_t id) {
            const auto* block = index_.find(id);
            return block != nullptr && tessel::is_goto_or_from(*block);
        };
        tessel::large_array<wire_t> kept;
        for (std::size_t i = 0; i < wires_.size(); ++i) {
            if (!wires_.alive(i) || touches(wires_[i].dst)) continue;
            const bool lost = touches(wires_[i].src);
            kept.push_back({wires_[i], &drawn(i, true), &drawn(i, false), lost, lost});
        }
        wiring_.wires = std::move(kept);
    }

    const graph_t& graph_;
    wiring_t& wiring_;
    Report& report_;
    lineup_t blocks_;
    tessel::rules::BlockIndex index_;
    tessel::rules::Wires wires_;
    std::unordered_map<std::string, std::size_t> gotos_;  // first goto of each target
    std::unordered_set<std::size_t> unfed_;               // gotos that no link leads into
    std::unordered_set<std::size_t> unresolved_;          // from blocks that links still lead out of
    std::unordered_set<std::uint64_t> drawn_from_;        // ids of the blocks that links lead out of
};

}  // namespace

void dissolve_gotos(const graph_t& graph, wiring_t& wiring, Report& report) {
    if (graph.has(hash_goto) || graph.has(hash_from)) Gotos(graph, wiring, report).run();
}

}  // namespace zarn
