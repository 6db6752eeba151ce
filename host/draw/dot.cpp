// Asks Graphviz's `dot` for positions: graphs go in as text, one process answers for all of them.
#include <charconv>
#include <sstream>

#include "core/format.h"
#include "host/draw/ask.h"
#include "host/draw/layout.h"

namespace zarn::draw {
namespace {

constexpr double dots_per_inch = 72;

/// "{<i0>|<i1>}" with as many fields as a side has ports, so that wires of one block do not cross without need.
std::string fields(char side, std::size_t count) {
    std::string text = "{";
    for (std::size_t i = 0; i < count; ++i) text += tessel::format("{}<{}{}>", i == 0 ? "" : "|", side, i);
    return text + "}";
}

std::string source_of(const LayoutGraph& graph) {
    std::string text = tessel::format(
        "digraph {{rankdir=LR;ranksep={:.3f};nodesep={:.3f};splines=false;node[shape=record,fixedsize=true];\n",
        layer_gap / dots_per_inch, row_gap / dots_per_inch);
    for (std::size_t i = 0; i < graph.nodes.size(); ++i) {
        const auto& node = graph.nodes[i];
        text += tessel::format("n{}[width={:.3f},height={:.3f},label=\"{}|{}\"];\n", i, node.width / dots_per_inch,
                               node.height / dots_per_inch, fields('i', node.input_y.size()),
                               fields('o', node.output_y.size()));
    }
    for (const auto& edge : graph.edges) {
        const auto& out = graph.nodes[edge.from].output_y;
        const auto& in = graph.nodes[edge.to].input_y;
        const auto from = edge.output < out.size() ? tessel::format("n{}:o{}", edge.from, edge.output)
                                                   : tessel::format("n{}", edge.from);
        const auto to =
            edge.input < in.size() ? tessel::format("n{}:i{}", edge.to, edge.input) : tessel::format("n{}", edge.to);
        if (edge.backward) text += tessel::format("n{}->n{};\n", edge.to, edge.from);
        else text += tessel::format("{}->{}[weight=4];\n", from, to);
    }
    return text + "}\n";
}

/// The positions in one answer of the form "plain": lengths in inches, y up.
Positions read_plain(const std::string& answer, const LayoutGraph& graph) {
    Positions positions(graph.nodes.size());
    std::size_t found = 0;
    std::istringstream lines(answer);
    lines.imbue(std::locale::classic());
    std::string line;
    double height = 0;
    while (std::getline(lines, line)) {
        std::istringstream words(line);
        words.imbue(std::locale::classic());
        std::string kind, name;
        double x = 0, y = 0;
        words >> kind;
        if (kind == "graph") words >> x >> x >> height;
        if (kind != "node" || !(words >> name >> x >> y) || name.empty()) continue;
        std::size_t index = graph.nodes.size();
        std::from_chars(name.data() + 1, name.data() + name.size(), index);
        if (index >= graph.nodes.size()) continue;
        const auto& node = graph.nodes[index];
        positions[index] = {x * dots_per_inch - node.width / 2, (height - y) * dots_per_inch - node.height / 2};
        ++found;
    }
    if (found != graph.nodes.size()) positions.clear();
    return positions;
}

}  // namespace

std::vector<Positions> dot_layouts(std::span<const LayoutGraph> graphs, std::chrono::milliseconds limit,
                                   std::string& why) {
    std::vector<Positions> found(graphs.size());
    if (graphs.empty()) return found;
    std::string text;
    for (const auto& graph : graphs) text += source_of(graph);

    const Answer reply = ask({"dot", "-Tplain"}, text, limit);
    const std::string& answer = reply.text;
    if (!reply.error.empty()) why = "Graphviz's dot cannot be started: " + reply.error;

    // answers stand in the order of the questions, each closed by a line "stop"
    std::size_t at = 0, next = 0;
    for (; next < graphs.size(); ++next) {
        const std::size_t stop = answer.compare(at, 5, "stop\n") == 0 ? at : answer.find("\nstop\n", at);
        if (stop == std::string::npos) break;
        found[next] = read_plain(answer.substr(at, stop - at), graphs[next]);
        at = stop + (answer[stop] == '\n' ? 6 : 5);
    }
    if (next < graphs.size() && why.empty())
        why = reply.ended ? "Graphviz's dot gave no layout"
                          : tessel::format("Graphviz's dot gave no layout within {:g} s",
                                           static_cast<double>(limit.count()) / 1000);
    return found;
}

}  // namespace zarn::draw
