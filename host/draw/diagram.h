// A model as its file draws it: every block and link, also those that could never run.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "framework/classes.h"
#include "host/document/document.h"
#include "host/draw/geometry.h"

namespace zarn::draw {

inline constexpr std::size_t none = static_cast<std::size_t>(-1);

/// Number of a port that stands for the enable input of a subsystem.
inline constexpr int enable_port = -1;

/// What holds for a class of which nothing is known.
inline constexpr tessel::block_traits_t no_traits{};

/// One block. Block 0 of a diagram is the root, which stands in no file.
struct Block {
    std::string class_name;  ///< as in the file, "subsystem" read as "subsys"
    std::string name;
    std::uint64_t id = 0;  ///< as in its own file
    std::size_t parent = 0;
    bool known = true;                                         ///< whether the class exists
    const tessel::block_traits_t* traits = &no_traits;         ///< of the class
    bool placed = false;                                       ///< whether the file gives it a position or a size
    bool failed = false;                                       ///< whether the checks found a fault here
    bool unread = false;                                       ///< a reference whose file cannot be read
    bool idle = false;                                         ///< the checks found that it never steps
    double x = 0, y = 0, width = 0, height = 0, rotation = 0;  ///< canvas units; rotation in degrees, clockwise
    std::array<double, 4> color{};                             ///< red, green, blue, alpha, 0 to 1 each
    int inputs = 0, outputs = 0;
    int port_number = 0;  ///< of an inport or outport
    std::map<std::string, std::string, std::less<>> parameters;

    bool is(std::string_view name_of_class) const { return class_name == name_of_class; }
    bool is_subsystem() const { return is("subsys") || is("refsys"); }
    std::string parameter(std::string_view key) const;
};

struct Link {
    std::size_t source = none, target = none;  ///< blocks, `none` where the id names no block
    std::uint64_t source_id = 0, target_id = 0;
    int source_port = 0, target_port = 0;
    std::string label;
    Polyline bends;
    std::string type;     ///< short name of the signal's type ("flt64"), "" while it is unknown
    bool failed = false;  ///< whether the checks found a fault here
    bool late = false;    ///< what it carries is read one step late
};

/// What one file has brought to a diagram. A file that is referred to three times has three of them.
struct Part {
    std::size_t owner = 0;            ///< the root, or the reference
    std::size_t same = 0;             ///< the first part of the same file
    std::vector<std::size_t> blocks;  ///< by place in the file's list, `none` for what is no block
    std::vector<std::size_t> links;   ///< by place in the file's list
};

struct Diagram {
    std::string title;
    std::vector<Block> blocks;
    std::vector<Link> links;
    double start = 0, end = 10, step = 1;  ///< of the simulation, in seconds
    std::vector<Part> parts;               ///< that of the file itself first
    std::vector<std::string> notes;        ///< what is wrong with the file, or with the model
    std::vector<std::string> remarks;      ///< what is worth knowing of the picture

    /// The names from the root down to a block, with dots; of a long way only both ends.
    std::string short_path(std::size_t block) const;
    /// The subsystem at a path, with names as they are written or as the library writes them; "mainsys." in front can
    /// be left out. `none` when there is none there.
    std::size_t find_subsystem(std::string_view path) const;
    /// The blocks whose parent a block is, in the file's order, for all blocks.
    std::vector<std::vector<std::size_t>> children() const;
};

/// The diagram of a model with all that it refers to. What cannot be understood is left out. Raises
/// `std::runtime_error` or the JSON library's exceptions when there is no JSON to read.
Diagram read_diagram(Document& document);

}  // namespace zarn::draw
