#include "blocks/parameters.h"

#include "core/python.h"

namespace tessel {

// A number among texts is evaluated as it would be written.
result_t ParameterBlock::read(const reading_t& reading, bool text) {
    const auto& [parameter, value] = reading;
    if (text)
        return python::wrap()->evaluate(properties_->python_path + parameter.scope, param_text(parameter.key), value);
    *value = param(parameter.key);
    return result_ok;
}

result_t ParameterBlock::read_alike(std::initializer_list<reading_t> readings) {
    const bool text = is_text(readings.begin()->parameter.key);
    result_t first = result_ok;
    for (const reading_t& reading : readings) {
        const result_t result = read(reading, text);
        if (first == result_ok) first = result;
    }
    failed_ = first != result_ok;
    return first;
}

result_t ParameterBlock::read_each(std::initializer_list<reading_t> readings) {
    result_t first = result_ok;
    for (const reading_t& reading : readings) {
        const result_t result = read(reading, is_text(reading.parameter.key));
        if (first == result_ok) first = result;
    }
    failed_ = first != result_ok;
    return first;
}

}  // namespace tessel
