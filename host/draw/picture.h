// The picture of a model file, from its text to an SVG document.
#pragma once

#include <string>
#include <vector>

#include "host/diagnose/diagnose.h"
#include "host/draw/diagram.h"
#include "host/draw/scene.h"

namespace zarn::draw {

struct picture_request_t {
    DrawOptions options;
    std::string level;        ///< path of the subsystem that is drawn, "" for all
    std::size_t most = none;  ///< of more blocks only one level is drawn, and nothing of a level of more
    check_options_t check;  ///< how the model is checked for the sake of its types and faults, which hinder no picture
};

struct picture_t {
    std::string svg;  ///< "" of a level with too many blocks
    Diagram diagram;
    std::size_t pages = 0;
    std::size_t left_out = 0;  ///< blocks that are not drawn, for they are too many
    std::vector<finding_t> findings;
    std::string too_much;  ///< why the model was not checked: what is too much to load can be drawn
    std::string layout;    ///< what is worth knowing of how blocks were placed
};

/// Draws a document through the bridge in use. Raises `std::runtime_error` with a text for the user for a file that
/// cannot be read as a model, `std::out_of_range` for a level that is not there.
picture_t draw_picture(Document& document, const picture_request_t& request);

}  // namespace zarn::draw
