// Algebraic loops: blocks that wait for each other within one step. A compile of one does not end.

#include "host/diagnose/loops.h"

#include <algorithm>
#include <deque>

#include "host/diagnose/source.h"
#include "model/rules/zones.h"

namespace zarn {
namespace {

constexpr std::size_t most_loops = 20;       // told of one model
constexpr std::size_t most_candidates = 64;  // links that are tried as the place of a memory

/// A link inside a part of the diagram whose blocks all reach each other.
struct link_in_loop_t {
    std::size_t from = 0, to = 0;  // local numbers
    std::int16_t output = 0, input = 0;
    const edge_t* first = nullptr;  // drawn links at its ends, which differ where it leads through a goto
    const edge_t* last = nullptr;
    bool gone = false;
};

class Loops {
public:
    Loops(const graph_t& graph, const wiring_t& wiring, Report& report, const std::vector<std::size_t>& part)
        : graph_(graph), report_(report), part_(part), links_of_(part.size()) {
        std::vector<std::size_t> local(graph.nodes.size(), none);
        for (std::size_t i = 0; i < part.size(); ++i) local[part[i]] = i;
        for (std::size_t i = 0; i < part.size(); ++i) {
            for (std::size_t n = 0; n < wiring.typed[part[i]].size(); ++n) {
                const feed_t& feed = wiring.typed[part[i]][n];
                if (feed.source == none || local[feed.source] == none) continue;
                links_of_[local[feed.source]].push_back(links_.size());
                links_.push_back(
                    {local[feed.source], i, feed.port, static_cast<std::int16_t>(n), feed.from, feed.edge, false});
            }
        }
    }

    /// Tells one loop after the other, each with the link that is to be cut, until none is left.
    void tell(std::size_t& told) {
        while (told < most_loops) {
            const auto loop = shortest();
            if (loop.empty()) return;
            const std::size_t cut = best_cut(loop);
            links_[cut].gone = true;
            tell_one(loop, cut);
            ++told;
        }
    }

private:
    const node_t& node(std::size_t local) const { return graph_.nodes[part_[local]]; }

    /// The links of a shortest loop through the first block, in the order of the file, that lies on one.
    std::vector<std::size_t> shortest() const {
        for (const std::size_t start : on_loops()) {
            std::vector<std::size_t> came(part_.size(), none);  // link by which the search came here
            std::deque<std::size_t> todo{start};
            while (!todo.empty()) {
                const std::size_t at = todo.front();
                todo.pop_front();
                for (const std::size_t i : links_of_[at]) {
                    const link_in_loop_t& link = links_[i];
                    if (link.gone || came[link.to] != none) continue;
                    came[link.to] = i;
                    if (link.to == start) return way_back(came, start);
                    todo.push_back(link.to);
                }
            }
        }
        return {};
    }

    std::vector<std::size_t> way_back(const std::vector<std::size_t>& came, std::size_t start) const {
        std::vector<std::size_t> loop{came[start]};
        while (links_[loop.back()].from != start) loop.push_back(came[links_[loop.back()].from]);
        std::ranges::reverse(loop);
        return loop;
    }

    /// Blocks that lie on a loop as the links stand, by taking away what has no way in.
    std::vector<std::size_t> on_loops() const {
        std::vector<std::size_t> ways(part_.size());
        for (const link_in_loop_t& link : links_)
            if (!link.gone) ++ways[link.to];
        std::vector<std::size_t> todo;
        for (std::size_t i = 0; i < part_.size(); ++i)
            if (ways[i] == 0) todo.push_back(i);
        while (!todo.empty()) {
            const std::size_t at = todo.back();
            todo.pop_back();
            for (const std::size_t i : links_of_[at])
                if (!links_[i].gone && --ways[links_[i].to] == 0) todo.push_back(links_[i].to);
        }
        std::vector<std::size_t> left;
        for (std::size_t i = 0; i < part_.size(); ++i)
            if (ways[i] != 0) left.push_back(i);
        return left;
    }

