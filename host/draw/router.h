// Finds ways for wires: level and upright pieces, around blocks, apart from each other.
#pragma once

#include <cstddef>
#include <vector>

#include "host/draw/geometry.h"
#include "host/draw/pieces.h"

namespace zarn::draw {

struct Terminal {
    Point at;
    Point out;  ///< which way a wire leaves the block here: one of the four directions
};

/// The wires from one output. They share a trunk as far as they go the same way.
struct Net {
    Terminal source;
    std::vector<Terminal> targets;
    std::vector<Polyline> fixed;   ///< further wires, which a person has drawn
    std::vector<Polyline> routes;  ///< filled by `route`: one for each target, from where it leaves the net
    Pieces pieces;                 ///< filled by `route`: of all these wires
};

struct RoutingArea {
    std::vector<Rect> blocks;  ///< never crossed where there is another way
    std::vector<Rect> texts;   ///< crossed only when the way around is long
};

/// Routes all nets. Above a certain size of the drawing, wires are laid without looking at what is in their way.
void route(const RoutingArea& area, std::vector<Net>& nets);

/// The corners of a line only.
Polyline simplified(const Polyline& line);

}  // namespace zarn::draw
