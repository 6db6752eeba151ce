// goto and from: wires without a line, dissolved before anything else is done with the links.

#include <unordered_set>

#include "host/diagnose/nearest.h"
#include "host/diagnose/source.h"
#include "host/diagnose/tree.h"
#include "host/diagnose/wiring.h"

namespace zarn {
namespace {

std::string target_of(const node_t& node) { return node.block->param("target").text(); }

class Gotos {
public:
    Gotos(const graph_t& graph, wiring_t& wiring, Report& report)
        : graph_(graph), wiring_(wiring), report_(report), alive_(wiring.wires.size(), true) {
        for (std::size_t i = 0; i < wiring_.wires.size(); ++i) note(i);
        for (const edge_t& edge : graph.edges) drawn_from_.insert(edge.src);
    }

    void run() {
        find_targets();
        for (const std::size_t position : wiring_.live)
            if (graph_.nodes[position].is(hash_goto)) join(position);
        for (const std::size_t position : wiring_.live)
            if (graph_.nodes[position].is(hash_from)) check_from(graph_.nodes[position]);
        drop_touching();
        drop_by_swapping(wiring_.live, [this](std::size_t i) {
            return graph_.nodes[i].is(hash_goto) || graph_.nodes[i].is(hash_from);
        });
    }

private:
    using positions_t = std::unordered_map<std::uint64_t, std::vector<std::size_t>>;

    void note(std::size_t i) {
        by_source_[wiring_.wires[i].src].push_back(i);
        by_target_[wiring_.wires[i].dst].push_back(i);
    }
    std::vector<std::size_t> living(const positions_t& map, std::uint64_t id) const {
        std::vector<std::size_t> found;
        if (const auto entry = map.find(id); entry != map.end())
            for (const std::size_t i : entry->second)
                if (alive_[i]) found.push_back(i);
        return found;
    }

    void find_targets() {
        for (const std::size_t position : wiring_.live) {
            const node_t& node = graph_.nodes[position];
            if (node.is(hash_from)) froms_[target_of(node)].push_back(position);
            if (!node.is(hash_goto)) continue;
            const auto [first, fresh] = gotos_.try_emplace(target_of(node), position);
            if (fresh) continue;
            report_.at_block("Z211", severity_t::error, node,
                             tessel::format("the target {} is that of {} already", in_quotes(target_of(node)),
                                            graph_.nodes[first->second].path),
                             "give each goto a target of its own");
        }
    }

    void join(std::size_t position) {
        const node_t& node = graph_.nodes[position];
        const std::string target = target_of(node);
        const auto into = living(by_target_, node.id());
        if (into.empty()) {
            if (gotos_.at(target) == position)
                report_.at_block("Z208", severity_t::error, node, "no link leads into this goto",
                                 "link a source to it, or take it out");
            return;
        }
        const wire_t in = wiring_.wires[into.front()];
        for (std::size_t k = 1; k < into.size(); ++k) check_second(node, in, wiring_.wires[into[k]]);
        for (const std::size_t i : into) alive_[i] = false;
        if (gotos_.at(target) != position) return;  // a second goto of its target: told

        const auto found = froms_.find(target);
        if (found == froms_.end()) {
            report_.at_block("Z212", severity_t::warning, node,
                             tessel::format("no from has the target {}, so the signal ends here", in_quotes(target)),
                             "add a from with this target, or take the goto out");
            return;
        }
        for (const std::size_t from : found->second) {
            for (const std::size_t i : living(by_source_, graph_.nodes[from].id())) {
                const wire_t out = wiring_.wires[i];
                alive_[i] = false;
                wiring_.wires.push_back({in.src, out.dst, in.src_port, out.dst_port, in.from, out.to});
                alive_.push_back(true);
                note(wiring_.wires.size() - 1);
            }
        }
    }

    void check_second(const node_t& node, const wire_t& first, const wire_t& second) {
        const bool same = first.src == second.src;
        report_.at_link("Z209", same ? severity_t::warning : severity_t::error, *second.to, &node,
                        same ? tessel::format("a second link from the same block leads into this goto: the first, from "
                                              "output {}, counts",
                                              first.src_port)
                             : "a second link leads into this goto, and only the first can be followed",
                        "take one of the links out");
    }

    void check_from(const node_t& node) {
        const std::string target = target_of(node);
        const auto out = living(by_source_, node.id());
        if (!gotos_.contains(target) && !out.empty()) {
            std::vector<std::string> known;
            for (const auto& [name, position] : gotos_) known.push_back(name);
            const std::string near = nearest_name(target, known);
            report_.at_block(
                "Z207", severity_t::error, node, tessel::format("no goto has the target {}", in_quotes(target)),
                near.empty() ? "add a goto with this target" : tessel::format("write {}", in_quotes(near)));
        }
        if (!drawn_from_.contains(node.id()))
            report_.at_block("Z212", severity_t::note, node, "nothing reads this from", "link it, or take it out");
    }

    /// What still touches a goto or a from cannot be followed. Links that should feed an input stay, marked.
    void drop_touching() {
        std::vector<wire_t> kept;
        const live_index_t index = index_of(graph_, wiring_.live);
        for (std::size_t i = 0; i < wiring_.wires.size(); ++i) {
            if (!alive_[i]) continue;
            wire_t wire = wiring_.wires[i];
            const auto src = index.find(wire.src), dst = index.find(wire.dst);
            const node_t* source = src != index.end() ? &graph_.nodes[src->second] : nullptr;
            const node_t* target = dst != index.end() ? &graph_.nodes[dst->second] : nullptr;
            const bool out = source != nullptr && (source->is(hash_goto) || source->is(hash_from));
            const bool in = target != nullptr && target->is(hash_from);
            if (source != nullptr && source->is(hash_goto))
                report_.at_link(
                    "Z210", severity_t::error, *wire.from, source, "a link leads out of this goto",
                    tessel::format("link from a from block with the target {}", in_quotes(target_of(*source))));
            if (in)
                report_.at_link("Z210", severity_t::error, *wire.to, target, "a link leads into this from",
                                tessel::format("link to the goto with the target {}", in_quotes(target_of(*target))));
            if (in || (target != nullptr && target->is(hash_goto))) continue;
            wire.told = wire.lost = out;
            kept.push_back(wire);
        }
        wiring_.wires = std::move(kept);
    }

    const graph_t& graph_;
    wiring_t& wiring_;
    Report& report_;
    std::vector<bool> alive_;
    positions_t by_source_;
    positions_t by_target_;
    std::unordered_map<std::string, std::size_t> gotos_;  // first goto of each target
    std::unordered_map<std::string, std::vector<std::size_t>> froms_;
    std::unordered_set<std::uint64_t> drawn_from_;  // ids of the blocks that links lead out of
};

}  // namespace

void dissolve_gotos(const graph_t& graph, wiring_t& wiring, Report& report) { Gotos(graph, wiring, report).run(); }

}  // namespace zarn
