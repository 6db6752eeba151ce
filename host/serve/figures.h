// Figures of a drawing as messages hold them.
#pragma once

#include "host/draw/figures.h"
#include "host/serve/json.h"

namespace zarn::serve {

/// A length: to a hundredth.
double rounded(double length);

/// Sets x, y, width and height of an object.
void put_box(json_t& object, const draw::Rect& box);

/// The node with its left upper corner at the origin.
draw::Node at_origin(const draw::Node& node);

/// The figures of a block, relative to its left upper corner.
json_t figures_json(const draw::Block& block, const draw::Node& node);

}  // namespace zarn::serve
