// Edits that take away.

#include <algorithm>
#include <unordered_map>

#include "core/format.h"
#include "core/str.h"
#include "host/edit/editor.h"
#include "host/edit/structure.h"

namespace zarn::edit {

void Editor::erase_all(list_t list, const std::set<std::size_t>& which) {
    for (auto index = which.rbegin(); index != which.rend(); ++index) sheet_.erase(list, *index);
}

/// The ids of blocks and of everything inside them.
std::set<std::uint64_t> Editor::with_content(const std::vector<std::string>& blocks) const {
    std::unordered_multimap<std::uint64_t, std::uint64_t> inside;
    for (const item_t& item : sheet_.items(list_t::blocks))
        if (item.parent != item.id) inside.emplace(item.parent, item.id);
    std::set<std::uint64_t> ids;
    std::vector<std::uint64_t> waiting;
    for (const std::string& handle : blocks) waiting.push_back(sheet_.item(list_t::blocks, block_at(handle)).id);
    while (!waiting.empty()) {
        const std::uint64_t id = waiting.back();
        waiting.pop_back();
        if (id == 0 || !ids.insert(id).second) continue;
        const auto [first, last] = inside.equal_range(id);
        for (auto inner = first; inner != last; ++inner) waiting.push_back(inner->second);
    }
    return ids;
}

void Editor::remove(const std::vector<std::string>& blocks, const std::vector<std::string>& wires,
                    const std::vector<std::string>& comments, bool join) {
    std::set<std::size_t> gone_blocks, gone_links, gone_comments;
    for (const std::string& wire : wires) gone_links.insert(wire_at(wire));
    for (const std::string& comment : comments) gone_comments.insert(comment_at(comment));
    std::set<std::size_t> named;
    for (const std::string& block : blocks) named.insert(block_at(block));
    const auto ids = with_content(blocks);
    const auto& all = sheet_.items(list_t::blocks);
    const auto& links = sheet_.items(list_t::links);
    // of two blocks with one id only that one goes which is named; links and content are those of the first
    for (std::size_t i = 0; i < all.size(); ++i)
        if (named.contains(i) || (ids.contains(all[i].id) && !named.contains(sheet_.find_block(handle_of(all[i].id)))))
            gone_blocks.insert(i);
    std::vector<std::pair<end_t, std::size_t>> joined;  // source, and the link that is to have it
    if (join && named.size() == 1) {
        const item_t& block = all[*named.begin()];
        std::vector<std::size_t> arriving, leaving;
        for (std::size_t i = 0; i < links.size(); ++i) {
            if (gone_links.contains(i) || links[i].source == links[i].target) continue;
            if (links[i].target == block.id) arriving.push_back(i);
            if (links[i].source == block.id) leaving.push_back(i);
        }
        if (arriving.size() == 1)
            for (const std::size_t link : leaving) {
                const item_t& source = links[arriving.front()];
                joined.emplace_back(end_t{handle_of(source.source), source.source_port}, link);
            }
    }
    for (const auto& [source, link] : joined) resource(link, source);
    for (std::size_t i = 0; i < links.size(); ++i)
        if (ids.contains(links[i].source) || ids.contains(links[i].target)) gone_links.insert(i);
    // what stands for a port of the subsystem around goes with the wires to that port
    std::vector<std::pair<std::uint64_t, std::string>> counted;
    for (const std::size_t index : named) {
        const item_t& block = all[index];
        const bool input = block.class_name == inport_class;
        if (block.class_name == gate_class && block.parent != 0) {
            for (std::size_t i = 0; i < links.size(); ++i)
                if (links[i].target == block.parent && links[i].target_port == -1) gone_links.insert(i);
        }
        if (!is_relay(block.class_name) || block.parent == 0 || ids.contains(block.parent)) continue;
        const double number = tessel::str::to_double(content_of(member(index, "portNumber"))).value_or(-1);
        for (std::size_t i = 0; i < links.size(); ++i) {
            const bool there = input ? links[i].target == block.parent && links[i].target_port == number
                                     : links[i].source == block.parent && links[i].source_port == number;
            if (there) gone_links.insert(i);
        }
        counted.emplace_back(block.parent, block.class_name);
    }
    erase_all(list_t::links, gone_links);
    erase_all(list_t::blocks, gone_blocks);
    erase_all(list_t::comments, gone_comments);
    for (const auto& [around, class_name] : counted) count_ports(around, class_name, -1);
}

}  // namespace zarn::edit
