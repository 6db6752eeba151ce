#include "host/serve/classes.h"

#include <map>
#include <string>

#include "framework/classes.h"
#include "host/document/document.h"
#include "host/draw/diagram.h"
#include "host/draw/scene.h"
#include "host/reference/describe.h"
#include "host/serve/figures.h"

namespace zarn::serve {
namespace {

constexpr const char* families[] = {"source", "mathematics", "logic", "table", "state", "sink", "structure"};

/// Names that a file can write for a class; they have an entry of their own in the class table.
bool is_alias(const class_row_t& row) {
    for (const class_row_t& other : tessel::factory::class_rows())
        if (other.entry == row.entry && other.name < row.name) return true;
    return false;
}

/// One block of each class, drawn with defaults.
std::map<std::string, json_t> pictures() {
    json_t blocks = json_t::array();
    std::uint64_t id = 0;
    for (const class_row_t& row : tessel::factory::class_rows())
        blocks.push_back({{row.name,
                           {{"name", row.name},
                            {"id", ++id},
                            {"inportCount", fewest_inputs(row)},
                            {"outportCount", usual_outputs(row)},
                            {"geometry", {{"x", id}}}}}});
    Document document(dumped(json_t{{"blocks", std::move(blocks)}}), "classes");
    draw::Diagram diagram = draw::read_diagram(document);
    draw::DrawOptions options;
    options.level = 0;
    options.as_written = true;
    std::string note;
    std::map<std::string, json_t> found;
    const auto scenes = draw::make_scenes(diagram, options, note);
    for (const draw::Node& node : scenes.front().nodes) {
        const draw::Block& block = diagram.blocks[node.block];
        found[block.name] = {{"width", node.box.w}, {"height", node.box.h}, {"pieces", figures_json(block, node)}};
    }
    return found;
}

void add_kinds(const class_row_t& row, json_t& parameters) {
    for (const tessel::parameter_traits_t& parameter : row.traits().parameters) {
        parameters[parameter.key]["kind"] = kind_name(parameter.content);
        parameters[parameter.key]["words"] = words_json(parameter);
    }
}

}  // namespace

const char* kind_name(tessel::content_t content) {
    switch (content) {
        case tessel::content_t::list: return "list";
        case tessel::content_t::series: return "series";
        case tessel::content_t::word: return "word";
        case tessel::content_t::label: return "label";
        case tessel::content_t::path: return "path";
        case tessel::content_t::port: return "port";
        default: return "value";
    }
}

json_t words_json(const tessel::parameter_traits_t& parameter) {
    json_t words = json_t::array();
    for (const tessel::word_t& word : parameter.words) words.push_back({{"word", word.word}, {"sign", word.sign}});
    return words;
}

json_t class_table() {
    json_t classes = json_t::array(), aliases = json_t::object();
    const auto drawn = pictures();
    for (const class_row_t& row : tessel::factory::class_rows()) {
        if (is_alias(row)) {
            for (const class_row_t& other : tessel::factory::class_rows())
                if (other.entry == row.entry && !is_alias(other)) aliases[row.name] = other.name;
            continue;
        }
        json_t one = describe_class(row);
        one["family"] = families[static_cast<std::size_t>(row.traits().family)];
        one["fewest_inputs"] = fewest_inputs(row);
        add_kinds(row, one["parameters"]);
        one["picture"] = drawn.at(row.name);
        classes.push_back(std::move(one));
    }
    return {{"classes", std::move(classes)}, {"aliases", std::move(aliases)}, {"families", families}};
}

}  // namespace zarn::serve
