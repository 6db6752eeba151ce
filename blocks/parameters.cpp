#include "blocks/parameters.h"

#include "core/python.h"

namespace tessel {

// A number among texts is evaluated as it would be written.
result_t ParameterBlock::read(const parameter_t& parameter, bool text) {
    if (text)
        return python::wrap()->evaluate(properties_->python_path + parameter.scope, param_text(parameter.key),
                                        parameter.value);
    *parameter.value = param(parameter.key);
    return result_ok;
}

result_t ParameterBlock::read_alike(std::initializer_list<parameter_t> parameters) {
    const bool text = is_text(parameters.begin()->key);
    result_t first = result_ok;
    for (const parameter_t& parameter : parameters) {
        const result_t result = read(parameter, text);
        if (first == result_ok) first = result;
    }
    failed_ = first != result_ok;
    return first;
}

result_t ParameterBlock::read_each(std::initializer_list<parameter_t> parameters) {
    result_t first = result_ok;
    for (const parameter_t& parameter : parameters) {
        const result_t result = read(parameter, is_text(parameter.key));
        if (first == result_ok) first = result;
    }
    failed_ = first != result_ok;
    return first;
}

}  // namespace tessel
