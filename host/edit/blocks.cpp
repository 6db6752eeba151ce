// Edits of blocks: made, named, filled in, coloured.

#include <algorithm>

#include "core/format.h"
#include "core/hash.h"
#include "core/num.h"
#include "core/str.h"
#include "framework/classes.h"
#include "host/edit/editor.h"
#include "host/edit/structure.h"
#include "host/edit/written.h"
#include "host/reference/reference.h"

namespace zarn::edit {
namespace {

constexpr int most_ports = 64;

const class_row_t& class_of(const std::string& name) {
    const auto* row = tessel::factory::find_class(tessel::class_hash_of(name));
    if (row == nullptr || name != row->name)
        throw Refusal(tessel::format("there is no block class '{}'", name), "'classes' lists them");
    return *row;
}

int checked_count(int count) {
    if (count < 0 || count > most_ports) throw Refusal(tessel::format("a block has 0 to {} ports", most_ports));
    return count;
}

/// A text, a whole number, or null: what a parameter can be in a file.
void require_parameter(const json_t& value, const std::string& key) {
    if (!value.is_null() && !value.is_string() && !value.is_number_integer())
        throw Refusal(tessel::format("\"{}\" must be a text or a whole number", key),
                      "write a fraction as a text, such as \"0.5\"");
}

}  // namespace

std::uint64_t Editor::new_id() const {
    const auto is_taken = [this](std::uint64_t id) {
        const auto has_it = [id](const item_t& item) {
            return item.id == id || item.source == id || item.target == id;
        };
        return std::ranges::any_of(sheet_.items(list_t::blocks), has_it) ||
               std::ranges::any_of(sheet_.items(list_t::links), has_it) ||
               std::ranges::any_of(sheet_.items(list_t::comments), has_it);
    };
    std::uint64_t id = tessel::num::create_id();
    while (is_taken(id)) id = tessel::num::create_id();
    return id;
}

std::string Editor::unused_name(std::uint64_t level, const std::string& base) const {
    std::set<std::string> taken;
    for (const std::size_t block : children_of(level)) taken.insert(name_of(block));
    if (!taken.contains(base)) return base;
    for (int number = 2;; ++number)
        if (const std::string name = base + std::to_string(number); !taken.contains(name)) return name;
}

int Editor::next_port(std::uint64_t level, const std::string& class_name) const {
    std::set<int> taken;
    for (const std::size_t block : children_of(level)) {
        if (sheet_.item(list_t::blocks, block).class_name != class_name) continue;
        taken.insert(static_cast<int>(tessel::str::to_double(content_of(member(block, "portNumber"))).value_or(-1)));
    }
    int number = 0;
    while (taken.contains(number)) ++number;
    return number;
}

/// Keeps the count of a subsystem's ports at that of the blocks which stand for them, after one came or went.
void Editor::count_ports(std::uint64_t subsystem, const std::string& class_name, int by) {
    const bool input = class_name == inport_class;
    if (subsystem == 0 || !is_relay(class_name)) return;
    const std::size_t around = sheet_.find_block(handle_of(subsystem));
    if (around == nowhere) return;
    const char* key = input ? "inportCount" : "outportCount";
    const auto written = tessel::str::to_double(member(around, key));
    if (!written && by < 0) return;
    int inner = 0;
    for (const std::size_t block : children_of(subsystem))
        inner += sheet_.item(list_t::blocks, block).class_name == class_name ? 1 : 0;
    const int before = static_cast<int>(written.value_or(0));
    const int now = by > 0 ? std::max(before, inner) : std::max(0, before + by);
    if (now != before) put_member(around, key, std::to_string(now));
}

json_t Editor::number(double value) const {
    // with a point where the file writes its places so
    const auto& blocks = sheet_.items(list_t::blocks);
    for (auto block = blocks.rbegin(); block != blocks.rend(); ++block) {
        const auto at = block->body.find("\"geometry\"");
        if (at == std::string::npos) continue;
        const auto x = value_of(std::string_view(block->body).substr(at + 10), 1, "x");
        if (x.empty()) {
            const auto open = block->body.find('{', at);
            if (open == std::string::npos) continue;
            const auto written = value_of(block->body, open, "x");
            if (written.find_first_of(".eE") != std::string_view::npos) return value;
        } else if (x.find_first_of(".eE") != std::string_view::npos) {
            return value;
        }
        break;
    }
    if (value == static_cast<double>(static_cast<std::int64_t>(value))) return static_cast<std::int64_t>(value);
    return value;
}

void Editor::put_member(std::size_t block, const std::string& key, const std::string& value) {
    std::string body = sheet_.item(list_t::blocks, block).body;
    edit::set_member(body, object_in(body), key, value);
    sheet_.replace(list_t::blocks, block, std::move(body));
}

void Editor::drop_member(std::size_t block, const std::string& key) {
    std::string body = sheet_.item(list_t::blocks, block).body;
    remove_member(body, object_in(body), key);
    sheet_.replace(list_t::blocks, block, std::move(body));
}

std::string Editor::append_block(const std::string& class_name, json_t object) {
    const json_t element{{class_name, std::move(object)}};
    const std::size_t index = sheet_.append(list_t::blocks, written(element, sheet_.style(list_t::blocks)));
    created_.push_back(sheet_.block_handle(index));
    return created_.back();
}

std::string Editor::add_block(const new_block_t& block) {
    const class_row_t& row = class_of(block.class_name);
    const std::uint64_t level = level_id(block.level);
    json_t object{{"name", block.name.empty() ? unused_name(level, block.class_name) : block.name}, {"id", new_id()}};
    if (level != 0) object["parent"] = level;
    const bool subsystem = is_subsystem(row.name) || row.name == std::string_view(reference_class);
    const int inputs = checked_count(block.inputs.value_or(fewest_inputs(row)));
    const int outputs = checked_count(block.outputs.value_or(usual_outputs(row)));
    if (row.traits().input_count < 0 || subsystem) object["inportCount"] = inputs;
    if (row.traits().output_count < 0 || subsystem) object["outportCount"] = outputs;
    json_t geometry{{"x", number(block.x)}, {"y", number(block.y)}};
    if (block.width) geometry["width"] = number(*block.width);
    if (block.height) geometry["height"] = number(*block.height);
    if (block.rotation) geometry["rotation"] = number(*block.rotation);
    object["geometry"] = std::move(geometry);
    const bool relay = is_relay(block.class_name);
    if (relay && !block.parameters.contains("portNumber")) object["portNumber"] = next_port(level, block.class_name);
    for (const auto& [key, value] : block.parameters.items()) {
        require_parameter(value, key);
        if (object.contains(key) && key != "portNumber") throw Refusal(tessel::format("\"{}\" is no parameter", key));
        if (!value.is_null()) object[key] = value;
    }
    const std::string handle = append_block(row.name, std::move(object));
    const std::size_t index = block_at(handle);
    if (!block.width || !block.height) {  // its size stays, however the drawing of its class may change
        const draw::Rect place = place_of(index);
        std::vector<std::pair<std::string, double>> size;
        if (!block.width) size.emplace_back("width", place.w);
        if (!block.height) size.emplace_back("height", place.h);
        put_geometry(list_t::blocks, index, size);
    }
    count_ports(level, block.class_name, 1);
    return handle;
}

void Editor::rename(const std::string& block, const std::string& name) {
    put_member(block_at(block), "name", quoted_text(name));
}

void Editor::set_parameter(const std::string& handle, const std::string& key, const json_t& value) {
    const std::size_t block = block_at(handle);
    for (const char* own : {"id", "name", "parent", "geometry", "inportCount", "outportCount", "bg"})
        if (key == own) throw Refusal(tessel::format("\"{}\" is no parameter", key));
    require_parameter(value, key);
    if (value.is_null()) drop_member(block, key);
    else put_member(block, key, value.is_string() ? quoted_text(value.get<std::string>()) : value.dump());
}

void Editor::set_ports(const std::string& handle, std::optional<int> inputs, std::optional<int> outputs) {
    const std::size_t block = block_at(handle);
    const class_row_t& row = class_of(sheet_.item(list_t::blocks, block).class_name);
    if (inputs && row.traits().input_count >= 0)
        throw Refusal(tessel::format("{} has {} inputs, whatever is written", row.name, row.traits().input_count));
    if (outputs && row.traits().output_count >= 0)
        throw Refusal(tessel::format("{} has {} outputs, whatever is written", row.name, row.traits().output_count));
    if (inputs) put_member(block, "inportCount", std::to_string(checked_count(*inputs)));
    if (outputs) put_member(block, "outportCount", std::to_string(checked_count(*outputs)));
}

void Editor::set_color(const std::string& handle, const json_t& color) {
    const std::size_t block = block_at(handle);
    drop_member(block, "backgroundColor");
    if (color.is_null()) return drop_member(block, "bg");
    json_t shares = json_t::object();
    for (const char* key : {"red", "green", "blue", "alpha"}) {
        const json_t share = color.is_object() && color.contains(key) ? color[key] : json_t();
        if (!share.is_number() || share.get<double>() < 0 || share.get<double>() > 1)
            throw Refusal(tessel::format("\"{}\" of a color is a number from 0 to 1", key));
        shares[key] = share.get<double>();
    }
    put_member(block, "bg", written(shares, inner_style(sheet_.style(list_t::blocks))));
}

void Editor::set_setting(const std::string& key, double value) {
    if (key != "ti" && key != "tf" && key != "ts")
        throw Refusal(tessel::format("there is no setting \"{}\"", key), "ti, tf and ts are those that there are");
    if (key == "ts" && value <= 0) throw Refusal("a step must be longer than nothing");
    sheet_.set_setting(key, value);
}

}  // namespace zarn::edit
