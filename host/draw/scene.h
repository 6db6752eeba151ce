// One page of the drawing with everything in its place.
#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "host/draw/diagram.h"
#include "host/draw/geometry.h"
#include "host/draw/symbols.h"

namespace zarn::draw {

struct Port {
    int number = 0;
    std::string label;
    Point at;
    Point out;            ///< which way a wire leaves here
    bool linked = false;  ///< whether a wire ends or starts here
    bool broken = false;  ///< named by a link, but not there
};

/// A line of text, at its baseline.
struct Label {
    enum class Kind { name, type, link, note, broken } kind = Kind::name;
    std::string text;
    Point at;  ///< left end of the baseline
    double size = 10;
    Rect box;
    std::string hint;          ///< the whole text when it had to be shortened
    std::size_t block = none;  ///< that it names
    std::size_t link = none;   ///< beside whose wire it stands
};

struct Scene;

struct Node {
    std::size_t block = 0;
    Symbol symbol;
    Rect box;  ///< before it is turned
    double rotation = 0;
    std::vector<Port> inputs, outputs;  ///< the enable input among the inputs
    std::unique_ptr<Scene> inner;       ///< of a subsystem that is drawn with its content
    Point inner_at;                     ///< where that has its origin

    Rect bounds() const { return turned_bounds(box, rotation); }
};

struct Wire {
    Polyline path;
    std::size_t source = none;  ///< block whose output it carries
    std::string type;           ///< short name, "" while unknown
    bool broken = false;
    bool arrow = true;
    std::size_t link = none;  ///< that it stands for
};

/// A dot where wires of one signal part.
struct Joint {
    Point at;
    std::string type;
};

struct Scene {
    std::size_t owner = 0;              ///< the block whose content this is
    std::vector<std::size_t> repeated;  ///< references whose content is the same
    std::vector<Node> nodes;
    std::vector<Wire> wires;
    std::vector<Joint> joints;
    std::vector<Label> labels;
    std::vector<std::string> notes;    ///< what is wrong
    std::vector<std::string> remarks;  ///< what is worth knowing
    Rect bounds;
};

struct DrawOptions {
    int depth = 0;             ///< so many levels of subsystems are drawn with their content in place
    std::size_t level = none;  ///< the one subsystem that is drawn, `none` for all
    bool relayout = false;     ///< passes over the positions of the file
    bool as_written = false;   ///< one pixel is one unit of the file, and every block stands where the diagram has it
    std::chrono::milliseconds layout_limit{10'000};  ///< for Graphviz's dot
};

/// The pages of a diagram, the root's first. What a file holds that is referred to more than once is drawn once, with
/// what is known of each of its uses taken together in the diagram. `note` gets what the user should know about the
/// making.
std::vector<Scene> make_scenes(Diagram& diagram, const DrawOptions& options, std::string& note);

}  // namespace zarn::draw
