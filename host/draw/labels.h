// Finds places for texts where they cover nothing.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "host/draw/geometry.h"
#include "host/draw/scene.h"
#include "host/draw/taken.h"

namespace zarn::draw {

/// A label with its place still to be found.
Label make_label(Label::Kind kind, const std::string& text, double size, double widest);

/// Puts a label at the place of least overlap among candidates for its box's left upper corner, the first of equals.
void settle(Label& label, std::span<const Point> corners, const Taken& taken);

/// Candidates along a wire, those near its start first.
std::vector<Point> beside(const Polyline& line, const Label& label);

}  // namespace zarn::draw
