#include "tests/support/workspace.h"

#include <fstream>
#include <stdexcept>
#include <vector>

#include "core/literal_bridge.h"

namespace tessel::test {
namespace {

std::string trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(" \r");
    if (first == std::string_view::npos) return {};
    return std::string(text.substr(first, text.find_last_not_of(" \r") - first + 1));
}

std::vector<double> numbers(std::string_view text) {
    python::var_array_t array;
    if (text != "[]" && python::literal_bridge().evaluate_array("script", text, array) != result_ok)
        throw std::invalid_argument("no list: " + std::string(text));
    std::vector<double> values;
    for (const var_t& value : array.values) values.push_back(static_cast<double>(value));
    return values;
}

}  // namespace

Workspace::Workspace() {
    python::literal_bridge().clear();
    python::set_wrap(this);
}

Workspace::~Workspace() {
    python::set_wrap(nullptr);
    python::literal_bridge().clear();
}

void Workspace::run(const std::filesystem::path& script) {
    std::ifstream in(script);
    std::map<std::string, std::vector<double>> times;
    for (std::string line; std::getline(in, line);) {
        line = trimmed(line);
        if (line.empty() || line == "import zarn") continue;
        const auto equals = line.find('=');
        if (equals == std::string::npos) throw std::invalid_argument("no assignment: " + line);
        const std::string name = trimmed(std::string_view(line).substr(0, equals));
        const std::string value = trimmed(std::string_view(line).substr(equals + 1));
        if (value == "zarn.TimeSeries('" + name + "')") continue;
        const std::string series = name.substr(0, name.find('.'));
        if (name.ends_with(".xdata")) times[series] = numbers(value);
        else if (name.ends_with(".ydata")) python::literal_bridge().set_series(series, times[series], numbers(value));
        else names_[name] = value;
    }
}

std::shared_ptr<python::ISeries> Workspace::find_series(const char* expression) {
    return python::literal_bridge().find_series(expression);
}

void Workspace::set_array(std::string_view name, const double* values, std::int32_t count) {
    python::literal_bridge().set_array(name, values, count);
}

void Workspace::set_attribute(std::string_view object, std::string_view key, double value) {
    python::literal_bridge().set_attribute(object, key, value);
}

result_t Workspace::evaluate_array(std::string_view name, std::string_view text, python::var_array_t& array) {
    return python::literal_bridge().evaluate_array(name, text, array);
}

result_t Workspace::evaluate(std::string_view scope, std::string_view text, var_t* result) {
    for (const char op : {'*', '+'}) {
        const auto at = text.find(std::string{' ', op, ' '});
        if (at == std::string_view::npos) continue;
        var_t a, b;
        if (evaluate(scope, text.substr(0, at), &a) != result_ok) return result_failure;
        if (evaluate(scope, text.substr(at + 3), &b) != result_ok) return result_failure;
        *result = op == '*' ? a * b : a + b;
        return result_ok;
    }
    const auto found = names_.find(trimmed(text));
    return python::literal_bridge().evaluate(scope, found != names_.end() ? std::string_view(found->second) : text,
                                             result);
}

void Workspace::assign(std::string_view name, std::string_view expression) {
    python::literal_bridge().assign(name, expression);
}

}  // namespace tessel::test
