// What the bridge to the workspace answered while a model was checked.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "core/python.h"
#include "host/diagnose/graph.h"

namespace zarn {

/// One question of a block to the bridge, as it was asked.
struct question_t {
    enum class kind_t : std::uint8_t { value, array, series };
    kind_t kind = kind_t::value;
    std::string scope;  // the block's path with a tail that names the parameter
    std::string text;
    tessel::result_t result = tessel::result_ok;
    tessel::var_t value;
    python::var_array_t array;
    std::string told;  // what the bridge wrote to the console
};

/// What a question came to, as far as anything can be said of it.
struct evaluation_t {
    using kind_t = question_t::kind_t;
    /// What most questions do without.
    struct rest_t {
        std::string text;  // of an expression that was refused, or that divides whole numbers
        python::var_array_t array;
        std::string told;
    };
    const tessel::parameter_traits_t* parameter = nullptr;  // null where it cannot be told
    tessel::var_t value;
    std::shared_ptr<const rest_t> rest;
    tessel::result_t result = tessel::result_ok;
    kind_t kind = kind_t::value;

    /// The key of the parameter, "" when it cannot be told.
    std::string key() const { return parameter != nullptr ? parameter->key : ""; }
    const std::string& text() const { return more().text; }
    const python::var_array_t& array() const { return more().array; }
    const std::string& told() const { return more().told; }

private:
    const rest_t& more() const;
};
using evaluations_t = std::span<const evaluation_t>;

/// What the questions of a block came to.
std::vector<evaluation_t> evaluations_of(const node_t& node, std::vector<question_t> asked);

/// The last questions of those blocks of which they are kept: a large model asks a million.
class Evaluations {
public:
    void keep(std::size_t position, std::vector<evaluation_t> last) { kept_[position] = std::move(last); }
    evaluations_t operator[](std::size_t position) const {
        const auto found = kept_.find(position);
        return found != kept_.end() ? evaluations_t(found->second) : evaluations_t();
    }

private:
    std::unordered_map<std::size_t, std::vector<evaluation_t>> kept_;
};

/// While it lives, stands before the bridge in use, hands every question on and notes question and answer.
class Recorder final : public python::IPythonWrap {
public:
    Recorder();
    Recorder(const Recorder&) = delete;
    Recorder& operator=(const Recorder&) = delete;
    ~Recorder() override;

    /// The questions since the last call.
    std::vector<question_t> take() { return std::exchange(noted_, {}); }

    std::shared_ptr<python::ISeries> find_series(const char* expression) override;
    void set_array(std::string_view name, const double* values, std::int32_t count) override;
    void set_attribute(std::string_view object, std::string_view key, double value) override;
    tessel::result_t evaluate_array(std::string_view name, std::string_view text, python::var_array_t& array) override;
    tessel::result_t evaluate(std::string_view scope, std::string_view text, tessel::var_t* result) override;
    void assign(std::string_view name, std::string_view expression) override;

private:
    void note(question_t question);

    python::IPythonWrap* bridge_;
    python::console_t console_;
    std::string told_;
    std::vector<question_t> noted_;
};

/// The value that a block of a checked model works with for a parameter of its class: what the bridge answered, or what
/// the file holds. An empty value when the bridge refused.
tessel::var_t value_of(const node_t& node, evaluations_t evaluations, const tessel::parameter_traits_t& parameter);

}  // namespace zarn
