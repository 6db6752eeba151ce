// zarn schema: what a model file holds, for editors and tools.

#include <CLI/App.hpp>
#include <limits>
#include <memory>
#include <nlohmann/json.hpp>

#include "core/format.h"
#include "framework/classes.h"
#include "framework/entry.h"
#include "host/cli/command.h"
#include "host/cli/verbs.h"

namespace zarn {
namespace {

using json_t = nlohmann::ordered_json;

constexpr std::uint64_t largest_id = std::numeric_limits<std::uint64_t>::max();
constexpr int most_ports = 65535;   // what the 16 bits of a link's port can mean,
constexpr int least_port = -32768;  // without and with a sign

json_t described(json_t schema, const char* text) {
    schema["description"] = text;
    return schema;
}

json_t number(const char* text) { return {{"type", "number"}, {"description", text}}; }
json_t text(const char* text) { return {{"type", "string"}, {"description", text}}; }
json_t whole(const char* text, std::int64_t least, std::uint64_t most) {
    return {{"type", "integer"}, {"minimum", least}, {"maximum", most}, {"description", text}};
}

/// An object that has no other members.
json_t object(json_t properties, json_t required = json_t::array()) {
    json_t schema{{"type", "object"}, {"properties", std::move(properties)}, {"additionalProperties", false}};
    if (!required.empty()) schema["required"] = std::move(required);
    return schema;
}

json_t geometry() {
    return object({{"x", number("Left edge, in units of the canvas")},
                   {"y", number("Upper edge; the y axis points down")},
                   {"width", number("Width")},
                   {"height", number("Height")},
                   {"rotation", number("Clockwise, in degrees")}});
}

json_t color() {
    const auto part = [](const char* what) { return described({{"type", "number"}}, what); };
    return object({{"red", part("Share of red, 0 to 1")},
                   {"green", part("Share of green, 0 to 1")},
                   {"blue", part("Share of blue, 0 to 1")},
                   {"alpha", part("How opaque, 0 to 1; the colour counts above 0")}});
}

/// What blocks of every class have.
json_t block() {
    return {{"type", "object"},
            {"required", {"id"}},
            {"properties",
             {{"name", text("Name; with the names of the subsystems around it, it is the block's path")},
              {"id", whole("Number of the block, of at least 16 digits, which no other block has", 0, largest_id)},
              {"parent", whole("Id of the subsystem that holds the block, 0 for the root", 0, largest_id)},
              {"inportCount", whole("Number of inputs, for classes that leave it open", 0, most_ports)},
              {"outportCount", whole("Number of outputs, for classes that leave it open", 0, most_ports)},
              {"geometry", described({{"$ref", "#/$defs/geometry"}}, "Where it is drawn")},
              {"bg", described({{"$ref", "#/$defs/color"}}, "Colour of its ground")},
              {"backgroundColor", described({{"$ref", "#/$defs/color"}}, "Older name of \"bg\"")}}}};
}

json_t link() {
    const json_t point = object({{"x", number("To the right")}, {"y", number("Down")}});
    return object(
        {{"srcId", whole("Id of the block that gives the signal", 0, largest_id)},
         {"dstId", whole("Id of the block that takes it", 0, largest_id)},
         {"srcPort", whole("Output of the one, from 0", least_port, most_ports)},
         {"dstPort", whole("Input of the other, from 0; -1 enables a subsystem", least_port, most_ports)},
         {"label", text("Written beside the wire")},
         {"breakpoints", {{"type", {"array", "null"}}, {"items", point}, {"description", "Bends of the wire"}}}},
        {"srcId", "dstId"});
}

json_t settings() {
    json_t step = number("Length of a step, in seconds");
    step["exclusiveMinimum"] = 0;
    return object({{"ti", number("Time of the first step, in seconds")},
                   {"tf", number("Time that no step passes, in seconds")},
                   {"ts", std::move(step)}});
}

/// "Time of the step, in seconds"
std::string described_in_words(const tessel::parameter_traits_t& parameter) {
    std::string text = parameter.meaning;
    if (*parameter.unit.words != '\0') text += tessel::format(", in {}", parameter.unit.words);
    return text;
}

json_t describe_parameter(const tessel::parameter_traits_t& parameter) {
    json_t schema{{"type", {"string", "integer"}}, {"description", described_in_words(parameter)}};
    if (parameter.value != nullptr) schema["default"] = parameter.value;
    else schema["default"] = tessel::no_port_number;
    for (const auto& word : parameter.words) schema["examples"].push_back(word.word);
    return schema;
}

json_t describe_class(const tessel::class_row_t& row) {
    json_t properties = json_t::object();
    for (const auto& parameter : row.traits().parameters) properties[parameter.key] = describe_parameter(parameter);
    return {{"$ref", "#/$defs/block"}, {"properties", std::move(properties)}, {"unevaluatedProperties", false}};
}

json_t model_schema() {
    json_t definitions{
        {"geometry", geometry()}, {"color", color()}, {"block", block()}, {"link", link()}, {"settings", settings()}};
    json_t classes = json_t::object();
    for (const auto& row : tessel::factory::class_rows()) {
        const std::string name = tessel::format("class {}", row.name);
        definitions[name] = describe_class(row);
        classes[row.name] = {{"$ref", "#/$defs/" + tessel::format("class%20{}", row.name)}};
    }
    json_t element = object(std::move(classes));
    element["minProperties"] = 1;
    element["maxProperties"] = 1;
    element["description"] = "A block: its class, and what it is";
    return {{"$schema", "https://json-schema.org/draft/2020-12/schema"},
            {"title", "Model"},
            {"description", "A diagram of blocks and wires, and how it is run"},
            {"type", "object"},
            {"properties",
             {{"blocks", {{"type", {"array", "null"}}, {"items", std::move(element)}}},
              {"links", {{"type", "array"}, {"items", {{"$ref", "#/$defs/link"}}}}},
              {"model", {{"$ref", "#/$defs/settings"}}},
              {"comments",
               {{"type", "array"},
                {"items", {{"type", "object"}}},
                {"description", "Texts that stand on the canvas; not read"}}},
              {"metadata", {{"type", "object"}, {"description", "Who wrote the file; not read"}}}}},
            {"required", {"blocks"}},
            {"$defs", std::move(definitions)}};
}

/// The parameters of all classes as a table of docs/model-file.md.
std::string parameter_table() {
    std::string table = "| class | parameter | meaning | default |\n|---|---|---|---|\n";
    for (const auto& row : tessel::factory::class_rows())
        for (const auto& parameter : row.traits().parameters)
            table += tessel::format("| `{}` | `{}` | {} | `{}` |\n", row.name, parameter.key,
                                    described_in_words(parameter), describe_parameter(parameter)["default"].dump());
    return table;
}

}  // namespace

void add_schema(CLI::App& app, int& status) {
    auto markdown = std::make_shared<bool>(false);
    auto* verb = app.add_subcommand("schema", "Print the JSON schema of model files");
    verb->add_flag("--markdown", *markdown)->group("");  // how docs/model-file.md is made
    verb->footer(
        "Draft 2020-12, with every class and its parameters: editors complete and check model files by it.\n\n"
        "Example:\n  zarn schema > model.schema.json");
    verb->callback([markdown, &status] {
        status = guarded([&] {
            out(*markdown ? parameter_table() : model_schema().dump(2) + "\n");
            return static_cast<int>(status_ok);
        });
    });
}

}  // namespace zarn
