#include "host/draw/checked.h"

#include <algorithm>
#include <charconv>
#include <map>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "core/format.h"
#include "core/type.h"
#include "host/diagnose/analysis.h"
#include "port.h"

namespace zarn::draw {
namespace {

/// The place of an element of a list that a JSON pointer leads into: 3 for "/links/3/srcId" and "/links/".
std::size_t place_in(std::string_view list, std::string_view pointer) {
    if (!pointer.starts_with(list)) return none;
    pointer.remove_prefix(list.size());
    std::size_t place = none;
    std::from_chars(pointer.data(), pointer.data() + pointer.size(), place);
    return place;
}

/// Finds the drawn elements that the checks mean.
class Ties {
public:
    Ties(Diagram& diagram, const graph_t& graph) : diagram_(diagram), part_of_(graph.files.size(), none) {
        if (!part_of_.empty()) part_of_[0] = 0;
        std::multimap<std::uint64_t, std::size_t> parts;  // by id of the reference
        for (std::size_t p = 1; p < diagram.parts.size(); ++p)
            parts.emplace(diagram.blocks[diagram.parts[p].owner].id, p);
        for (const reference_t& reference : graph.references) {
            const auto found = parts.find(reference.id);
            if (found == parts.end() || reference.file == none) continue;
            part_of_[reference.file] = found->second;
            parts.erase(found);
        }
    }

    Block* block(std::size_t file, std::string_view pointer) const {
        return element(diagram_.blocks, file, &Part::blocks, place_in("/blocks/", pointer));
    }
    Link* link(std::size_t file, std::string_view pointer) const {
        return element(diagram_.links, file, &Part::links, place_in("/links/", pointer));
    }

private:
    template <class T>
    T* element(std::vector<T>& all, std::size_t file, std::vector<std::size_t> Part::*list, std::size_t place) const {
        if (file >= part_of_.size() || part_of_[file] == none) return nullptr;
        const auto& indices = diagram_.parts[part_of_[file]].*list;
        return place < indices.size() && indices[place] != none ? &all[indices[place]] : nullptr;
    }

