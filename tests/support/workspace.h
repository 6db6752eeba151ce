// A workspace for tests without an interpreter: reads the scripts of tests/data/vectors.
#pragma once

#include <filesystem>
#include <map>
#include <string>

#include "core/python.h"

namespace tessel::test {

/// The bridge in use while it lives. A script holds assignments of literals and of series ("s = zarn.TimeSeries('s')",
/// "s.xdata = [...]", "s.ydata = [...]"); an expression is a literal, a name, or two of them joined by * or +.
class Workspace final : public python::IPythonWrap {
public:
    Workspace();
    ~Workspace() override;
    Workspace(const Workspace&) = delete;
    Workspace& operator=(const Workspace&) = delete;

    /// Runs a script; a line that it does not understand raises `std::invalid_argument`.
    void run(const std::filesystem::path& script);

    std::shared_ptr<python::ISeries> find_series(const char* expression) override;
    void set_array(std::string_view name, const double* values, std::int32_t count) override;
    void set_attribute(std::string_view object, std::string_view key, double value) override;
    result_t evaluate_array(std::string_view name, std::string_view text, python::var_array_t& array) override;
    result_t evaluate(std::string_view scope, std::string_view text, var_t* result) override;
    void assign(std::string_view name, std::string_view expression) override;

private:
    std::map<std::string, std::string, std::less<>> names_;  // to the text of the literal
};

}  // namespace tessel::test