    /// The link of a loop that leaves the fewest blocks on loops when it is cut.
    std::size_t best_cut(const std::vector<std::size_t>& loop) {
        std::size_t best = loop.front(), fewest = none;
        for (std::size_t k = 0; k < std::min(loop.size(), most_candidates); ++k) {
            links_[loop[k]].gone = true;
            const std::size_t left = on_loops().size();
            links_[loop[k]].gone = false;
            // of equal links the last, which leads back to where the loop is told from
            if (left > fewest) continue;
            fewest = left;
            best = loop[k];
        }
        return best;
    }

    void tell_one(const std::vector<std::size_t>& loop, std::size_t cut) {
        constexpr std::size_t most_shown = 12;
        std::string chain;
        for (std::size_t k = 0; k < loop.size(); ++k) {
            if (k == most_shown && loop.size() > most_shown + 2) {
                chain += tessel::format("... ({} more) -> ", loop.size() - most_shown);
                break;
            }
            chain += node(links_[loop[k]].from).path() + " -> ";
        }
        const node_t& first = node(links_[loop.front()].from);
        const link_in_loop_t& weak = links_[cut];
        const finding_id id = report_.at_block(
            "Z217", severity_t::error, first,
            tessel::format("an algebraic loop of {}: {}{}", counted(loop.size(), "block"), chain, first.path()),
            tessel::format("put a memory between {} and {}", output_text(node(weak.from), weak.output),
                           input_text(node(weak.to), weak.input)));
        for (const std::size_t i : loop) {
            const link_in_loop_t& link = links_[i];
            report_[id].steps.push_back(tessel::format("{} -> {}{}{}", output_text(node(link.from), link.output),
                                                       input_text(node(link.to), link.input), by_way_of(link),
                                                       i == cut ? "   <- a memory here breaks the loop" : ""));
        }
    }

    /// The goto and the from that a link leads through, "" when it is drawn as one.
    std::string by_way_of(const link_in_loop_t& link) const {
        if (link.first == link.last) return {};
        const node_t* in = graph_.find(link.first->dst);
        const node_t* out = graph_.find(link.last->src);
        if (in == nullptr || out == nullptr) return {};
        return tessel::format(" by way of {} ({}) and {} ({})", in->path(), in->class_name(), out->path(),
                              out->class_name());
    }

    const graph_t& graph_;
    Report& report_;
    const std::vector<std::size_t>& part_;
    std::vector<link_in_loop_t> links_;
    std::vector<std::vector<std::size_t>> links_of_;
};

bool feeds_itself(const wiring_t& wiring, std::size_t position) {
    return std::ranges::any_of(wiring.typed[position], [=](const feed_t& feed) { return feed.source == position; });
}

}  // namespace

std::vector<std::size_t> work_out_zones(const graph_t& graph, const wiring_t& wiring) {
    std::vector<std::size_t> waiting;
    for (const std::size_t rank : tessel::rules::sweep_zones(line_up(graph, wiring.live)))
        waiting.push_back(wiring.live[rank]);
    return waiting;
}

void check_loops(const graph_t& graph, const wiring_t& wiring, const std::vector<std::size_t>& waiting,
                 Report& report) {
    std::vector<std::size_t> sorted = waiting;
    std::ranges::sort(sorted);
    std::vector<std::size_t> local(graph.nodes.size(), none);
    for (std::size_t i = 0; i < sorted.size(); ++i) local[sorted[i]] = i;
    std::vector<std::vector<std::size_t>> before(sorted.size());
    for (std::size_t i = 0; i < sorted.size(); ++i)
        for (const feed_t& feed : wiring.typed[sorted[i]])
            if (feed.source != none && local[feed.source] != none) before[i].push_back(local[feed.source]);
    const auto number = parts_of(before);
    std::vector<std::vector<std::size_t>> parts(sorted.size());
    for (std::size_t i = 0; i < sorted.size(); ++i) parts[number[i]].push_back(sorted[i]);
    std::ranges::sort(parts);
    std::size_t told = 0;
    for (const auto& part : parts)
        if (part.size() > 1 || (part.size() == 1 && feeds_itself(wiring, part.front())))
            Loops(graph, wiring, report, part).tell(told);
}

}  // namespace zarn
