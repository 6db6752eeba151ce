// Blocks to a fragment and from it.

#include <algorithm>
#include <unordered_map>

#include "core/format.h"
#include "core/num.h"
#include "host/edit/editor.h"
#include "host/edit/structure.h"

namespace zarn::edit {

std::string Editor::copy(const std::vector<std::string>& blocks) const {
    const auto ids = with_content(blocks);
    const auto join = [](std::string& text, const std::string& body) { text += (text.empty() ? "\n" : ",\n") + body; };
    std::string elements, links;
    for (const item_t& item : sheet_.items(list_t::blocks))
        if (ids.contains(item.id)) join(elements, item.body);
    for (const item_t& link : sheet_.items(list_t::links))
        if (ids.contains(link.source) && ids.contains(link.target)) join(links, link.body);
    return "{\"blocks\": [" + elements + "\n], \"links\": [" + links + "\n]}";
}

std::vector<std::string> Editor::paste(const std::string& fragment, const std::string& level, double x, double y) {
    const std::uint64_t id = level_id(level);
    const Editor source(fragment, file_);
    const auto& blocks = source.sheet_.items(list_t::blocks);
    std::unordered_map<std::uint64_t, std::uint64_t> fresh;
    for (const item_t& item : blocks) {
        if (item.class_name.empty()) throw Refusal("the fragment holds something that is no block");
        fresh.emplace(item.id, new_id());
    }
    if (blocks.empty()) throw Refusal("the fragment holds no blocks");
    draw::Rect all;
    bool any = false;
    std::vector<bool> top(blocks.size());
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        top[i] = !fresh.contains(blocks[i].parent) || blocks[i].parent == blocks[i].id;
        if (!top[i]) continue;
        all = any ? all.joined(source.place_of(i)) : source.place_of(i);
        any = true;
    }
    const double dx = x - all.x, dy = y - all.y;
    std::vector<std::string> made;
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        std::string body = blocks[i].body;
        const std::size_t object = object_in(body);
        edit::set_member(body, object, "id", std::to_string(fresh.at(blocks[i].id)));
        const std::uint64_t parent = top[i] ? id : fresh.at(blocks[i].parent);
        if (parent != 0) edit::set_member(body, object, "parent", std::to_string(parent));
        else if (!value_of(body, object, "parent").empty()) edit::set_member(body, object, "parent", "0");
        if (top[i]) {
            edit::set_member(body, object, "name", quoted_text(unused_name(id, source.name_of(i))));
            const bool relay = is_relay(blocks[i].class_name);
            if (relay)
                edit::set_member(body, object, "portNumber", std::to_string(next_port(id, blocks[i].class_name)));
        }
        const std::size_t index = sheet_.append(list_t::blocks, std::move(body));
        if (!top[i]) continue;
        const draw::Rect place = source.place_of(i);
        put_geometry(list_t::blocks, index, {{"x", place.x + dx}, {"y", place.y + dy}});
        made.push_back(sheet_.block_handle(index));
        created_.push_back(made.back());
        count_ports(id, blocks[i].class_name, 1);
    }
    for (const item_t& link : source.sheet_.items(list_t::links)) {
        if (!fresh.contains(link.source) || !fresh.contains(link.target)) continue;
        std::string body = link.body;
        edit::set_member(body, 0, "srcId", std::to_string(fresh.at(link.source)));
        edit::set_member(body, 0, "dstId", std::to_string(fresh.at(link.target)));
        const std::size_t index = sheet_.append(list_t::links, std::move(body));
        const std::size_t from = source.sheet_.find_block(std::to_string(link.source));
        if (from != nowhere && top[from]) shift_bends(index, dx, dy);
    }
    return made;
}

}  // namespace zarn::edit
