// Where the blocks of a page stand and where their ports are.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "host/draw/layout.h"
#include "host/draw/scene.h"

namespace zarn::draw {

inline constexpr double name_size = 10;
inline constexpr double name_room = 16;  ///< height that a block's name takes below it

/// A link between two blocks of one page, by the places of its ends in the page's lists.
struct PageLink {
    std::size_t link = 0;
    std::size_t from = 0, to = 0;       ///< nodes
    std::size_t output = 0, input = 0;  ///< ports
};

/// A page in the making.
struct Page {
    Scene scene;
    std::vector<PageLink> links;
    std::vector<Polyline> bends;  ///< of `links`, in pixels
    bool stretched = false;       ///< the file's positions have been moved apart
};

/// Puts blocks where the file has them, enlarged alike when they are small. False when the file has no usable
/// positions: then `layout_graph` and `accept_layout` place the blocks. `as_written` takes the positions as they are.
bool place_as_drawn(const Diagram& diagram, Page& page, bool as_written = false);

/// The page as the layout programs take it.
LayoutGraph layout_graph(const Diagram& diagram, const Page& page);

/// Takes over the positions that a layout program found.
void accept_layout(const LayoutGraph& graph, const Positions& positions, Page& page);

/// Sets the places of all ports from the boxes.
void place_ports(Page& page);

/// How the name of a block is written below it.
std::string shown_name(const Diagram& diagram, const Node& node);

}  // namespace zarn::draw
