// What the table blocks share: reading their lists from the workspace and writing them out.
#pragma once

#include <string>
#include <vector>

#include "core/python.h"
#include "framework/MetaBlock.h"
#include "framework/entry.h"

namespace tessel {

/// A block with a table that is read once, while types are worked out.
class LookupBlock : public MetaBlock {
public:
    using MetaBlock::MetaBlock;

protected:
    /// Evaluates the list of a parameter.
    result_t evaluate_list(const parameter_traits_t& parameter, python::var_array_t& list) {
        return python::wrap()->evaluate_array(properties_->python_path + parameter.scope, param_text(parameter.key),
                                              list);
    }
    static void append(std::vector<double>& values, const python::var_array_t& list) {
        for (const var_t& value : list.values) values.push_back(double(value));
    }
    /// Types the ports that have no type yet.
    void type_ports(type_t type) noexcept {
        for (port_t& port : inputs_) port.set_type_if_unset(type);
        outputs_[0].set_type_if_unset(type);
    }
    static void write_element_c(sys::File& file, const std::string& array, std::size_t index, double value) {
        write_indented(1, file, "{}[{}] = {:g};\n", array, index, value);
    }
};

}  // namespace tessel
