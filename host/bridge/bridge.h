// The interpreter as the library sees it, whoever has started it.
#pragma once

#include <pybind11/pybind11.h>

#include <functional>
#include <string>

#include "core/python.h"

namespace zarn {

/// Adds the type of the arrays that a bridge hands over to a module, which must have been loaded before any is.
void add_samples(pybind11::module_& module);

/// Asks the functions of the module `zarn._bridge`, or an object with the same ones. Every operation takes the
/// interpreter's lock for itself; none throws.
class CPythonBridge final : public python::IPythonWrap {
public:
    using locator_t = std::function<std::string(std::string_view)>;

    explicit CPythonBridge(pybind11::object functions) : functions_(std::move(functions)) {}
    /// From a scope to the path of the block that it belongs to.
    void set_locator(locator_t locate) { locate_ = std::move(locate); }

    std::shared_ptr<python::ISeries> find_series(const char* expression) override;
    void set_array(std::string_view name, const double* values, std::int32_t count) override;
    void set_attribute(std::string_view object, std::string_view key, double value) override;
    tessel::result_t evaluate_array(std::string_view name, std::string_view text, python::var_array_t& array) override;
    tessel::result_t evaluate(std::string_view scope, std::string_view text, tessel::var_t* result) override;
    void assign(std::string_view name, std::string_view expression) override;

private:
    std::string block_of(std::string_view scope) const;

    pybind11::object functions_;
    locator_t locate_;
};

}  // namespace zarn
