#include <pybind11/stl.h>

#include <algorithm>
#include <string>

#include "framework/classes.h"
#include "host/module/module.h"
#include "host/reference/reference.h"

namespace zarn::module {
namespace {

const char* content_name(tessel::content_t content) {
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

const char* family_name(tessel::family_t family) {
    switch (family) {
        case tessel::family_t::source: return "source";
        case tessel::family_t::logic: return "logic";
        case tessel::family_t::table: return "table";
        case tessel::family_t::state: return "state";
        case tessel::family_t::sink: return "sink";
        case tessel::family_t::structure: return "structure";
        default: return "mathematics";
    }
}

py::dict parameter_of(const tessel::parameter_traits_t& parameter) {
    py::dict facts;
    facts["key"] = key_with_unit(parameter);
    facts["name"] = parameter.key;
    facts["meaning"] = parameter.meaning;
    facts["content"] = content_name(parameter.content);
    facts["words"] = content_in_words(parameter);
    if (parameter.value != nullptr) facts["default"] = parameter.value;
    py::list choices;
    for (const auto& word : parameter.words) choices.append(word.word);
    facts["choices"] = choices;
    return facts;
}

py::dict facts_of(const tessel::class_row_t& row) {
    const auto& traits = row.traits();
    py::list inputs, outputs, parameters;
    for (const auto& input : traits.inputs) inputs.append(input.name);
    for (const char* output : traits.outputs) outputs.append(output);
    for (const auto& parameter : traits.parameters) parameters.append(parameter_of(parameter));
    std::size_t least = 99, most = 0;
    for (const auto& accepted : row.entry->accepted) {
        least = std::min<std::size_t>(least, accepted.inputs);
        most = std::max<std::size_t>(most, accepted.inputs);
    }
    py::dict facts;
    facts["name"] = row.name;
    facts["family"] = family_name(traits.family);
    facts["summary"] = summary_of(row);
    facts["head"] = std::string(head_of(row));
    facts["inputs"] = inputs;
    facts["outputs"] = outputs;
    facts["parameters"] = parameters;
    facts["input_count"] = traits.input_count;
    facts["output_count"] = traits.output_count;
    facts["least_inputs"] = std::min(least, most);
    facts["most_inputs"] = most;
    facts["steps_first"] = traits.steps_first;
    facts["input_type"] = traits.input_type == tessel::type_unknown ? "" : tessel::short_name(traits.input_type);
    facts["output_type"] = traits.output_type == tessel::type_unknown ? "" : tessel::short_name(traits.output_type);
    facts["inputs_in_words"] = inputs_in_words(row);
    facts["types"] = types_in_words(row);
    facts["everyday"] = everyday_names(row);
    return facts;
}

py::list classes() {
    py::list all;
    for (const auto& row : tessel::factory::class_rows()) all.append(facts_of(row));
    return all;
}

}  // namespace

void add_classes(py::module_& module) {
    module.def("classes", &classes, "The facts of every class of blocks, by name.");
}

}  // namespace zarn::module
