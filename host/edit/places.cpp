// Edits of places: of blocks, bends and comments.

#include <algorithm>
#include <chrono>
#include <cmath>

#include "core/format.h"
#include "core/str.h"
#include "host/draw/scene.h"
#include "host/edit/editor.h"
#include "host/edit/written.h"

namespace zarn::edit {
namespace {

constexpr double largest = 1e6;  // lengths beyond it are not drawn

double length(double value) {
    if (!std::isfinite(value) || std::abs(value) > largest)
        throw Refusal(tessel::format("a place or a length lies between -{0:g} and {0:g}", largest));
    return value;
}

}  // namespace

void Editor::put_geometry(list_t list, std::size_t index, const std::vector<std::pair<std::string, double>>& members) {
    std::string body = sheet_.item(list, index).body;
    const std::size_t object = list == list_t::blocks ? object_in(body) : 0;
    std::string geometry(value_of(body, object, "geometry"));
    if (geometry.empty() || geometry.front() != '{') {
        json_t fresh = json_t::object();
        for (const auto& [key, value] : members) fresh[key] = number(length(value));
        geometry = written(fresh, list == list_t::blocks ? inner_style(sheet_.style(list)) : style_t{});
    } else {
        for (const auto& [key, value] : members) {
            const auto before = value_of(geometry, 0, key);
            if (tessel::str::to_double(before) == length(value)) continue;
            const json_t fresh = number(value);
            set_member(geometry, 0, key, before.empty() ? fresh.dump() : number_like(before, value));
        }
    }
    set_member(body, object, "geometry", geometry);
    sheet_.replace(list, index, std::move(body));
}

void Editor::set_geometry(const std::string& handle, const std::vector<std::pair<std::string, double>>& members) {
    for (const auto& [key, value] : members)
        if ((key == "width" || key == "height") && value <= 0)
            throw Refusal(tessel::format("\"{}\" must be above 0", key));
    const std::string own = resolved(handle);
    if (own.starts_with('c')) return put_geometry(list_t::comments, comment_at(own), members);
    const std::size_t block = block_at(own);
    auto all = members;
    if (member(block, "geometry").empty()) {  // one that the text gives no place gets all of it
        const draw::Rect place = place_of(block);
        const auto add = [&](const char* key, double value) {
            if (std::ranges::none_of(members, [&](const auto& given) { return given.first == key; }))
                all.emplace_back(key, value);
        };
        add("x", place.x);
        add("y", place.y);
        add("width", place.w);
        add("height", place.h);
    }
    put_geometry(list_t::blocks, block, all);
}

void Editor::shift_bends(std::size_t link, double dx, double dy) {
    auto bends = bends_of(link);
    if (bends.empty()) return;
    std::string body = sheet_.item(list_t::links, link).body;
    const auto list = value_of(body, 0, "breakpoints");
    // each bend in its own words
    std::string fresh(list);
    std::size_t at = fresh.find('{');
    for (const draw::Point bend : bends) {
        if (at == std::string::npos || !read_object(fresh, at)) return;
        set_member(fresh, at, "x", number_like(value_of(fresh, at, "x"), length(bend.x + dx)));
        set_member(fresh, at, "y", number_like(value_of(fresh, at, "y"), length(bend.y + dy)));
        at = fresh.find('{', read_object(fresh, at)->close);
    }
    edit::set_member(body, 0, "breakpoints", fresh);
    sheet_.replace(list_t::links, link, std::move(body));
}

void Editor::move(const std::vector<std::string>& blocks, double dx, double dy) {
    std::set<std::uint64_t> moved;
    for (const std::string& handle : blocks) {
        const std::string own = resolved(handle);
        if (own.starts_with('c')) {
            const std::string place(value_of(sheet_.item(list_t::comments, comment_at(own)).body, 0, "geometry"));
            const auto at = [&](const char* key) {
                return tessel::str::to_double(value_of(place, 0, key)).value_or(0.0);
            };
            set_geometry(own, {{"x", at("x") + dx}, {"y", at("y") + dy}});
            continue;
        }
        const std::size_t block = block_at(own);
        const draw::Rect place = place_of(block);
        set_geometry(own, {{"x", place.x + dx}, {"y", place.y + dy}});
        moved.insert(sheet_.item(list_t::blocks, block).id);
    }
    const auto& links = sheet_.items(list_t::links);
    for (std::size_t i = 0; i < links.size(); ++i)
        if (moved.contains(links[i].source) && moved.contains(links[i].target)) shift_bends(i, dx, dy);
}

void Editor::lay_out(const std::string& level, const std::vector<std::string>& only) {
    const std::uint64_t id = level_id(level);
    Document document(sheet_.text(), file_);
    draw::Diagram diagram = draw::read_diagram(document);
    std::set<std::uint64_t> wanted;
    for (const std::string& handle : only) wanted.insert(sheet_.item(list_t::blocks, block_at(handle)).id);
    draw::DrawOptions options;
    options.level = 0;
    for (std::size_t i = 1; id != 0 && i < diagram.blocks.size(); ++i)
        if (diagram.blocks[i].id == id) {
            options.level = i;
            break;
        }
    options.relayout = true;
    options.as_written = true;  // blocks keep their sizes
    options.layout_limit = std::chrono::seconds(5);
    std::string note;
    const auto scenes = draw::make_scenes(diagram, options, note);
    // what is laid out alone comes to where it was
    draw::Point shift;
    double count = 0;
    for (const draw::Node& node : scenes.front().nodes) {
        const draw::Block& block = diagram.blocks[node.block];
        const bool keeps = !wanted.empty() && !wanted.contains(block.id) && block.placed;
        if (!keeps) continue;
        shift = shift + (draw::Point{block.x, block.y} - draw::Point{node.box.x, node.box.y});
        ++count;
    }
    if (count > 0) shift = shift * (1 / count);
    std::set<std::uint64_t> moved;
    for (const draw::Node& node : scenes.front().nodes) {
        const draw::Block& block = diagram.blocks[node.block];
        if (!wanted.empty() && !wanted.contains(block.id)) continue;
        const std::size_t index = sheet_.find_block(std::to_string(block.id));
        if (index == nowhere) continue;
        put_geometry(list_t::blocks, index,
                     {{"x", std::round(node.box.x + shift.x)},
                      {"y", std::round(node.box.y + shift.y)},
                      {"width", node.box.w},
                      {"height", node.box.h}});
        moved.insert(block.id);
    }
    const auto& links = sheet_.items(list_t::links);
    for (std::size_t i = 0; i < links.size(); ++i)
        if (moved.contains(links[i].source) || moved.contains(links[i].target)) drop_link_member(i, "breakpoints");
}

std::string Editor::comment(const std::string& level, const std::string& text, const draw::Rect& place) {
    const std::uint64_t id = new_id();
    json_t comment{{"id", id}, {"text", text}};
    if (const std::uint64_t parent = level_id(level); parent != 0) comment["parent"] = parent;
    comment["geometry"] = {{"x", number(length(place.x))},
                           {"y", number(length(place.y))},
                           {"width", number(length(place.w))},
                           {"height", number(length(place.h))}};
    sheet_.append(list_t::comments, written(comment, sheet_.style(list_t::comments)));
    created_.push_back("c" + std::to_string(id));
    return created_.back();
}

void Editor::set_comment(const std::string& comment, const std::string& text) {
    const std::size_t index = comment_at(comment);
    std::string body = sheet_.item(list_t::comments, index).body;
    edit::set_member(body, 0, "text", quoted_text(text));
    sheet_.replace(list_t::comments, index, std::move(body));
}

}  // namespace zarn::edit
