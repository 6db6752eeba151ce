// The figures that a drawn block is made of, as data: who writes them decides on the form.
#pragma once

#include <string>
#include <vector>

#include "host/draw/diagram.h"
#include "host/draw/geometry.h"
#include "host/draw/scene.h"

namespace zarn::draw {

/// One figure. `style` holds words of `stylesheet()`; texts are texts and no markup.
struct Figure {
    enum class Kind { rect, ellipse, dot, path, text };
    Kind kind = Kind::rect;
    std::string style;
    Rect box;            ///< of a text its left upper corner only: anchor and baseline
    double radius = 0;   ///< of a rect's corners
    std::string path;    ///< M, L, H, V and z with numbers
    std::string text;    ///< clean
    std::string raised;  ///< what stands above the line behind a text
    const char* anchor = "middle";
    double size = 0;          ///< of the font
    std::string fill;         ///< "#rrggbb" in place of the style's, "" for none
    double opacity = 1;       ///< of the fill
    double stroke_width = 0;  ///< in place of the style's, 0 for none
    double degrees = 0;       ///< turned clockwise about `pivot`
    Point pivot;
};

/// Outline, icon and caption. Of a block with its content in place the outline only.
std::vector<Figure> body_of(const Block& block, const Node& node);

/// Names and marks of the ports.
std::vector<Figure> ports_of(const Block& block, const Node& node);

/// What is shown of a block when the pointer rests on it.
std::string tooltip_of(const Diagram& diagram, std::size_t block);

/// The word that a wire, its arrow or its joint has besides its own, with a blank before, by the type of the signal.
const char* type_style(const std::string& type);
/// The same of a wire, which may be broken.
const char* wire_style(const Wire& wire);
const char* label_style(Label::Kind kind);

/// A line as the data of a path.
std::string path_data(const Polyline& line);

}  // namespace zarn::draw
