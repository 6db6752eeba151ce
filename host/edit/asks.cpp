// What is asked of a text that is edited.

#include <algorithm>
#include <charconv>
#include <map>

#include "core/format.h"
#include "core/hash.h"
#include "core/str.h"
#include "framework/classes.h"
#include "host/draw/diagram.h"
#include "host/draw/symbols.h"
#include "host/edit/editor.h"
#include "host/edit/structure.h"

namespace zarn::edit {
namespace {

constexpr std::size_t most_levels = 1000;

const tessel::class_row_t* row_of(const std::string& class_name) {
    const auto* row = tessel::factory::find_class(tessel::class_hash_of(class_name));
    return row != nullptr && class_name == row->name ? row : nullptr;
}

bool is_reference(const item_t& item) { return item.class_name == reference_class; }

int number_in(const std::string& text, int otherwise) {
    const auto number = tessel::str::to_double(text);
    return number ? static_cast<int>(std::clamp(*number, -1e6, 1e6)) : otherwise;
}

}  // namespace

std::string Editor::resolved(const std::string& handle) const {
    if (!handle.starts_with('$')) return handle;
    std::size_t place = 0;
    const auto [end, error] = std::from_chars(handle.data() + 1, handle.data() + handle.size(), place);
    if (error != std::errc() || end != handle.data() + handle.size() || place >= created_.size())
        throw Refusal(tessel::format("{} names nothing that was made before", handle));
    return created_[place];
}

std::size_t Editor::block_at(const std::string& given) const {
    const std::string handle = resolved(given);
    if (handle.find('/') != std::string::npos)
        throw Refusal("the block is of another file, which is referred to", "open that file to change it");
    const std::size_t found = sheet_.find_block(handle);
    if (found == nowhere) throw Refusal(tessel::format("there is no block {}", handle));
    return found;
}

std::size_t Editor::wire_at(const std::string& handle) const {
    if (handle.find('/') != std::string::npos)
        throw Refusal("the wire is of another file, which is referred to", "open that file to change it");
    const std::size_t found = sheet_.find_link(handle);
    if (found == nowhere) throw Refusal(tessel::format("there is no wire {}", handle));
    return found;
}

std::size_t Editor::comment_at(const std::string& given) const {
    const std::string handle = resolved(given);
    const auto& comments = sheet_.items(list_t::comments);
    for (std::size_t i = 0; i < comments.size(); ++i)
        if ("c" + std::to_string(comments[i].id) == handle) return i;
    throw Refusal(tessel::format("there is no comment {}", handle));
}

std::uint64_t Editor::level_id(const std::string& level) const {
    if (level == "0") return 0;
    const item_t& item = sheet_.item(list_t::blocks, block_at(level));
    if (is_reference(item))
        throw Refusal("the level is the content of another file, which is referred to", "open that file to change it");
    if (!is_subsystem(item.class_name)) throw Refusal(tessel::format("block {} is no subsystem", level));
    return item.id;
}

std::string Editor::handle_of(std::uint64_t id) const { return std::to_string(id); }

std::vector<std::size_t> Editor::children_of(std::uint64_t level) const {
    std::vector<std::size_t> found;
    const auto& blocks = sheet_.items(list_t::blocks);
    for (std::size_t i = 0; i < blocks.size(); ++i)
        if (blocks[i].parent == level && !blocks[i].class_name.empty()) found.push_back(i);
    return found;
}

std::string Editor::member(std::size_t block, const std::string& key) const {
    const std::string& body = sheet_.item(list_t::blocks, block).body;
    return std::string(value_of(body, object_in(body), key));
}

std::string Editor::name_of(std::size_t block) const { return content_of(member(block, "name")); }

std::string Editor::shown(std::size_t block) const {
    const item_t& item = sheet_.item(list_t::blocks, block);
    std::string path = name_of(block);
    std::uint64_t parent = item.parent;
    for (std::size_t i = 0; parent != 0 && i < most_levels; ++i) {
        const std::size_t above = sheet_.find_block(handle_of(parent));
        if (above == nowhere) break;
        path = name_of(above) + "." + path;
        parent = sheet_.item(list_t::blocks, above).parent;
    }
    return tessel::format("mainsys.{} ({})", path, item.class_name);
}

/// The ports that the blocks inside a subsystem stand for, completed to the count that the text tells.
std::vector<int> Editor::inner_ports(std::size_t block, const char* class_name, const char* count_key) const {
    std::set<int> ports;
    for (const std::size_t inner : children_of(sheet_.item(list_t::blocks, block).id)) {
        if (sheet_.item(list_t::blocks, inner).class_name != class_name) continue;
        const int number = number_in(content_of(member(inner, "portNumber")), tessel::no_port_number);
        if (number != tessel::no_port_number) ports.insert(number);
    }
    const int count = number_in(member(block, count_key), 0);
    for (int i = 0; static_cast<int>(ports.size()) < std::min(count, 1000); ++i) ports.insert(i);
    return {ports.begin(), ports.end()};
}

namespace {

std::vector<int> first(int count) {
    std::vector<int> numbers;
    for (int i = 0; i < std::clamp(count, 0, 65536); ++i) numbers.push_back(i);
    return numbers;
}

}  // namespace

std::vector<int> Editor::inputs_of(std::size_t block) const {
    const item_t& item = sheet_.item(list_t::blocks, block);
    if (is_subsystem(item.class_name)) {
        auto ports = inner_ports(block, inport_class, "inportCount");
        if (has_enable(item.id)) ports.push_back(draw::enable_port);
        return ports;
    }
    const int written = number_in(member(block, "inportCount"), 0);
    const auto* row = row_of(item.class_name);
    if (row == nullptr || is_reference(item)) return first(written);
    const int forced = row->traits().input_count;
    return first(forced >= 0 ? forced : forced == tessel::at_least_3 ? std::max(written, 3) : written);
}

std::vector<int> Editor::outputs_of(std::size_t block) const {
    const item_t& item = sheet_.item(list_t::blocks, block);
    if (is_subsystem(item.class_name)) return inner_ports(block, outport_class, "outportCount");
    if (item.class_name == gate_class) return {};
    const int written = number_in(member(block, "outportCount"), 0);
    const auto* row = row_of(item.class_name);
    if (row == nullptr || is_reference(item)) return first(written);
    return first(row->traits().output_count >= 0 ? row->traits().output_count : written);
}

bool Editor::has_enable(std::uint64_t subsystem) const {
    return std::ranges::any_of(children_of(subsystem), [this](std::size_t inner) {
        return sheet_.item(list_t::blocks, inner).class_name == gate_class;
    });
}

draw::Rect Editor::place_of(std::size_t block) const {
    const std::string geometry = member(block, "geometry");
    const auto length = [&](const char* key) {
        return tessel::str::to_double(value_of(geometry, 0, key)).value_or(0.0);
    };
    draw::Rect place{length("x"), length("y"), length("width"), length("height")};
    if (place.x == 0 && place.y == 0 && place.w == 0 && place.h == 0 && shown_)
        if (const auto shown = shown_(sheet_.block_handle(block))) place = *shown;
    if (place.w > 0 && place.h > 0) return place;
    // its natural size, as it is drawn
    std::string text = "{\"blocks\":[" + sheet_.item(list_t::blocks, block).body;
    for (const std::size_t inner : children_of(sheet_.item(list_t::blocks, block).id))
        text += "," + sheet_.item(list_t::blocks, inner).body;
    Document document(text + "]}", "");
    const draw::Diagram diagram = draw::read_diagram(document);
    std::vector<std::size_t> inside;
    for (std::size_t i = 2; i < diagram.blocks.size(); ++i) inside.push_back(i);
    const draw::Symbol symbol = draw::symbol_of(diagram, 1, inside);
    if (place.w <= 0) place.w = symbol.width;
    if (place.h <= 0) place.h = symbol.height;
    return place;
}

}  // namespace zarn::edit
