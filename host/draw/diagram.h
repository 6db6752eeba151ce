// A model as its file draws it: every block and link, also those that could never run.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "host/draw/geometry.h"

namespace zarn::draw {

inline constexpr std::size_t none = static_cast<std::size_t>(-1);

/// Number of a port that stands for the enable input of a subsystem.
inline constexpr int enable_port = -1;

/// One block. Block 0 of a diagram is the root, which stands in no file.
struct Block {
    std::string class_name;  ///< as in the file, "subsystem" read as "subsys"
    std::string name;
    std::uint64_t id = 0;  ///< as in its own file
    std::size_t parent = 0;
    bool known = true;                                         ///< whether the class exists
    bool placed = false;                                       ///< whether the file gives it a position or a size
    bool failed = false;                                       ///< whether compile found the fault here
    bool unread = false;                                       ///< a reference whose file cannot be read
    double x = 0, y = 0, width = 0, height = 0, rotation = 0;  ///< canvas units; rotation in degrees, clockwise
    std::array<double, 4> color{};                             ///< red, green, blue, alpha, 0 to 1 each
    int inputs = 0, outputs = 0;
    int port_number = 0;  ///< of an inport or outport
    std::map<std::string, std::string, std::less<>> parameters;
    std::vector<std::string> input_types, output_types;  ///< short names after a compile, "" where unknown

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
};

struct Diagram {
    std::string title;
    std::vector<Block> blocks;
    std::vector<Link> links;
    double start = 0, end = 10, step = 1;  ///< of the simulation, in seconds
    std::vector<std::string> notes;        ///< what was wrong with the file, or with the model
    std::vector<std::size_t> load_order;   ///< all blocks as a load adds them to a model: contents before a reference

    /// The names from the root down to a block, with dots.
    std::string path(std::size_t block) const;
    /// The same, but of a long way only both ends.
    std::string short_path(std::size_t block) const;
    /// The blocks whose parent a block is, in the file's order, for all blocks.
    std::vector<std::vector<std::size_t>> children() const;
};

/// Reads a model file and the files that it refers to, which are searched from the file's own folder. What cannot be
/// understood is left out and named in `notes`. Raises `std::runtime_error` when there is no JSON to read.
Diagram read_diagram(const std::filesystem::path& file);

}  // namespace zarn::draw
