#include "host/serve/view.h"

#include <algorithm>
#include <chrono>
#include <cmath>

#include "core/format.h"
#include "host/draw/figures.h"
#include "host/draw/place.h"
#include "host/edit/structure.h"
#include "host/serve/figures.h"
#include "host/serve/rpc.h"

namespace zarn::serve {
namespace {

const char* side_of(draw::Point out) {
    if (out.x != 0) return out.x < 0 ? "left" : "right";
    return out.y < 0 ? "top" : "bottom";
}

json_t ports_json(const std::vector<draw::Port>& ports, const auto& name_of) {
    json_t list = json_t::array();
    for (const draw::Port& port : ports) {
        json_t one{{"index", port.number},    {"name", name_of(port)},     {"x", rounded(port.at.x)},
                   {"y", rounded(port.at.y)}, {"side", side_of(port.out)}, {"linked", port.linked}};
        if (port.broken) one["broken"] = true;
        list.push_back(std::move(one));
    }
    return list;
}

json_t points_json(const draw::Polyline& line) {
    json_t list = json_t::array();
    for (const draw::Point p : line) list.push_back({rounded(p.x), rounded(p.y)});
    return list;
}

std::string own_word(const char* word, const char* more) { return std::string(word) + more; }

}  // namespace

/// One answer in the making.
class Views::Writer {
public:
    Writer(Views& views, const draw::Scene& scene, bool partial, told_t& told)
        : views_(views),
          diagram_(views.diagram_),
          handles_(*views.handles_),
          scene_(scene),
          partial_(partial),
          before_(std::move(told)) {
        now_.pictures = std::move(before_.pictures);
    }

    json_t write(std::size_t level) {
        json_t answer{{"revision", views_.revision_},
                      {"checked", views_.checked_ ? json_t(*views_.checked_) : json_t()},
                      {"level", handles_.of_block(level)}};
        answer["path"] = handles_.path_of(level);
        answer["title"] = diagram_.title;
        const bool own_file = handles_.part_of(level) == 0 && !diagram_.blocks[level].is(edit::reference_class);
        answer["file"] = own_file ? json_t(views_.file_) : json_t(reference_around(level));
        answer["editable"] = own_file;
        answer["breadcrumb"] = json_t::array();
        for (const std::size_t i : handles_.way_to(level))
            answer["breadcrumb"].push_back({{"level", handles_.of_block(i)}, {"name", diagram_.blocks[i].name}});
        answer["bounds"] = json_t::object();
        put_box(answer["bounds"], scene_.bounds);
        answer["settings"] = {{"ti", diagram_.start}, {"tf", diagram_.end}, {"ts", diagram_.step}};
        answer["partial"] = partial_;
        json_t blocks = json_t::array(), wires = json_t::array();
        for (const draw::Node& node : scene_.nodes)
            put(blocks, before_.blocks, now_.blocks, handles_.of_block(node.block), block_json(node));
        for (const draw::Wire& wire : scene_.wires)
            if (wire.link != draw::none)
                put(wires, before_.wires, now_.wires, handles_.of_link(wire.link), wire_json(wire));
        answer["pictures"] = std::move(pictures_);
        answer["blocks"] = std::move(blocks);
        answer["wires"] = std::move(wires);
        if (partial_) answer["removed"] = {{"blocks", gone(before_.blocks)}, {"wires", gone(before_.wires)}};
        answer["joints"] = joints_json();
        answer["labels"] = labels_json();
        answer["comments"] = json_t::array();
        answer["notes"] = scene_.notes;
        answer["remarks"] = scene_.remarks;
        return answer;
    }

    told_t told() {
        now_.revision = views_.revision_;
        return std::move(now_);
    }

private:
    using texts_t = std::unordered_map<std::string, std::string>;

    /// Adds what the reader does not have, and notes that it has it.
    void put(json_t& list, texts_t& before, texts_t& now, const std::string& handle, json_t value) {
        std::string text = dumped(value);
        const auto known = before.find(handle);
        const bool same = partial_ && known != before.end() && known->second == text;
        if (known != before.end()) before.erase(known);
        now.insert_or_assign(handle, std::move(text));
        if (!same) list.push_back(std::move(value));
    }

    static json_t gone(const texts_t& rest) {
        json_t list = json_t::array();
        for (const auto& [handle, ignored] : rest) list.push_back(handle);
        return list;
    }

