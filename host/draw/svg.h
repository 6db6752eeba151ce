// Writes pages as one SVG document.
#pragma once

#include <string>
#include <vector>

#include "host/draw/diagram.h"
#include "host/draw/scene.h"

namespace zarn::draw {

/// The pages below each other, each in a titled panel. Blocks with a page of their own lead there.
std::string write_svg(const Diagram& diagram, const std::vector<Scene>& pages);

}  // namespace zarn::draw
