#include "host/diagnose/computation.h"

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>
#include <vector>

#include "core/str.h"
#include "formula/words.h"
#include "framework/MetaBlock.h"
#include "framework/classes.h"

namespace zarn {
namespace {

using nlohmann::json;

json number(double value) { return std::isfinite(value) ? json(value) : json(tessel::str::shortest(value)); }

json as_evaluated(const tessel::formula_parameter_t& parameter) {
    json value;
    tessel::with_type(parameter.type, [&]<class T>(T) {
        const T own = tessel::from_bits<T>(parameter.value);
        if constexpr (std::is_floating_point_v<T>) value = number(static_cast<double>(own));
        else value = own;
    });
    return value;
}

json as_evaluated(const tessel::list_t& list) {
    constexpr std::size_t most = 64;
    json values = json::array();
    for (std::size_t i = 0; i < std::min(list.values.size(), most); ++i) values.push_back(number(list.values[i]));
    return {{"count", list.values.size()}, {"values", std::move(values)}};
}

}  // namespace

void add_computation(json& object, tessel::IMetaBlock& block) {
    json& written = object["parameters"] = json::object();
    for (const auto& parameter : tessel::factory::traits_of(block).parameters) {
        const tessel::var_t& value = block.param(parameter.key);
        written[parameter.key] = value.is_text() ? json(value.text()) : number(double(value));
    }
    object["formula"] = json::array();
    json& with = object["with"] = json::object();
    const auto formula = block.has_all_types() ? static_cast<tessel::MetaBlock&>(block).formula() : std::nullopt;
    if (!formula) return;
    object["formula"] = tessel::lines_of(*formula);
    for (const auto& parameter : formula->parameters) with[parameter.name] = as_evaluated(parameter);
    for (const auto& list : formula->lists) with[list.name] = as_evaluated(list);
}

}  // namespace zarn