    Diagram& diagram_;
    std::vector<std::size_t> part_of_;  // by file of the graph
};

/// The links that an input is fed through carry the type of the output at their other end.
void take_types(const Ties& ties, const analysis_t& analysis) {
    const graph_t& graph = analysis.graph;
    for (std::size_t i = 0; i < graph.nodes.size(); ++i) {
        for (const feed_t& feed : analysis.wiring.typed[i]) {
            if (feed.source == none) continue;
            const tessel::port_t* output = graph.nodes[feed.source].block->output(feed.port);
            const char* type = output != nullptr && output->has_type() ? tessel::short_name(output->type()) : nullptr;
            if (type == nullptr) continue;
            for (const edge_t* edge : {feed.from, feed.edge})
                if (Link* link = edge != nullptr ? ties.link(edge->file, edge->place()) : nullptr) link->type = type;
        }
    }
}

/// All links from one output carry one type. Answers whether every link that leads from a block to a block has one.
bool spread_types(Diagram& diagram) {
    std::map<std::pair<std::size_t, int>, std::string> types;
    for (const Link& link : diagram.links)
        if (!link.type.empty()) types.emplace(std::pair(link.source, link.source_port), link.type);
    bool all = true;
    for (Link& link : diagram.links) {
        if (link.source == none || link.target == none || !link.type.empty()) continue;
        const auto found = types.find({link.source, link.source_port});
        if (found != types.end()) link.type = found->second;
        else all = false;
    }
    return all;
}

/// The blocks of closed loops: those that wait for each other.
void mark_loops(const Ties& ties, const analysis_t& analysis) {
    const auto& waiting = analysis.waiting;
    if (waiting.empty()) return;
    std::unordered_map<std::size_t, std::size_t> local;
    for (std::size_t i = 0; i < waiting.size(); ++i) local.emplace(waiting[i], i);
    std::vector<std::vector<std::size_t>> before(waiting.size());
    std::vector<bool> looped(waiting.size(), false);
    for (std::size_t i = 0; i < waiting.size(); ++i) {
        for (const feed_t& feed : analysis.wiring.typed[waiting[i]]) {
            const auto found = local.find(feed.source);
            if (found == local.end()) continue;
            before[i].push_back(found->second);
            if (found->second == i) looped[i] = true;
        }
    }
    const auto part = parts_of(before);
    std::vector<std::size_t> size(waiting.size(), 0);
    for (const std::size_t p : part) ++size[p];
    for (std::size_t i = 0; i < waiting.size(); ++i) {
        const node_t& node = analysis.graph.nodes[waiting[i]];
        if (!looped[i] && size[part[i]] < 2) continue;
        if (Block* block = ties.block(node.file, node.place())) block->failed = true;
    }
}

/// Marks what errors are about, and notes them.
void take_errors(const Ties& ties, const graph_t& graph, std::span<const finding_t> findings, Diagram& diagram) {
    std::unordered_multimap<std::string_view, std::size_t> files;  // by name, as often as they are referred to
    for (std::size_t i = 0; i < graph.files.size(); ++i) files.emplace(graph.files[i].source->shown(), i);
    for (const finding_t& finding : findings) {
        if (finding.severity != severity_t::error) continue;
        bool noted = false;
        const auto [first, last] = files.equal_range(finding.file);
        for (auto file = first; file != last; ++file) {
            if (Link* link = ties.link(file->second, finding.pointer)) link->failed = true;
            Block* block = ties.block(file->second, finding.pointer);
            if (block == nullptr) continue;
            block->failed = true;
            noted = block->unread;  // by the drawing itself
        }
        if (!noted) diagram.notes.push_back(sentence_of(finding));
    }
}

}  // namespace

void take_order(Diagram& diagram, const analysis_t& analysis) {
    const graph_t& graph = analysis.graph;
    const Ties ties(diagram, graph);
    std::vector<std::size_t> ranks(graph.nodes.size(), none);
    for (std::size_t rank = 0; rank < analysis.order().size(); ++rank) ranks[analysis.order()[rank]] = rank;
    if (analysis.complete) {
        const auto never = never_run(analysis);
        for (std::size_t rank = 0; rank < analysis.order().size(); ++rank) {
            const node_t& node = graph.nodes[analysis.order()[rank]];
            if (Block* block = never[rank] ? ties.block(node.file, node.place()) : nullptr) block->idle = true;
        }
    }
    for (const std::size_t position : analysis.order()) {
        for (const feed_t& feed : analysis.wiring.in_run(position)) {
            if (feed.edge == nullptr || !is_late(analysis, ranks, feed, position)) continue;
            if (Link* link = ties.link(feed.edge->file, feed.edge->place())) link->late = true;
        }
    }
}

std::vector<FindingPlace> places_of(Diagram& diagram, const analysis_t& analysis, std::span<const finding_t> findings) {
    const Ties ties(diagram, analysis.graph);
    std::unordered_map<std::string_view, std::size_t> files;
    for (std::size_t i = 0; i < analysis.graph.files.size(); ++i)
        files.emplace(analysis.graph.files[i].source->shown(), i);
    std::vector<FindingPlace> places;
    for (const finding_t& finding : findings) {
        FindingPlace& place = places.emplace_back();
        const auto file = files.find(finding.file);
        if (file == files.end()) continue;
        const Block* block = ties.block(file->second, finding.pointer);
        const Link* link = ties.link(file->second, finding.pointer);
        if (block != nullptr) place.block = static_cast<std::size_t>(block - diagram.blocks.data());
        if (link != nullptr) place.link = static_cast<std::size_t>(link - diagram.links.data());
    }
    return places;
}

void take_checks(Diagram& diagram, const analysis_t& analysis, std::span<const finding_t> findings) {
    diagram.start = analysis.graph.ti;
    diagram.end = analysis.graph.tf;
    diagram.step = analysis.graph.ts;
    const Ties ties(diagram, analysis.graph);
    take_types(ties, analysis);
    mark_loops(ties, analysis);
    take_errors(ties, analysis.graph, findings, diagram);
    const bool looked_at_all =
        std::ranges::none_of(findings, [](const finding_t& finding) { return finding.code == "Z402"; });
    if (!spread_types(diagram) && !looked_at_all)
        diagram.remarks.emplace_back(
            "types stop where expressions are not evaluated: -w FILE.py, -e or --python evaluates them");
}

}  // namespace zarn::draw
