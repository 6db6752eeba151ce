#include "host/draw/diagram.h"

#include <cmath>
#include <deque>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <unordered_map>

#include "core/format.h"
#include "core/hash.h"
#include "core/str.h"
#include "framework/classes.h"
#include "host/draw/members.h"
#include "host/draw/text.h"

namespace zarn::draw {
namespace {

using nlohmann::json;

constexpr int most_ports = 64;  // more than that is a mistake in the file, and nothing to draw

int integer(const Value& value) { return static_cast<int>(std::clamp(value.number(), -1e9, 1e9)); }

/// A port's index as a link holds it: 16 bits, so that 65535 is -1.
int port_of(const Value& value) { return static_cast<std::int16_t>(integer(value)); }

/// A length or a position: huge values would leave nothing to see of the rest.
double coordinate(const Value& value) { return std::clamp(value.number(), -1e6, 1e6); }

// ---- one block or link

void read_geometry(Block& block, const Members& data) {
    if (const Value value = data["geometry"]; !value.is_absent()) {
        const Members geometry(value.written());
        block.x = coordinate(geometry["x"]);
        block.y = coordinate(geometry["y"]);
        block.width = std::max(0.0, coordinate(geometry["width"]));
        block.height = std::max(0.0, coordinate(geometry["height"]));
        block.rotation = std::remainder(coordinate(geometry["rotation"]), 360.0);
        block.placed = block.x != 0 || block.y != 0 || block.width != 0 || block.height != 0;
    }
    Value value = data["bg"];
    if (value.is_absent()) value = data["backgroundColor"];
    if (value.is_absent()) return;
    const Members color(value.written());
    std::size_t next = 0;
    for (const char* key : {"red", "green", "blue", "alpha"})
        block.color[next++] = std::clamp(color[key].number(), 0.0, 1.0);
}

void read_ports(Block& block, const Members& data) {
    block.inputs = std::clamp(integer(data["inportCount"]), 0, most_ports);
    block.outputs = std::clamp(integer(data["outportCount"]), 0, most_ports);
    if (!block.known) return;
    const int inputs = block.traits->input_count, outputs = block.traits->output_count;
    if (inputs >= 0) block.inputs = inputs;
    if (inputs == tessel::at_least_3) block.inputs = std::max(block.inputs, 3);
    if (outputs >= 0) block.outputs = outputs;
    if (block.is("enable")) block.outputs = 0;
}

void read_parameters(Block& block, const Members& data) {
    const auto* defaults = tessel::factory::defaults_of(block.class_name);
    if (defaults == nullptr) return;
    for (const auto& [key, parameter] : *defaults) {
        const Value value = data[key];
        std::string& shown = block.parameters[key];
        if (!value.is_absent()) shown = value.text();
        else shown = parameter.value.is_text() ? parameter.value.text() : parameter.value.to_string();
    }
    if (const auto found = block.parameters.find("portNumber"); found != block.parameters.end()) {
        const Value value = data["portNumber"];
        block.port_number = value.is_number() ? port_of(value) : std::atoi(found->second.c_str());
    }
}

Block read_block(const std::string& class_name, const Members& data) {
    Block block;
    block.class_name = class_name == "subsystem" ? "subsys" : class_name;
    block.name = clean_utf8(data["name"].text());
    block.id = data["id"].id();
    const auto* row = tessel::factory::find_class(tessel::class_hash_of(class_name.c_str()));
    block.known = row != nullptr && class_name == row->name;
    if (block.known) block.traits = &row->traits();
    read_geometry(block, data);
    read_ports(block, data);
    read_parameters(block, data);
    return block;
}

Link read_link(const Members& data) {
    Link link;
    link.source_id = data["srcId"].id();
    link.target_id = data["dstId"].id();
    link.source_port = port_of(data["srcPort"]);
    link.target_port = port_of(data["dstPort"]);
    link.label = clean_utf8(data["label"].text());
    if (const Value bends = data["breakpoints"]; !bends.is_absent())
        for (const std::string& element : elements_of(bends.written())) {
            const Members bend(element);
            link.bends.push_back({coordinate(bend["x"]), coordinate(bend["y"])});
        }
    return link;
}

// ---- one file

/// The elements of the two lists of a file, as they are written.
struct Elements {
    std::vector<std::string_view> blocks, links;
    std::deque<std::string> kept;  // of a file that is laid out in another way
};

/// Raises `std::runtime_error` for what is no JSON.
Elements elements_of_file(const ModelFile& file) {
    if (!file.problem().empty())
        throw std::runtime_error(tessel::format("cannot open {}: {}", file.shown(), file.problem()));
    if (const auto* cut = file.sections()) return {cut->blocks, cut->links, {}};
    if (is_deep(file.text()))
        throw std::runtime_error(tessel::format("{}: lists stand too deep inside each other", file.shown()));
    json whole = json::parse(file.text(), nullptr, false);
    // bytes that are no UTF-8 may be all that is wrong
    if (whole.is_discarded()) whole = json::parse(clean_utf8(file.text()));
    Elements elements;
    const auto take = [&](const char* key, bool of_object, std::vector<std::string_view>& list) {
        const auto found = whole.is_object() ? whole.find(key) : whole.end();
        if (found == whole.end() || (found->is_object() && !of_object)) return;
        for (const json& element : *found)
            list.push_back(elements.kept.emplace_back(element.dump(-1, ' ', false, json::error_handler_t::replace)));
    };
    take("blocks", true, elements.blocks);
    take("links", false, elements.links);
    return elements;
}

void read_part(Diagram& diagram, Part& part, const ModelFile& file) {
    const Elements elements = elements_of_file(file);
    std::unordered_map<std::uint64_t, std::size_t> by_id{{0, part.owner}};
    std::vector<std::uint64_t> parents;
    for (const std::string_view text : elements.blocks) {
        const Members element(text);
        part.blocks.push_back(element.empty() ? none : diagram.blocks.size());
        if (element.empty()) continue;
        const auto [class_name, object] = element.first();
        const Members data(object.written());
        parents.push_back(data["parent"].id());
        diagram.blocks.push_back(read_block(std::string(class_name), data));
        by_id.emplace(diagram.blocks.back().id, part.blocks.back());
    }
    const auto find = [&by_id](std::uint64_t id) {
        const auto found = by_id.find(id);
        return found != by_id.end() ? found->second : none;
    };
    auto parent = parents.begin();
    for (const std::size_t index : part.blocks) {
        if (index == none) continue;
        const std::size_t found = find(*parent++);
        diagram.blocks[index].parent = found != none && found != index ? found : part.owner;
    }
    for (const std::string_view text : elements.links) {
        Link link = read_link(Members(text));
        link.source = find(link.source_id);
        link.target = find(link.target_id);
        if (link.source == part.owner) link.source = none;  // the frame around the diagram has no ports of its own
        if (link.target == part.owner) link.target = none;
        part.links.push_back(diagram.links.size());
        diagram.links.push_back(std::move(link));
    }
}

/// Repeats a part that has been read under another owner.
void repeat(Diagram& diagram, Part& part, const Part& first) {
    const std::size_t shift =
        diagram.blocks.size() - (first.blocks.empty() ? 0 : *std::ranges::min_element(first.blocks));
    const auto moved = [&](std::size_t block) {
        return block == none ? none : block == first.owner ? part.owner : block + shift;
    };
    for (const std::size_t index : first.blocks) {
        part.blocks.push_back(moved(index));
        if (index == none) continue;
        Block block = diagram.blocks[index];
        block.parent = moved(block.parent);
        diagram.blocks.push_back(std::move(block));
    }
    for (const std::size_t index : first.links) {
        Link link = diagram.links[index];
        link.source = moved(link.source);
        link.target = moved(link.target);
        part.links.push_back(diagram.links.size());
        diagram.links.push_back(std::move(link));
    }
}

/// Fills the references of the main file: one level deep, as they are loaded.
void read_references(Diagram& diagram, Document& document) {
    std::unordered_map<const ModelFile*, std::size_t> parts;  // the first of each file
    const std::size_t count = diagram.blocks.size();
    for (std::size_t i = 1; i < count; ++i) {
        if (!diagram.blocks[i].is("refsys")) continue;
        const ModelFile& file = document.reference(diagram.blocks[i].parameter("path"));
        const auto [first, fresh] = parts.emplace(&file, diagram.parts.size());
        Part part{i, first->second, {}, {}};
        try {
            if (fresh) read_part(diagram, part, file);
            else repeat(diagram, part, diagram.parts[first->second]);
        } catch (const std::exception& error) {
            diagram.blocks[i].unread = true;
            diagram.notes.push_back(tessel::format("{} (refsys): {}", diagram.short_path(i), error.what()));
            parts.erase(first);
        }
        diagram.parts.push_back(std::move(part));
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

std::size_t Diagram::find_subsystem(std::string_view path) const {
    const std::string& root = blocks[0].name;
    if (path == root) return 0;
    if (path.starts_with(root + ".")) path.remove_prefix(root.size() + 1);
    for (std::size_t i = 1; i < blocks.size(); ++i) {
        if (!blocks[i].is_subsystem()) continue;
        std::string written, sanitized;
        for (const std::size_t part : way_to(*this, i)) {
            written += (written.empty() ? "" : ".") + blocks[part].name;
            sanitized += (sanitized.empty() ? "" : ".") + tessel::str::sanitize_identifier(blocks[part].name);
        }
        if (path == written || path == sanitized) return i;
    }
    return none;
}

std::vector<std::vector<std::size_t>> Diagram::children() const {
    std::vector<std::vector<std::size_t>> lists(blocks.size());
    for (std::size_t i = 1; i < blocks.size(); ++i) lists[blocks[i].parent].push_back(i);
    return lists;
}

Diagram read_diagram(Document& document) {
    Diagram diagram;
    diagram.title = clean_utf8(document.main().path().filename().string());
    diagram.blocks.emplace_back();
    diagram.blocks[0].class_name = "subsys";
    diagram.blocks[0].traits = &tessel::factory::find_class(tessel::class_hash_of("subsys"))->traits();
    diagram.blocks[0].name = "mainsys";
    Part own;
    read_part(diagram, own, document.main());
    diagram.parts.push_back(std::move(own));
    read_references(diagram, document);
    return diagram;
}

}  // namespace zarn::draw
