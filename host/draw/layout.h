// Places blocks that nobody has placed: in layers, signals running from left to right.
#pragma once

#include <chrono>
#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include "host/draw/geometry.h"

namespace zarn::draw {

struct LayoutNode {
    double width = 0, height = 0;           ///< the room that the block takes, its name below it included
    std::vector<double> input_y, output_y;  ///< heights of the ports, from the top; below 0 for one that is not level
};

struct LayoutEdge {
    std::size_t from = 0, to = 0;
    std::size_t output = 0, input = 0;
    bool delayed = false;   ///< leaves a block with memory: in a loop this edge is the one that runs backwards
    bool backward = false;  ///< set by `turn_loops`
};

struct LayoutGraph {
    std::vector<LayoutNode> nodes;
    std::vector<LayoutEdge> edges;
};

using Positions = std::vector<Point>;  ///< left upper corners

inline constexpr double layer_gap = 64;  ///< between two layers, room for wires and their types
inline constexpr double row_gap = 22;    ///< between two blocks of a layer

/// Marks the edges that close a loop as backward, so that the others run one way.
void turn_loops(LayoutGraph& graph);

/// Places the graphs with Graphviz's `dot`, all in one process. An entry stays empty where the program is missing or
/// has not answered when the time is over; `why` then tells. Expects `turn_loops` to be done.
std::vector<Positions> dot_layouts(std::span<const LayoutGraph> graphs, std::chrono::milliseconds limit,
                                   std::string& why);

/// Places a graph without help: longest paths, barycenters, linear in size. Expects `turn_loops` to be done.
Positions layered_layout(const LayoutGraph& graph);

/// Moves blocks up and down a little, without making them overlap, so that wires run straight.
void straighten(const LayoutGraph& graph, Positions& positions);

}  // namespace zarn::draw
