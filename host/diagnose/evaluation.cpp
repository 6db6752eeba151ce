#include "host/diagnose/evaluation.h"

#include <algorithm>

namespace zarn {
namespace {

const tessel::parameter_traits_t* parameter_of(const node_t& node, const question_t& question) {
    std::string_view scope = question.scope;
    if (scope.starts_with(node.properties->python_path)) scope.remove_prefix(node.properties->python_path.size());
    const auto& parameters = node.row->traits().parameters;
    const auto found = std::ranges::find_if(
        parameters, [scope](const tessel::parameter_traits_t& parameter) { return scope == parameter.scope; });
    return found != parameters.end() ? &*found : nullptr;
}

bool divides_whole(const question_t& question) { return question.text.find("//") != std::string::npos; }

}  // namespace

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

void Recorder::note(question_t question) {
    question.told = std::exchange(told_, {});
    noted_.push_back(std::move(question));
}

std::shared_ptr<python::ISeries> Recorder::find_series(const char* expression) {
    auto series = bridge_->find_series(expression);
    note({question_t::kind_t::series,
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
    note({question_t::kind_t::array, std::string(name), std::string(text), result, {}, array, {}});
    return result;
}

tessel::result_t Recorder::evaluate(std::string_view scope, std::string_view text, tessel::var_t* value) {
    const tessel::result_t result = bridge_->evaluate(scope, text, value);
    note({question_t::kind_t::value,
          std::string(scope),
          std::string(text),
          result,
          result == tessel::result_ok ? *value : tessel::var_t(),
          {},
          {}});
    return result;
}

void Recorder::assign(std::string_view name, std::string_view expression) { bridge_->assign(name, expression); }

tessel::var_t value_of(const node_t& node, evaluations_t evaluations, const tessel::parameter_traits_t& parameter) {
    for (const evaluation_t& evaluation : evaluations)
        if (evaluation.kind == evaluation_t::kind_t::value && evaluation.parameter == &parameter)
            return evaluation.value;
    return node.block->param(parameter.key);
}

const evaluation_t::rest_t& evaluation_t::more() const {
    static const rest_t nothing;
    return rest != nullptr ? *rest : nothing;
}

std::vector<evaluation_t> evaluations_of(const node_t& node, std::vector<question_t> asked) {
    std::vector<evaluation_t> evaluations(asked.size());
    for (std::size_t i = 0; i < asked.size(); ++i) {
        question_t& question = asked[i];
        evaluation_t& evaluation = evaluations[i];
        evaluation.kind = question.kind;
        evaluation.result = question.result;
        evaluation.parameter = parameter_of(node, question);
        evaluation.value = std::move(question.value);
        const bool plain = question.result == tessel::result_ok && question.told.empty() && !divides_whole(question);
        if (plain && question.kind != question_t::kind_t::array) continue;
        evaluation.rest = std::make_shared<const evaluation_t::rest_t>(
            evaluation_t::rest_t{std::move(question.text), std::move(question.array), std::move(question.told)});
    }
    return evaluations;
}

}  // namespace zarn
