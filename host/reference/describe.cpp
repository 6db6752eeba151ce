#include "host/reference/describe.h"

namespace zarn {

using json_t = nlohmann::ordered_json;

json_t describe_class(const class_row_t& row) {
    const auto& traits = row.traits();
    json_t parameters = json_t::object();
    for (const auto& parameter : traits.parameters) {
        const json_t value = parameter.value != nullptr ? json_t(parameter.value) : json_t(tessel::no_port_number);
        parameters[parameter.key] = {{"default", value},
                                     {"unit", parameter.unit.suffix},
                                     {"meaning", parameter.meaning},
                                     {"content", content_in_words(parameter)},
                                     {"everyday", parameter.everyday}};
    }
    json_t inputs = json_t::array();
    for (const auto& port : traits.inputs) inputs.push_back({{"name", port.name}, {"direct", port.direct}});
    const auto count = [](int n) { return n >= 0 ? json_t(n) : json_t(); };
    return {{"class", row.name},
            {"summary", summary_of(row)},
            {"everyday", traits.everyday},
            {"inputs", count(traits.input_count)},
            {"outputs", count(traits.output_count)},
            {"input_names", std::move(inputs)},
            {"output_names", traits.outputs},
            {"parameters", std::move(parameters)},
            {"formula", formula_of(row)},
            {"types", combinations_of(row)},
            {"types_in_words", types_in_words(row)},
            {"fault", fault_in_words(row)},
            {"description", head_of(row)}};
}

}  // namespace zarn
