// Methods that look at the open model and change nothing.

#include <algorithm>
#include <chrono>
#include <ranges>

#include "core/format.h"
#include "framework/classes.h"
#include "host/draw/scene.h"
#include "host/draw/svg.h"
#include "host/serve/classes.h"
#include "host/serve/mends.h"
#include "host/serve/methods.h"

namespace zarn::serve {
namespace {

constexpr std::size_t most_hits = 1000;

std::string level_of(open_t& open, const Params& params) {
    if (!params.has("path")) return params.text("level", "0");
    const std::size_t level = open.views.diagram().find_subsystem(params.text("path"));
    if (level == draw::none)
        throw RpcError(error_t::refused, tessel::format("there is no subsystem {}", params.text("path")));
    return open.views.handles().of_block(level);
}

json_t view(State& state, const Params& params) {
    open_t& open = state.model();
    std::optional<std::uint64_t> since;
    if (params.has("since")) since = static_cast<std::uint64_t>(params.integer("since"));
    json_t answer = open.views.level(level_of(open, params), since);
    if (open.editor != nullptr) {
        const edit::Sheet& sheet = open.editor->sheet();
        answer["settings"] = {
            {"ti", sheet.setting("ti", 0)}, {"tf", sheet.setting("tf", 10)}, {"ts", sheet.setting("ts", 1)}};
        answer["comments"] = comments_json(*open.editor, answer["level"]);
    } else {
        answer["editable"] = false;
    }
    return answer;
}

std::size_t block_of(const open_t& open, const std::string& handle) {
    const std::size_t block = open.views.handles().block(handle);
    if (block == draw::none || block == 0)
        throw RpcError(error_t::refused, tessel::format("there is no block {}", handle));
    return block;
}

json_t parameters_json(const draw::Block& block, const json_t& written) {
    json_t list = json_t::array();
    for (const tessel::parameter_traits_t& traits : block.traits->parameters) {
        const bool is_written = written.contains(traits.key);
        list.push_back({{"key", traits.key},
                        {"text", block.parameter(traits.key)},
                        {"written", is_written},
                        {"default", traits.value != nullptr ? json_t(traits.value) : json_t(tessel::no_port_number)},
                        {"unit", traits.unit.suffix},
                        {"meaning", traits.meaning},
                        {"kind", kind_name(traits.content)},
                        {"words", words_json(traits)}});
    }
    return list;
}

/// The block's object as the file has it; {} where it cannot be read.
json_t object_of(const open_t& open, const std::string& handle) {
    if (open.editor == nullptr || handle.find('/') != std::string::npos) return json_t::object();
    const auto& item = open.editor->sheet().item(edit::list_t::blocks, open.editor->block_at(handle));
    json_t element = json_t::parse(item.body, nullptr, false);
    if (!element.is_object() || element.size() != 1 || !element.begin()->is_object()) return json_t::object();
    return *element.begin();
}

json_t describe(State& state, const std::string& handle) {
    open_t& open = state.model();
    const std::size_t index = block_of(open, handle);
    const draw::Block& block = open.views.diagram().blocks[index];
    const json_t object = object_of(open, handle);
    json_t answer{{"id", handle},
                  {"class", block.class_name},
                  {"name", block.name},
                  {"path", open.views.handles().path_of(index)},
                  {"level", open.views.handles().of_block(block.parent)},
                  {"inputs", block.inputs},
                  {"outputs", block.outputs}};
    const auto or_null = [&object](const char* key) { return object.contains(key) ? object[key] : json_t(); };
    answer["geometry"] = or_null("geometry");
    answer["color"] = object.contains("bg") ? object["bg"] : or_null("backgroundColor");
    answer["parameters"] = parameters_json(block, object);
    json_t other = json_t::object();
    for (const auto& [key, value] : object.items()) {
        const bool known =
            std::ranges::any_of(std::initializer_list<const char*>{"id", "name", "parent", "inportCount",
                                                                   "outportCount", "geometry", "bg", "backgroundColor"},
                                [&](const char* k) { return key == k; });
        const bool parameter =
            std::ranges::any_of(block.traits->parameters, [&](const auto& traits) { return key == traits.key; });
        if (!known && !parameter) other[key] = value;
    }
    answer["other"] = std::move(other);
    return answer;
}

std::string folded(std::string text) {
    for (char& c : text)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + 32);
    return text;
}

json_t search(State& state, const Params& params) {
    const open_t& open = state.model();
    const std::string wanted = folded(params.text("text"));
    const auto limit = static_cast<std::size_t>(std::clamp<std::int64_t>(params.integer("limit", 50), 1, most_hits));
    json_t hits = json_t::array();
    bool complete = true;
    const auto& diagram = open.views.diagram();
    const auto hit = [&](std::size_t block, const char* where, const std::string& text) {
        if (hits.size() >= limit) return void(complete = false);
        hits.push_back({{"block", open.views.handles().of_block(block)},
                        {"level", open.views.handles().of_block(diagram.blocks[block].parent)},
                        {"path", open.views.handles().path_of(block)},
                        {"class", diagram.blocks[block].class_name},
                        {"name", diagram.blocks[block].name},
                        {"where", where},
                        {"text", text}});
    };
    const auto matches = [&](const std::string& text) { return folded(text).find(wanted) != std::string::npos; };
    for (std::size_t i = 1; i < diagram.blocks.size() && complete; ++i)
        if (matches(diagram.blocks[i].name)) hit(i, "name", diagram.blocks[i].name);
    for (std::size_t i = 1; i < diagram.blocks.size() && complete; ++i) {
        const draw::Block& block = diagram.blocks[i];
        if (matches(block.name)) continue;
        if (matches(block.class_name)) {
            hit(i, "class", block.class_name);
            continue;
        }
        for (const auto& [key, value] : block.parameters) {
            if (!matches(value)) continue;
            hit(i, "parameter", key + " = " + value);
            break;
        }
    }
    for (const draw::Link& link : diagram.links)
        if (complete && !link.label.empty() && matches(link.label) && link.source != draw::none)
            hit(link.source, "label", link.label);
    return {{"hits", std::move(hits)}, {"complete", complete}};
}

json_t picture(State& state, const Params& params) {
    open_t& open = state.model();
    const sheet_t sheet = state.sheet();
    Views views;  // of its own, since this drawing is not the page's
    views.read(sheet);
    if (open.judged) views.take(open.verdict);
    draw::Diagram diagram = views.diagram();
    draw::DrawOptions options;
    options.depth = static_cast<int>(std::clamp<std::int64_t>(params.integer("depth", 0), 0, 100));
    options.layout_limit = std::chrono::seconds(5);
    if (params.has("level")) {
        options.level = views.handles().block(params.text("level"));
        if (options.level == draw::none || !diagram.blocks[options.level].is_subsystem())
            throw RpcError(error_t::refused, tessel::format("there is no level {}", params.text("level")));
    }
    std::string note;
    const auto pages = draw::make_scenes(diagram, options, note);
    return {{"svg", draw::write_svg(diagram, pages)}};
}

json_t findings(State& state, const Params& params, std::unique_lock<std::mutex>& lock) {
    state.model();
    if (params.flag("wait")) {
        const auto checked = [&] { return state.open == nullptr || !state.open->pending; };
        state.verdict_came.wait_for(lock, std::chrono::seconds(60), checked);
    }
    return findings_json(state.model());
}

}  // namespace