    std::string reference_around(std::size_t level) const {
        for (std::size_t i = level; i != 0; i = diagram_.blocks[i].parent)
            if (diagram_.blocks[i].is(edit::reference_class)) return diagram_.blocks[i].parameter("path");
        return views_.file_;
    }

    /// Pictures are many times the same: each has a name.
    std::string picture_of(const draw::Block& block, const draw::Node& node) {
        json_t figures = figures_json(block, node);
        const auto [entry, added] = now_.pictures.try_emplace(dumped(figures), std::to_string(views_.pictures_ + 1));
        if (added) ++views_.pictures_;
        if (added || (!partial_ && !pictures_.contains(entry->second))) pictures_[entry->second] = std::move(figures);
        return entry->second;
    }

    json_t block_json(const draw::Node& node) {
        const draw::Block& block = diagram_.blocks[node.block];
        const std::string& handle = handles_.of_block(node.block);
        json_t one{{"id", handle}, {"class", block.class_name}, {"name", block.name}};
        one["path"] = handles_.path_of(node.block);
        put_box(one, node.box);
        one["rotation"] = rounded(node.rotation);
        one["placed"] = block.placed;
        one["picture"] = picture_of(block, node);
        const draw::Node own = at_origin(node);
        const auto& names = *block.traits;
        one["inputs"] = ports_json(own.inputs, [&](const draw::Port& port) {
            const auto at = static_cast<std::size_t>(port.number);
            if (port.number == draw::enable_port) return std::string(edit::gate_class);
            if (!port.label.empty() || block.is_subsystem()) return port.label;
            return std::string(names.inputs.size() > at ? names.inputs.begin()[at].name : "");
        });
        one["outputs"] = ports_json(own.outputs, [&](const draw::Port& port) {
            const auto at = static_cast<std::size_t>(port.number);
            if (!port.label.empty() || block.is_subsystem()) return port.label;
            return std::string(names.outputs.size() > at ? names.outputs.begin()[at] : "");
        });
        one["state"] = !block.known ? "unknown" : block.unread ? "unread" : block.idle ? "disabled" : "ok";
        const auto problem = views_.problems_.find(handle);
        one["problem"] = problem != views_.problems_.end() ? json_t(severity_name(problem->second)) : json_t();
        one["inside"] = block.is_subsystem() ? json_t(handle) : json_t();
        one["reference"] = block.is(edit::reference_class) ? json_t(block.parameter("path")) : json_t();
        one["hint"] = draw::tooltip_of(diagram_, node.block);
        return one;
    }

    json_t end_json(std::size_t block, int port) const {
        if (block == draw::none || !on_page(block)) return {};
        return {{"block", handles_.of_block(block)}, {"port", port}};
    }

    bool on_page(std::size_t block) const { return diagram_.blocks[block].parent == scene_.owner; }

    json_t wire_json(const draw::Wire& wire) const {
        const draw::Link& link = diagram_.links[wire.link];
        json_t one{{"id", handles_.of_link(wire.link)},
                   {"from", end_json(link.source, link.source_port)},
                   {"to", end_json(link.target, link.target_port)},
                   {"points", points_json(wire.path)},
                   {"bends", points_json(link.bends)},
                   {"label", link.label},
                   {"type", link.type},
                   {"style", own_word("wire", draw::wire_style(wire))},
                   {"late", link.late},
                   {"broken", wire.broken}};
        if (one["from"].is_null() || one["to"].is_null()) one["stray"] = stray_text(link);
        return one;
    }

    std::string stray_text(const draw::Link& link) const {
        const bool leaves = link.source != draw::none && on_page(link.source);
        const std::size_t other = leaves ? link.target : link.source;
        if (other == draw::none) return tessel::format("no block {}", leaves ? link.target_id : link.source_id);
        return (leaves ? "to " : "from ") + handles_.path_of(other);
    }

    json_t joints_json() const {
        json_t list = json_t::array();
        for (const draw::Joint& joint : scene_.joints)
            list.push_back({{"x", rounded(joint.at.x)},
                            {"y", rounded(joint.at.y)},
                            {"style", own_word("joint", draw::type_style(joint.type))}});
        return list;
    }

