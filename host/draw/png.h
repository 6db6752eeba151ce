// A drawing as a picture of points.
#pragma once

#include <string>

namespace zarn::draw {

/// The PNG image of an SVG document, made by librsvg's `rsvg-convert`. Raises `std::runtime_error` with the reason, and
/// the package that helps, where there is none.
std::string png_of(const std::string& svg);

}  // namespace zarn::draw
