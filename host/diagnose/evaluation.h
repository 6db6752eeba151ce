// What the bridge to the workspace answered while a model was checked.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "core/python.h"
#include "host/diagnose/graph.h"

namespace zarn {

/// One question of a block to the bridge.
struct evaluation_t {
    enum class kind_t { value, array, series };
    kind_t kind = kind_t::value;
    std::string scope;  // the block's path with a tail that names the parameter
    std::string text;
    tessel::result_t result = tessel::result_ok;
    tessel::var_t value;
    python::var_array_t array;
    std::string told;  // what the bridge wrote to the console
};
using evaluations_t = std::vector<evaluation_t>;

/// While it lives, stands before the bridge in use, hands every question on and notes question and answer.
class Recorder final : public python::IPythonWrap {
public:
    Recorder();
    Recorder(const Recorder&) = delete;
    Recorder& operator=(const Recorder&) = delete;
    ~Recorder() override;

    /// The questions since the last call.
    evaluations_t take() { return std::exchange(noted_, {}); }

    std::shared_ptr<python::ISeries> find_series(const char* expression) override;
    void set_array(std::string_view name, const double* values, std::int32_t count) override;
    void set_attribute(std::string_view object, std::string_view key, double value) override;
    tessel::result_t evaluate_array(std::string_view name, std::string_view text, python::var_array_t& array) override;
    tessel::result_t evaluate(std::string_view scope, std::string_view text, tessel::var_t* result) override;
    void assign(std::string_view name, std::string_view expression) override;

private:
    void note(evaluation_t evaluation);

    python::IPythonWrap* bridge_;
    python::console_t console_;
    std::string told_;
    evaluations_t noted_;
};

/// The value that a block of a checked model works with for a parameter: what the bridge answered for the scope that
/// ends with `tail`, or what the file holds. An empty value when the bridge refused.
tessel::var_t value_of(const node_t& node, const evaluations_t& evaluations, const char* key, std::string_view tail);

/// The key of the parameter that an expression belongs to, "" when it cannot be told.
std::string key_of(const node_t& node, const evaluation_t& evaluation);

}  // namespace zarn
