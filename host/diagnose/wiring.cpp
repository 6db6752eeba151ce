#include "host/diagnose/wiring.h"

#include <numeric>

#include "host/diagnose/tree.h"

namespace zarn {

lineup_t line_up(const graph_t& graph) {
    lineup_t all;
    all.reserve(graph.nodes.size());
    for (const node_t& node : graph.nodes) all.push_back(node.block);
    return all;
}

lineup_t line_up(const graph_t& graph, const std::vector<std::size_t>& live) {
    lineup_t all;
    all.reserve(live.size());
    for (const std::size_t position : live) all.push_back(graph.nodes[position].block);
    return all;
}

wiring_t as_drawn(const graph_t& graph) {
    wiring_t wiring;
    wiring.live.resize(graph.nodes.size());
    std::iota(wiring.live.begin(), wiring.live.end(), std::size_t{0});
    wiring.wires.reserve(graph.edges.size());
    for (const edge_t& edge : graph.edges)
        wiring.wires.push_back({{edge.src, edge.dst, edge.src_port, edge.dst_port}, &edge, &edge});
    wiring.typed = InputTable<feed_t>(graph);
    wiring.excused = InputTable<char>(wiring.typed);
    return wiring;
}

std::string input_text(const node_t& node, std::int16_t port) {
    return tessel::format("input {} of {} ({})", port, node.path(), node.class_name());
}

std::string output_text(const node_t& node, std::int16_t port) {
    return tessel::format("output {} of {} ({})", port, node.path(), node.class_name());
}

}  // namespace zarn
