// Writes pages as one SVG document.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "host/draw/diagram.h"
#include "host/draw/scene.h"

namespace zarn::draw {

/// The pages below each other, each in a titled panel. Blocks with a page of their own lead there.
std::string write_svg(const Diagram& diagram, const std::vector<Scene>& pages);

/// The style sheet of such a document, for light grounds: each word is a class.
std::string_view stylesheet();

}  // namespace zarn::draw
