#include "host/serve/operations.h"

#include <functional>
#include <map>

#include "core/format.h"
#include "host/diagnose/nearest.h"

namespace zarn::serve {
namespace {

using edit::Editor;
using names_t = std::vector<std::string>;

std::optional<double> length(const Params& p, const char* key) {
    return p.has(key) ? std::optional(p.number(key)) : std::nullopt;
}

std::optional<int> count(const Params& p, const char* key) {
    return p.has(key) ? std::optional(static_cast<int>(p.integer(key))) : std::nullopt;
}

draw::Polyline points(const Params& p, const char* key) {
    draw::Polyline line;
    for (const json_t& point : p.list(key)) {
        if (!point.is_array() || point.size() != 2 || !point[0].is_number() || !point[1].is_number())
            p.fail(key, "a list of points [x, y]");
        line.push_back({point[0].get<double>(), point[1].get<double>()});
    }
    return line;
}

edit::new_block_t new_block(const Params& p) {
    edit::new_block_t block;
    block.class_name = p.text("class");
    block.level = p.text("level", "0");
    block.name = p.text("name", "");
    block.x = p.number("x");
    block.y = p.number("y");
    block.width = length(p, "width");
    block.height = length(p, "height");
    block.rotation = length(p, "rotation");
    block.inputs = count(p, "inputs");
    block.outputs = count(p, "outputs");
    if (p.has("parameters")) block.parameters = p.object("parameters").json();
    return block;
}

const names_t block_members{"op",    "class",  "level",    "name",   "x",       "y",
                            "width", "height", "rotation", "inputs", "outputs", "parameters"};

names_t with(names_t names, const char* more) {
    names.emplace_back(more);
    return names;
}

struct operation_t {
    const char* title;
    names_t members;
    std::function<void(Editor&, const Params&)> work;
};

void set_geometry(Editor& editor, const Params& p) {
    std::vector<std::pair<std::string, double>> members;
    for (const char* key : {"x", "y", "width", "height", "rotation"})
        if (p.has(key)) members.emplace_back(key, p.number(key));
    editor.set_geometry(p.text("block"), members);
}

void comment(Editor& editor, const Params& p) {
    if (p.has("comment")) return editor.set_comment(p.text("comment"), p.text("text"));
    editor.comment(p.text("level", "0"), p.text("text"),
                   {p.number("x"), p.number("y"), p.number("width", 160), p.number("height", 40)});
}

void paste(Editor& editor, const Params& p) {
    const json_t& fragment = p.value("fragment");
    if (!fragment.is_string() && !fragment.is_object()) p.fail("fragment", "what \"copy\" gives");
    editor.paste(fragment.is_string() ? fragment.get<std::string>() : dumped(fragment), p.text("level", "0"),
                 p.number("x"), p.number("y"));
}

void insert(Editor& editor, const Params& p) {
    const std::string block = p.has("block") ? p.text("block") : editor.add_block(new_block(p));
    editor.insert_on_wire(p.text("wire"), block);
}

const std::map<std::string, operation_t>& operations() {
    static const std::map<std::string, operation_t> all{
        {"add_block", {"add block", block_members, [](Editor& e, const Params& p) { e.add_block(new_block(p)); }}},
        {"remove",
         {"remove",
          {"op", "blocks", "wires", "comments", "join"},
          [](Editor& e, const Params& p) {
              e.remove(p.texts("blocks"), p.texts("wires"), p.texts("comments"), p.flag("join"));
          }}},
        {"connect",
         {"connect",
          {"op", "from", "to", "bends", "label", "replace"},
          [](Editor& e, const Params& p) {
              e.connect(end_of(p, "from"), end_of(p, "to"), points(p, "bends"), p.text("label", ""), p.flag("replace"));
          }}},
        {"reconnect",
         {"reconnect",
          {"op", "wire", "from", "to"},
          [](Editor& e, const Params& p) {
              const auto end = [&p](const char* key) {
                  return p.has(key) ? std::optional(end_of(p, key)) : std::nullopt;
              };
              e.reconnect(p.text("wire"), end("from"), end("to"));
          }}},
        {"move",
         {"move",
          {"op", "blocks", "dx", "dy"},
          [](Editor& e, const Params& p) { e.move(p.texts("blocks"), p.number("dx", 0), p.number("dy", 0)); }}},
        {"geometry", {"place", {"op", "block", "x", "y", "width", "height", "rotation"}, set_geometry}},
        {"rename",
         {"rename",
          {"op", "block", "name"},
          [](Editor& e, const Params& p) { e.rename(p.text("block"), p.text("name")); }}},
        {"set_parameter",
         {"set parameter",
          {"op", "block", "key", "value"},
          [](Editor& e, const Params& p) { e.set_parameter(p.text("block"), p.text("key"), p.value("value")); }}},
        {"set_ports",
         {"set ports",
          {"op", "block", "inputs", "outputs"},
          [](Editor& e, const Params& p) { e.set_ports(p.text("block"), count(p, "inputs"), count(p, "outputs")); }}},
        {"set_color",
         {"color",
          {"op", "block", "color"},
          [](Editor& e, const Params& p) { e.set_color(p.text("block"), p.value("color")); }}},
        {"set_setting",
         {"set times",
          {"op", "key", "value"},
          [](Editor& e, const Params& p) { e.set_setting(p.text("key"), p.number("value")); }}},
        {"bends",
         {"bend wire",
          {"op", "wire", "points"},
          [](Editor& e, const Params& p) { e.set_bends(p.text("wire"), points(p, "points")); }}},
        {"label",
         {"label",
          {"op", "wire", "text"},
          [](Editor& e, const Params& p) { e.set_label(p.text("wire"), p.text("text")); }}},
        {"comment", {"comment", {"op", "level", "text", "x", "y", "width", "height", "comment"}, comment}},
        {"group",
         {"group",
          {"op", "blocks", "name"},
          [](Editor& e, const Params& p) { e.group(p.texts("blocks"), p.text("name", "")); }}},
        {"ungroup", {"ungroup", {"op", "block"}, [](Editor& e, const Params& p) { e.ungroup(p.text("block")); }}},
        {"paste", {"paste", {"op", "fragment", "level", "x", "y"}, paste}},
        {"insert_on_wire", {"insert", with(with(block_members, "wire"), "block"), insert}},
        {"layout",
         {"layout",
          {"op", "level", "only"},
          [](Editor& e, const Params& p) { e.lay_out(p.text("level", "0"), p.texts("only")); }}},
    };
    return all;
}

}  // namespace

edit::end_t end_of(const Params& params, const char* key) {
    const Params end = params.object(key);
    end.allow({"block", "port"});
    return {end.text("block"), static_cast<int>(end.integer("port", 0))};
}

std::string operate(edit::Editor& editor, const json_t& operation, std::size_t place) {
    const std::string where = tessel::format("operations[{}].", place);
    if (!operation.is_object())
        throw RpcError(error_t::params, tessel::format("\"operations[{}]\" must be an object", place));
    const Params params(operation, where);
    const std::string name = params.text("op");
    const auto found = operations().find(name);
    if (found == operations().end()) {
        std::vector<std::string> known;
        for (const auto& [key, ignored] : operations()) known.push_back(key);
        const std::string near = nearest_name(name, known);
        throw RpcError(error_t::params, tessel::format("there is no operation \"{}\"{}", name,
                                                       near.empty() ? "" : "; did you mean \"" + near + "\"?"));
    }
    params.allow(found->second.members);
    found->second.work(editor, params);
    return found->second.title;
}

}  // namespace zarn::serve