json_t findings_json(const open_t& open) {
    json_t list = json_t::array();
    for (const found_t& found : open.verdict.findings) {
        list.push_back(json_of(found));
        json_t& mends = list.back()["mends"] = json_t::array();
        if (open.verdict.revision != open.revision()) continue;
        const std::size_t place = list.size() - 1;
        for (const mend_t& mend : mends_of(open, found))
            mends.push_back(
                {{"title", mend.title}, {"mend", tessel::format("{}.{}.{}", open.revision(), place, mends.size())}});
    }
    return {{"revision", open.revision()},
            {"checked", open.judged ? json_t(open.verdict.revision) : json_t()},
            {"evaluated", open.verdict.evaluated},
            {"findings", std::move(list)},
            {"counts", counts_of(open.verdict)}};
}

json_t comments_json(const edit::Editor& editor, const std::string& level) {
    json_t list = json_t::array();
    for (const edit::item_t& item : editor.sheet().items(edit::list_t::comments)) {
        if (std::to_string(item.parent) != level) continue;
        const json_t comment = json_t::parse(item.body, nullptr, false);
        if (!comment.is_object()) continue;
        const json_t place = comment.value("geometry", json_t::object());
        const auto length = [&place](const char* key, double otherwise) {
            return place.is_object() && place.contains(key) && place[key].is_number() ? place[key].get<double>()
                                                                                      : otherwise;
        };
        const json_t text = comment.value("text", json_t(""));
        list.push_back({{"id", "c" + std::to_string(item.id)},
                        {"text", text.is_string() ? text.get<std::string>() : text.dump()},
                        {"x", length("x", 0)},
                        {"y", length("y", 0)},
                        {"width", length("width", 160)},
                        {"height", length("height", 40)}});
    }
    return list;
}

void add_look_methods(Methods& methods, State& state) {
    methods.add("view", {"level", "path", "since"}, [&](const Params& params) {
        const std::lock_guard lock(state.mutex);
        return view(state, params);
    });
    methods.add("block", {"block"}, [&](const Params& params) {
        const std::lock_guard lock(state.mutex);
        return describe(state, params.text("block"));
    });
    methods.add("search", {"text", "limit"}, [&](const Params& params) {
        const std::lock_guard lock(state.mutex);
        return search(state, params);
    });
    methods.add("picture", {"level", "depth"}, [&](const Params& params) {
        const std::lock_guard lock(state.mutex);
        return picture(state, params);
    });
    methods.add("findings", {"wait"}, [&](const Params& params) {
        std::unique_lock lock(state.mutex);
        return findings(state, params, lock);
    });
    methods.add("describe_code", {"code"}, [](const Params& params) {
        const std::string page = explain_code(params.text("code"), true);
        if (page.empty()) throw RpcError(error_t::refused, tessel::format("there is no code {}", params.text("code")));
        return json_t{{"markdown", page}};
    });
}

}  // namespace zarn::serve
