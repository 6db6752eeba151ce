#include "host/draw/diagram.h"

#include <cmath>
#include <fstream>
#include <iterator>
#include <limits>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <unordered_map>

#include "core/format.h"
#include "core/hash.h"
#include "framework/classes.h"
#include "host/draw/text.h"

namespace zarn::draw {
namespace {

using nlohmann::json;

constexpr int most_ports = 64;  // more than that is a mistake in the file, and nothing to draw

// ---- values of the file, whatever their type

const json* member(const json& object, const char* key) {
    if (!object.is_object()) return nullptr;
    const auto found = object.find(key);
    return found != object.end() ? &*found : nullptr;
}

double number(const json& object, const char* key, double otherwise = 0) {
    const json* value = member(object, key);
    return value != nullptr && value->is_number() ? value->get<double>() : otherwise;
}

std::uint64_t id_of(const json& object, const char* key) {
    const json* value = member(object, key);
    return value != nullptr && value->is_number_integer() ? value->get<std::uint64_t>() : 0;
}

int integer(const json& object, const char* key) {
    const double value = number(object, key);
    return static_cast<int>(std::clamp(value, -1e9, 1e9));
}

/// A port's index as a link holds it: 16 bits, so that 65535 is -1.
int port_of(const json& object, const char* key) { return static_cast<std::int16_t>(integer(object, key)); }

std::string text(const json& value) {
    if (value.is_string()) return value.get<std::string>();
    if (value.is_number_float()) return tessel::format("{}", value.get<double>());
    return value.dump(-1, ' ', false, json::error_handler_t::replace);
}

std::string text(const json& object, const char* key) {
    const json* value = member(object, key);
    return value != nullptr ? text(*value) : std::string();
}

/// A length or a position: huge values would leave nothing to see of the rest.
double coordinate(const json& object, const char* key) { return std::clamp(number(object, key), -1e6, 1e6); }

// ---- one file

json parse_file(const std::filesystem::path& path) {
    std::ifstream stream(path, std::ios::binary);
    if (!stream) throw std::runtime_error(tessel::format("cannot open {}", path.string()));
    const std::string bytes{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    json parsed = json::parse(bytes, nullptr, false);
    // bytes that are no UTF-8 may be all that is wrong
    if (parsed.is_discarded()) parsed = json::parse(clean_utf8(bytes));
    return parsed;
}

void read_geometry(Block& block, const json& data) {
    if (const json* geometry = member(data, "geometry")) {
        block.x = coordinate(*geometry, "x");
        block.y = coordinate(*geometry, "y");
        block.width = std::max(0.0, coordinate(*geometry, "width"));
        block.height = std::max(0.0, coordinate(*geometry, "height"));
        block.rotation = std::remainder(coordinate(*geometry, "rotation"), 360.0);
        block.placed = block.x != 0 || block.y != 0 || block.width != 0 || block.height != 0;
    }
    const json* color = member(data, "bg");
    if (color == nullptr) color = member(data, "backgroundColor");
    if (color == nullptr) return;
    std::size_t next = 0;
    for (const char* key : {"red", "green", "blue", "alpha"})
        block.color[next++] = std::clamp(number(*color, key), 0.0, 1.0);
}

void read_ports(Block& block, const json& data, const tessel::class_row_t* row) {
    block.inputs = std::clamp(integer(data, "inportCount"), 0, most_ports);
    block.outputs = std::clamp(integer(data, "outportCount"), 0, most_ports);
    if (row == nullptr) return;
    if (row->traits().input_count >= 0) block.inputs = row->traits().input_count;
    if (row->traits().input_count == tessel::at_least_3) block.inputs = std::max(block.inputs, 3);
    if (row->traits().output_count >= 0) block.outputs = row->traits().output_count;
    if (block.is("enable")) block.outputs = 0;
}

void read_parameters(Block& block, const json& data) {
    const auto* defaults = tessel::factory::defaults_of(block.class_name);
    if (defaults == nullptr) return;
    for (const auto& [key, parameter] : *defaults) {
        const json* value = member(data, key.c_str());
        std::string& shown = block.parameters[key];
        if (value != nullptr) shown = text(*value);
        else shown = parameter.value.is_text() ? parameter.value.text() : parameter.value.to_string();
    }
    if (const auto found = block.parameters.find("portNumber"); found != block.parameters.end()) {
        const json* value = member(data, "portNumber");
        block.port_number =
            value != nullptr && value->is_number() ? port_of(data, "portNumber") : std::atoi(found->second.c_str());
    }
}

Block read_block(const std::string& class_name, const json& data) {
    Block block;
    block.class_name = class_name == "subsystem" ? "subsys" : class_name;
    block.name = clean_utf8(text(data, "name"));
    block.id = id_of(data, "id");
    const auto* row = tessel::factory::find_class(tessel::class_hash_of(class_name.c_str()));
    block.known = row != nullptr && class_name == row->name;
    read_geometry(block, data);
    read_ports(block, data, block.known ? row : nullptr);
    read_parameters(block, data);
    return block;
}

Link read_link(const json& data) {
    Link link;
    link.source_id = id_of(data, "srcId");
    link.target_id = id_of(data, "dstId");
    link.source_port = port_of(data, "srcPort");
    link.target_port = port_of(data, "dstPort");
    link.label = clean_utf8(text(data, "label"));
    if (const json* bends = member(data, "breakpoints"); bends != nullptr && bends->is_array())
        for (const json& bend : *bends) link.bends.push_back({coordinate(bend, "x"), coordinate(bend, "y")});
    return link;
}

/// Appends what one file holds to the diagram, hanging from block `owner`.
void read_file(Diagram& diagram, const json& file, std::size_t owner) {
    std::unordered_map<std::uint64_t, std::size_t> by_id{{0, owner}};
    std::vector<std::pair<std::size_t, std::uint64_t>> parents;
    if (const json* blocks = member(file, "blocks")) {
        for (const json& element : *blocks) {
            if (!element.is_object() || element.empty()) {
                diagram.notes.push_back("an element of \"blocks\" is no block");
                continue;
            }
            const std::size_t index = diagram.blocks.size();
            diagram.blocks.push_back(read_block(element.begin().key(), element.begin().value()));
            parents.emplace_back(index, id_of(element.begin().value(), "parent"));
            by_id.emplace(diagram.blocks.back().id, index);
        }
    }
    const auto find = [&by_id](std::uint64_t id) {
        const auto found = by_id.find(id);
        return found != by_id.end() ? found->second : none;
    };
    for (const auto& [index, parent] : parents) {
        const std::size_t found = find(parent);
        diagram.blocks[index].parent = found != none && found != index ? found : owner;
    }
    const json* links = member(file, "links");
    if (links == nullptr || !links->is_array()) return;
    for (const json& element : *links) {
        Link link = read_link(element);
        link.source = find(link.source_id);
        link.target = find(link.target_id);
        if (link.source == owner) link.source = none;  // the frame around the diagram has no ports of its own
        if (link.target == owner) link.target = none;
        diagram.links.push_back(std::move(link));
    }
}

void read_reference(Diagram& diagram, std::size_t index, const std::filesystem::path& folder) {
    const std::size_t first = diagram.blocks.size();
    try {
        read_file(diagram, parse_file(folder / diagram.blocks[index].parameter("path")), index);
    } catch (const std::exception& error) {
        diagram.blocks[index].unread = true;
        diagram.notes.push_back(tessel::format("{} (refsys): {}", diagram.path(index), error.what()));
    }
    for (std::size_t i = first; i < diagram.blocks.size(); ++i) diagram.load_order.push_back(i);
}

/// Fills the references of the main file: one level deep, as they are loaded.
void read_references(Diagram& diagram, const std::filesystem::path& folder) {
    const std::size_t count = diagram.blocks.size();
    diagram.load_order.push_back(0);
    for (std::size_t i = 1; i < count; ++i) {
        if (diagram.blocks[i].is("refsys")) read_reference(diagram, i, folder);
        diagram.load_order.push_back(i);
    }
}

/// The blocks from the root down to a block, the root left out.
std::vector<std::size_t> way_to(const Diagram& diagram, std::size_t block) {
    std::vector<std::size_t> way;
    for (std::size_t i = block; i != 0 && way.size() < diagram.blocks.size(); i = diagram.blocks[i].parent)
        way.push_back(i);
    std::ranges::reverse(way);
    return way;
}

}  // namespace

std::string Block::parameter(std::string_view key) const {
    const auto found = parameters.find(key);
    return found != parameters.end() ? clean_utf8(found->second) : std::string();
}

std::string Diagram::path(std::size_t block) const {
    std::string text = blocks[0].name;
    for (const std::size_t i : way_to(*this, block)) text += "." + blocks[i].name;
    return text;
}

std::string Diagram::short_path(std::size_t block) const {
    constexpr std::size_t head = 3, tail = 7;
    const auto way = way_to(*this, block);
    std::string text = blocks[0].name;
    for (std::size_t i = 0; i < way.size(); ++i) {
        if (i >= head && i + tail < way.size()) {
            text += ".\xE2\x80\xA6";
            i = way.size() - tail;
        }
        text += "." + fit(blocks[way[i]].name, 1, 40);
    }
    return text;
}

std::vector<std::vector<std::size_t>> Diagram::children() const {
    std::vector<std::vector<std::size_t>> lists(blocks.size());
    for (std::size_t i = 1; i < blocks.size(); ++i) lists[blocks[i].parent].push_back(i);
    return lists;
}

Diagram read_diagram(const std::filesystem::path& file) {
    const json parsed = parse_file(file);
    Diagram diagram;
    diagram.title = clean_utf8(file.filename().string());
    diagram.blocks.emplace_back();
    diagram.blocks[0].class_name = "subsys";
    diagram.blocks[0].name = "mainsys";
    read_file(diagram, parsed, 0);
    read_references(diagram, file.parent_path());
    if (const json* model = member(parsed, "model")) {
        diagram.start = number(*model, "ti", 0.0);
        diagram.end = number(*model, "tf", 10.0);
        diagram.step = number(*model, "ts", 1.0);
    }
    return diagram;
}

}  // namespace zarn::draw
