#include "host/diagnose/evaluation.h"

#include <algorithm>

namespace zarn {

Recorder::Recorder() : bridge_(python::wrap()) {
    python::set_wrap(this);
    console_ = python::set_console([this](std::string_view text) {
        if (!told_.empty()) told_ += "; ";
        told_ += text;
    });
}

Recorder::~Recorder() {
    python::set_wrap(bridge_);
    python::set_console(std::move(console_));
}

void Recorder::note(evaluation_t evaluation) {
    evaluation.told = std::exchange(told_, {});
    noted_.push_back(std::move(evaluation));
}

std::shared_ptr<python::ISeries> Recorder::find_series(const char* expression) {
    auto series = bridge_->find_series(expression);
    note({evaluation_t::kind_t::series,
          {},
          expression != nullptr ? expression : "",
          series != nullptr ? tessel::result_ok : tessel::result_bad_parameter,
          {},
          {},
          {}});
    return series;
}

void Recorder::set_array(std::string_view name, const double* values, std::int32_t count) {
    bridge_->set_array(name, values, count);
}

void Recorder::set_attribute(std::string_view object, std::string_view key, double value) {
    bridge_->set_attribute(object, key, value);
}

tessel::result_t Recorder::evaluate_array(std::string_view name, std::string_view text, python::var_array_t& array) {
    const tessel::result_t result = bridge_->evaluate_array(name, text, array);
    note({evaluation_t::kind_t::array, std::string(name), std::string(text), result, {}, array, {}});
    return result;
}

tessel::result_t Recorder::evaluate(std::string_view scope, std::string_view text, tessel::var_t* value) {
    const tessel::result_t result = bridge_->evaluate(scope, text, value);
    note({evaluation_t::kind_t::value,
          std::string(scope),
          std::string(text),
          result,
          result == tessel::result_ok ? *value : tessel::var_t(),
          {},
          {}});
    return result;
}

void Recorder::assign(std::string_view name, std::string_view expression) { bridge_->assign(name, expression); }

tessel::var_t value_of(const node_t& node, const evaluations_t& evaluations, const char* key, std::string_view tail) {
    for (const evaluation_t& evaluation : evaluations)
        if (evaluation.kind == evaluation_t::kind_t::value && evaluation.scope.ends_with(tail)) return evaluation.value;
    return node.block->param(key);
}

std::string key_of(const node_t& node, const evaluation_t& evaluation) {
    std::string_view scope = evaluation.scope;
    if (scope.starts_with(node.properties->python_path)) scope.remove_prefix(node.properties->python_path.size());
    const auto& parameters = node.row->traits().parameters;
    const auto found = std::ranges::find_if(
        parameters, [scope](const tessel::parameter_traits_t& parameter) { return scope == parameter.scope; });
    return found != parameters.end() ? found->key : "";
}

}  // namespace zarn
