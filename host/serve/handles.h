// Names by which messages speak of blocks, levels and wires. See docs/protocol.md.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "host/draw/diagram.h"

namespace zarn::serve {

/// The handles of a diagram, which must outlive it.
class Handles {
public:
    explicit Handles(const draw::Diagram& diagram);

    /// "ID", "ID~2", "REFERENCE/ID"; "0" for the root.
    const std::string& of_block(std::size_t block) const { return blocks_[block]; }
    /// "SOURCE:PORT>TARGET:PORT"; ids stand in for blocks that are not there.
    const std::string& of_link(std::size_t link) const { return links_[link]; }
    /// `draw::none` for a handle of no block.
    std::size_t block(std::string_view handle) const;
    std::size_t link(std::string_view handle) const;
    /// Which part of the diagram brought a block; 0 for the opened file.
    std::size_t part_of(std::size_t block) const { return parts_[block]; }

    /// The names from the root down, with dots.
    std::string path_of(std::size_t block) const;
    /// The blocks around a block, the root first, itself last.
    std::vector<std::size_t> way_to(std::size_t block) const;

private:
    const draw::Diagram& diagram_;
    std::vector<std::string> blocks_, links_;
    std::vector<std::size_t> parts_;
    std::unordered_map<std::string_view, std::size_t> by_handle_, link_by_handle_;
};

}  // namespace zarn::serve
