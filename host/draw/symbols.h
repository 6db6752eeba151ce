// How each block class looks: outline, size, text or icon, names of its ports.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "host/draw/diagram.h"
#include "host/draw/geometry.h"

namespace zarn::draw {

enum class Shape {
    box,
    circle,    ///< a summing point
    pill,      ///< a port of the diagram or of the subsystem around it
    goto_tag,  ///< a signal that goes on elsewhere
    from_tag,
    frame,   ///< a subsystem: a double frame
    screen,  ///< a display
    unknown  ///< a class that does not exist
};

/// Strokes inside a unit square from -1 to 1, y down.
struct Icon {
    std::vector<Polyline> strokes;
    std::vector<Polyline> axes;  ///< thin and pale
    std::vector<Point> dots;
};

struct PortName {
    int number = 0;  ///< as links name it
    std::string label;
    bool broken = false;  ///< named by a link, but not there
};

struct Symbol {
    Shape shape = Shape::box;
    double width = 56, height = 40;  ///< when the file gives none
    std::string text;                ///< in the middle; "^" starts a superscript
    Icon icon;
    std::vector<PortName> inputs, outputs;
};

/// The symbol of a block. `children` are the blocks inside it.
Symbol symbol_of(const Diagram& diagram, std::size_t block, const std::vector<std::size_t>& children);

}  // namespace zarn::draw
