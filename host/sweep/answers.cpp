#include "host/sweep/answers.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <optional>

#include "core/format.h"
#include "core/str.h"

namespace zarn {
namespace {

using tessel::result_ok;
using tessel::result_t;
using tessel::var_t;

bool is_letter(char c) noexcept { return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_' || c < 0; }

/// Calls `use` with each name in an expression, what stands before it, and whether it is called.
template <class Use>
void for_each_name(std::string_view text, Use use) {
    for (std::size_t i = 0; i < text.size();) {
        if (!is_letter(text[i])) {
            ++i;
            continue;
        }
        const std::size_t begin = i;
        while (i < text.size() && is_letter(text[i])) ++i;
        if (std::isdigit(static_cast<unsigned char>(text[begin])) != 0) continue;
        const auto next = text.find_first_not_of(" \t\n", i);
        use(text.substr(begin, i - begin), text.substr(0, begin), next != std::string_view::npos && text[next] == '(');
    }
}

/// Whether a function can be trusted to look at its arguments only.
bool looks_only_at_arguments(std::string_view name, std::string_view before) {
    // of the interpreter, not of blocks
    constexpr std::string_view builtins = " abs bool float int len list max min pow range round sorted sum tuple ";
    const bool is_member = before.ends_with('.');
    if (!is_member) return builtins.find(tessel::format(" {} ", name)) != std::string_view::npos;
    for (const std::string_view module : {"math.", "np.", "numpy."})
        if (before.ends_with(module)) {
            const auto rest = before.substr(0, before.size() - module.size());
            return rest.empty() || (!is_letter(rest.back()) && rest.back() != '.');
        }
    return false;
}

/// A number as text that is one and nothing else: a float has a point or an exponent.
std::optional<var_t> literal(std::string_view text) {
    const char* end = text.data() + text.size();
    if (std::int32_t whole = 0; std::from_chars(text.data(), end, whole).ptr == end && !text.empty())
        return var_t(whole);
    double value = 0.0;
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    const bool is_float = text.find_first_of(".eE") != std::string_view::npos;
    return stop == end && error == std::errc{} && is_float && std::isfinite(value) ? std::optional<var_t>(value)
                                                                                   : std::nullopt;
}

}  // namespace

VariantBridge::VariantBridge(std::shared_ptr<python::IPythonWrap> bridge, std::vector<std::string> names,
                             std::vector<bool> whole)
    : bridge_(std::move(bridge)) {
    for (std::size_t i = 0; i < names.size(); ++i) {
        name_t name{std::move(names[i]), whole[i], {}, false};
        if (name.name.find('.') == std::string::npos) {
            const auto ask = tessel::format("vars(__import__('__main__')).get('{}', 'none')", name.name);
            name.there = bridge_->evaluate("", ask, &name.base) == result_ok && !name.base.is_text();
            if (name.there && name.base.type() >= tessel::type_flt32) name.integer = false;
        }
        names_.push_back(std::move(name));
    }
}

void VariantBridge::set(std::vector<double> values) {
    values_ = std::move(values);
    bound_ = false;
}

void VariantBridge::reset() {
    values_.clear();
    for (const name_t& name : names_)
        if (name.there) bridge_->assign(name.name, name.base.to_string());
    bound_ = true;
}

std::string VariantBridge::take_shape() { return std::exchange(shape_, {}); }

std::string VariantBridge::text_of(std::size_t name, double value) const {
    if (names_[name].integer) return tessel::format("{}", static_cast<std::int64_t>(value));
    return tessel::str::shortest(value);
}

var_t VariantBridge::value_of(std::size_t name) const {
    const double value = values_[name];
    if (!names_[name].integer) return var_t(value);
    const auto whole = static_cast<std::int64_t>(value);
    return whole == static_cast<std::int32_t>(whole) ? var_t(static_cast<std::int32_t>(whole)) : var_t(whole);
}

void VariantBridge::bind() {
    if (bound_) return;
    bound_ = true;
    for (std::size_t i = 0; i < names_.size(); ++i)
        if (names_[i].name.find('.') == std::string::npos) bridge_->assign(names_[i].name, text_of(i, values_[i]));
}

bool VariantBridge::can_vary(std::string_view text) const {
    bool varies = false;
    for_each_name(text, [&](std::string_view name, std::string_view before, bool called) {
        const auto is_name = [&](const name_t& n) { return n.name == name; };
        varies = varies || std::ranges::any_of(names_, is_name) || (called && !looks_only_at_arguments(name, before));
    });
    return varies;
}

/// Whether the name is what the scope knows by it, and not the member of an object on the way.
bool VariantBridge::is_answered_by(std::string_view scope, std::string_view text, std::size_t name) {
    constexpr double unlikely = 0.3712984071239;
    bridge_->assign(names_[name].name, tessel::str::shortest(unlikely));
    var_t answer;
    const bool same = bridge_->evaluate(scope, text, &answer) == result_ok && answer.type() == tessel::type_flt64 &&
                      static_cast<double>(answer) == unlikely;
    bound_ = false;
    return same;
}

VariantBridge::question_t& VariantBridge::know(std::string_view scope, std::string_view text) {
    const auto [found, is_new] = questions_.try_emplace({std::string(scope), std::string(text)});
    question_t& question = found->second;
    if (!is_new) return question;
    question.varies = can_vary(text);
    if (!question.varies || values_.empty()) return question;
    for (std::size_t i = 0; i < names_.size(); ++i)
        if (names_[i].name == text && is_answered_by(scope, text, i)) question.name = i;
    return question;
}

result_t VariantBridge::evaluate(std::string_view scope, std::string_view text, var_t* result) {
    const auto answered = [&](const var_t& value) {
        *result = value;
        shape_ += static_cast<char>('a' + value.type());
        return result_ok;
    };
    if (const auto number = literal(text)) return answered(*number);
    if (values_.empty()) return bridge_->evaluate(scope, text, result);
    question_t& question = know(scope, text);
    if (question.varies) ++varying_;
    if (question.name != none) return answered(value_of(question.name));
    if (!question.varies && question.answer.type() != tessel::type_unknown) return answered(question.answer);
    bind();
    const result_t asked = bridge_->evaluate(scope, text, result);
    if (asked != result_ok) return asked;
    if (!question.varies) question.answer = *result;
    return answered(*result);
}

result_t VariantBridge::evaluate_array(std::string_view name, std::string_view text, python::var_array_t& array) {
    if (can_vary(text)) ++varying_;
    if (!values_.empty()) bind();
    const result_t asked = bridge_->evaluate_array(name, text, array);
    shape_ += tessel::format("[{},{}:{}]", array.dimensions[0], array.dimensions[1],
                             array.values.empty() ? 0 : static_cast<int>(array.values[0].type()));
    return asked;
}

std::shared_ptr<python::ISeries> VariantBridge::find_series(const char* expression) {
    if (expression != nullptr && can_vary(expression)) ++varying_;
    if (!values_.empty()) bind();
    return bridge_->find_series(expression);
}

void VariantBridge::set_array(std::string_view name, const double* values, std::int32_t count) {
    bridge_->set_array(name, values, count);
}
void VariantBridge::set_attribute(std::string_view object, std::string_view key, double value) {
    bridge_->set_attribute(object, key, value);
}
void VariantBridge::assign(std::string_view name, std::string_view expression) { bridge_->assign(name, expression); }

}  // namespace zarn
