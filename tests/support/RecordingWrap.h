// A bridge to no interpreter that notes what it is asked.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "core/format.h"
#include "core/python.h"

namespace tessel::test {

/// The bridge in use while it lives. Every call is a line of `calls`; `values` answers `evaluate`, which fails with
/// `failure` for any other text.
class RecordingWrap final : public python::IPythonWrap {
public:
    RecordingWrap() { python::set_wrap(this); }
    RecordingWrap(const RecordingWrap&) = delete;
    RecordingWrap& operator=(const RecordingWrap&) = delete;
    ~RecordingWrap() override { python::set_wrap(nullptr); }

    std::shared_ptr<python::ISeries> find_series(const char* expression) override {
        calls.push_back(tessel::format("find_series({})", expression));
        return nullptr;
    }
    void set_array(std::string_view name, const double* data, std::int32_t count) override {
        delete[] data;
        calls.push_back(tessel::format("set_array({}, {})", name, count));
    }
    void set_attribute(std::string_view object, std::string_view key, double value) override {
        calls.push_back(tessel::format("set_attribute({}, {}, {})", object, key, value));
    }
    result_t evaluate_array(std::string_view name, std::string_view text, python::var_array_t& array) override {
        calls.push_back(tessel::format("evaluate_array({}, {})", name, text));
        array = {};
        return failure;
    }
    result_t evaluate(std::string_view scope, std::string_view text, var_t* result) override {
        calls.push_back(tessel::format("evaluate({}, {})", scope, text));
        const auto found = values.find(text);
        if (found == values.end()) return failure;
        *result = found->second;
        return result_ok;
    }
    void assign(std::string_view name, std::string_view expression) override {
        calls.push_back(tessel::format("assign({}, {})", name, expression));
    }

    std::vector<std::string> calls;
    std::map<std::string, var_t, std::less<>> values;
    result_t failure = result_failure;
};

}  // namespace tessel::test