    json_t labels_json() const {
        json_t list = json_t::array();
        for (const draw::Label& label : scene_.labels) {
            const bool middle = label.kind == draw::Label::Kind::name;
            const char* style = draw::label_style(label.kind);
            json_t one{{"kind", style},
                       {"style", style},
                       {"text", label.text},
                       {"x", rounded(middle ? label.at.x + label.box.w / 2 : label.at.x)},
                       {"y", rounded(label.at.y)},
                       {"size", label.size},
                       {"anchor", middle ? "middle" : "start"}};
            if (!label.hint.empty()) one["hint"] = label.hint;
            if (label.block != draw::none) one["of"] = handles_.of_block(label.block);
            else if (label.link != draw::none) one["of"] = handles_.of_link(label.link);
            list.push_back(std::move(one));
        }
        return list;
    }

    Views& views_;
    const draw::Diagram& diagram_;
    const Handles& handles_;
    const draw::Scene& scene_;
    bool partial_;
    told_t before_, now_;
    json_t pictures_ = json_t::object();
};

void Views::reset() {
    chosen_.clear();
    told_.clear();
    problems_.clear();
    checked_.reset();
}

void Views::read(const sheet_t& sheet) {
    Document document(sheet.text, sheet.file);
    document.keep_within(sheet.folder);
    draw::Diagram fresh = draw::read_diagram(document);
    handles_.reset();
    diagram_ = std::move(fresh);
    handles_ = std::make_unique<Handles>(diagram_);
    children_ = diagram_.children();
    revision_ = sheet.revision;
    file_ = sheet.shown;
}

void Views::take(const verdict_t& verdict) {
    mark(diagram_, *handles_, verdict);
    problems_ = verdict.problems;
    checked_ = verdict.revision;
}

/// Blocks that the file gives no place stand where a layout of the level would put them, moved to those that have one.
void Views::give_places(std::size_t level) {
    std::vector<std::size_t> missing;
    for (const std::size_t i : children_[level]) {
        draw::Block& block = diagram_.blocks[i];
        const auto known = chosen_.find(handles_->of_block(i));
        if (block.placed || block.width > 0) continue;
        if (known == chosen_.end()) {
            missing.push_back(i);
            continue;
        }
        block.x = known->second.x, block.y = known->second.y;
        block.width = known->second.w, block.height = known->second.h;
    }
    if (missing.empty()) return;
    draw::DrawOptions options;
    options.level = level;
    options.relayout = true;
    options.layout_limit = std::chrono::milliseconds(2000);
    std::string note;
    const auto scenes = draw::make_scenes(diagram_, options, note);
    draw::Point sum;
    double count = 0;
    for (const draw::Node& node : scenes.front().nodes) {
        const draw::Block& block = diagram_.blocks[node.block];
        if (!block.placed) continue;
        sum = sum + (draw::Point{block.x, block.y} - draw::Point{node.box.x, node.box.y});
        ++count;
    }
    const draw::Point shift = count > 0 ? sum * (1 / count) : draw::Point{};
    for (const draw::Node& node : scenes.front().nodes) {
        draw::Block& block = diagram_.blocks[node.block];
        if (!std::ranges::binary_search(missing, node.block)) continue;  // in the order of the file
        const draw::Point at{std::round(node.box.x + shift.x), std::round(node.box.y + shift.y)};
        const draw::Rect place{at.x, at.y, node.box.w, node.box.h};
        chosen_.insert_or_assign(handles_->of_block(node.block), place);
        block.x = place.x, block.y = place.y, block.width = place.w, block.height = place.h;
    }
}

json_t Views::level(const std::string& handle, std::optional<std::uint64_t> since) {
    const std::size_t level = handles_->block(handle);
    if (level == draw::none || !diagram_.blocks[level].is_subsystem())
        throw RpcError(error_t::refused, tessel::format("there is no level {}", handle),
                       "\"0\" is the root; \"inside\" of a block names the others");
    give_places(level);
    draw::DrawOptions options;
    options.level = level;
    options.as_written = true;
    std::string note;
    const auto scenes = draw::make_scenes(diagram_, options, note);
    told_t& told = told_[handle];
    const bool partial = since.has_value() && told.revision == *since;
    Writer writer(*this, scenes.front(), partial, told);
    json_t answer = writer.write(level);
    told = writer.told();
    return answer;
}

std::optional<draw::Rect> Views::place_of(const std::string& handle) {
    const std::size_t block = handles_ != nullptr ? handles_->block(handle) : draw::none;
    if (block == draw::none || diagram_.blocks[block].placed) return std::nullopt;
    give_places(diagram_.blocks[block].parent);
    const auto found = chosen_.find(handle);
    return found != chosen_.end() ? std::optional(found->second) : std::nullopt;
}

}  // namespace zarn::serve
