// The pieces that the wires of one signal are made of, each stretch once however many wires share it.
#pragma once

#include <utility>
#include <vector>

#include "host/draw/geometry.h"

namespace zarn::draw {

struct Pieces {
    std::vector<std::pair<Point, Point>> straight;  ///< level and upright, none overlapping another of its direction
    std::vector<Point> joints;                      ///< where wires leave in three directions or more
};

/// The pieces of wires that carry one signal. Slanting pieces are left out.
Pieces pieces_of(const std::vector<Polyline>& wires);

}  // namespace zarn::draw
