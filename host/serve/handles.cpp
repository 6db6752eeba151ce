#include "host/serve/handles.h"

#include <algorithm>
#include <cstdint>

#include "core/format.h"

namespace zarn::serve {
namespace {

/// The text, with "~2", "~3" or another mark behind it where it has been given before.
std::string numbered(std::unordered_map<std::string, int>& given, std::string text, const char* mark, int plain) {
    const int number = ++given[text];
    if (number > plain) text += mark + std::to_string(number);
    return text;
}

}  // namespace

Handles::Handles(const draw::Diagram& diagram)
    : diagram_(diagram),
      blocks_(diagram.blocks.size()),
      links_(diagram.links.size()),
      parts_(diagram.blocks.size(), 0) {
    blocks_[0] = "0";
    for (std::size_t p = 0; p < diagram.parts.size(); ++p) {
        const draw::Part& part = diagram.parts[p];
        const std::string prefix = p == 0 ? "" : blocks_[part.owner] + "/";
        std::unordered_map<std::uint64_t, int> given;
        for (const std::size_t block : part.blocks) {
            if (block == draw::none) continue;
            parts_[block] = p;
            const std::uint64_t id = diagram.blocks[block].id;
            const int number = ++given[id];
            blocks_[block] = prefix + std::to_string(id);
            // 0 is the root's
            if (number > 1 || id == 0) blocks_[block] += "~" + std::to_string(number);
        }
    }
    std::unordered_map<std::string, int> given;
    for (std::size_t p = 0; p < diagram.parts.size(); ++p) {
        const std::string prefix = p == 0 ? "" : blocks_[diagram.parts[p].owner] + "/";
        const auto end = [&](std::size_t block, std::uint64_t id, int port) {
            return (block != draw::none ? blocks_[block] : prefix + std::to_string(id)) + ":" + std::to_string(port);
        };
        for (const std::size_t link : diagram.parts[p].links) {
            const draw::Link& l = diagram.links[link];
            links_[link] = numbered(
                given, end(l.source, l.source_id, l.source_port) + ">" + end(l.target, l.target_id, l.target_port), "#",
                1);
        }
    }
    for (std::size_t i = 0; i < blocks_.size(); ++i) by_handle_.emplace(blocks_[i], i);
    for (std::size_t i = 0; i < links_.size(); ++i) link_by_handle_.emplace(links_[i], i);
}

std::size_t Handles::block(std::string_view handle) const {
    const auto found = by_handle_.find(handle);
    return found != by_handle_.end() ? found->second : draw::none;
}

std::size_t Handles::link(std::string_view handle) const {
    const auto found = link_by_handle_.find(handle);
    return found != link_by_handle_.end() ? found->second : draw::none;
}

std::vector<std::size_t> Handles::way_to(std::size_t block) const {
    std::vector<std::size_t> way;
    constexpr std::size_t most_levels = 1000;  // a way up may go in circles
    for (std::size_t i = block; way.size() < most_levels; i = diagram_.blocks[i].parent) {
        way.push_back(i);
        if (i == 0) break;
    }
    std::ranges::reverse(way);
    return way;
}

std::string Handles::path_of(std::size_t block) const {
    std::string path;
    for (const std::size_t i : way_to(block)) path += (path.empty() ? "" : ".") + diagram_.blocks[i].name;
    return path;
}

}  // namespace zarn::serve
