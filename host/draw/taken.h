// What is taken on a page, searched by place.
#pragma once

#include <cstddef>
#include <cstdint>
#include <unordered_map>
#include <vector>

#include "host/draw/geometry.h"
#include "host/draw/pieces.h"

namespace zarn::draw {

/// Rectangles in grids of several meshes: each lies in the finest grid whose cells are as large as itself, so that a
/// rectangle takes at most four entries, long wires too.
class Taken {
public:
    void add(const Rect& r);
    /// The pieces of wires, with a little room on both sides.
    void add(const Pieces& pieces);
    /// How much of `r` is taken, in square pixels.
    double overlap(const Rect& r) const;

private:
    struct Entry {
        Rect rect;
        std::uint32_t next;  // in the same cell
    };
    struct Mesh {
        bool used = false;
        double cell = 0;
        std::unordered_map<std::uint64_t, std::uint32_t> first;  // entry by cell
    };
    std::vector<Mesh> meshes_;
    std::vector<Entry> entries_;
};

}  // namespace zarn::draw
