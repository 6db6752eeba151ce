// A bridge without an interpreter: it notes what it is asked and answers from a list.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "core/python.h"

namespace tessel::test {

/// The bridge in use while it lives. A text without an answer fails with -1 and leaves the value alone.
class ScriptedBridge final : public python::IPythonWrap {
public:
    struct answer_t {
        result_t result = result_failure;
        var_t value;
    };
    struct list_answer_t {
        result_t result = result_failure;
        python::var_array_t list;
    };
    using calls_t = std::vector<std::pair<std::string, std::string>>;

    ScriptedBridge() { python::set_wrap(this); }
    ScriptedBridge(const ScriptedBridge&) = delete;
    ScriptedBridge& operator=(const ScriptedBridge&) = delete;
    ~ScriptedBridge() override { python::set_wrap(nullptr); }

    std::shared_ptr<python::ISeries> find_series(const char*) override { return nullptr; }
    void set_array(std::string_view, const double* data, std::int32_t) override { delete[] data; }
    void set_attribute(std::string_view, std::string_view, double) override {}
    void assign(std::string_view, std::string_view) override {}

    result_t evaluate(std::string_view scope, std::string_view text, var_t* result) override {
        calls.emplace_back(scope, text);
        const auto found = values.find(text);
        if (found == values.end()) return result_failure;
        if (found->second.value.type() != type_unknown) *result = found->second.value;
        return found->second.result;
    }
    result_t evaluate_array(std::string_view name, std::string_view text, python::var_array_t& array) override {
        calls.emplace_back(name, text);
        const auto found = lists.find(text);
        array = found != lists.end() ? found->second.list : python::var_array_t{};
        return found != lists.end() ? found->second.result : result_failure;
    }

    calls_t calls;  ///< scope and text of each evaluation
    std::map<std::string, answer_t, std::less<>> values;
    std::map<std::string, list_answer_t, std::less<>> lists;
};

}  // namespace tessel::test
