// Answers of a bridge, kept from the checks to the compile.
#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <tuple>

#include "core/python.h"

namespace zarn {

/// Stands before a bridge. Between `begin` and `end` a question that has been answered well is not asked again: what is
/// checked is what runs, also for an expression that gives another value each time. Failures are asked again, since
/// they are told on the console.
class Memo final : public python::IPythonWrap {
public:
    explicit Memo(std::shared_ptr<python::IPythonWrap> bridge) : bridge_(std::move(bridge)) {}
    void begin();
    void end();

    std::shared_ptr<python::ISeries> find_series(const char* expression) override;
    void set_array(std::string_view name, const double* values, std::int32_t count) override;
    void set_attribute(std::string_view object, std::string_view key, double value) override;
    tessel::result_t evaluate_array(std::string_view name, std::string_view text, python::var_array_t& array) override;
    tessel::result_t evaluate(std::string_view scope, std::string_view text, tessel::var_t* result) override;
    void assign(std::string_view name, std::string_view expression) override;

private:
    using key_t = std::pair<std::string, std::string>;  // scope and text
    /// Answers from `known`, or by `ask`, whose answer is kept when `good`.
    template <class T, class Ask, class Good>
    T recall(std::map<key_t, T>& known, std::string_view scope, std::string_view text, const Ask& ask,
             const Good& good);

    std::shared_ptr<python::IPythonWrap> bridge_;
    std::mutex mutex_;
    bool keeps_ = false;
    std::map<key_t, tessel::var_t> values_;
    std::map<key_t, python::var_array_t> arrays_;
    std::map<key_t, std::shared_ptr<python::ISeries>> series_;
};

}  // namespace zarn
