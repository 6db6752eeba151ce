// What the block classes share whose parameters are expressions of the workspace.
#pragma once

#include <initializer_list>

#include "framework/MetaBlock.h"
#include "framework/entry.h"

namespace tessel {

/// One parameter to read and the field that takes its value.
struct reading_t {
    const parameter_traits_t& parameter;
    var_t* value;
};

/// A parameter that is a text is an expression, evaluated in the workspace while types are worked out; a number stands
/// for itself. The failed flag tells afterwards whether a text could not be evaluated: all are tried, the first failure
/// is the result.
class ParameterBlock : public MetaBlock {
public:
    using MetaBlock::MetaBlock;

protected:
    /// Fills the fields of a class whose first parameter decides for all: texts, or values to take as they are.
    result_t read_alike(std::initializer_list<reading_t> readings);
    /// Fills the fields of a class whose parameters are each a text or a number.
    result_t read_each(std::initializer_list<reading_t> readings);
    /// Whether a parameter is written as text.
    bool is_text(const char* key) { return param(key).is_text(); }
    /// Marks the block and hands the result on.
    result_t fail(result_t result) noexcept {
        failed_ = true;
        return result;
    }

private:
    result_t read(const reading_t& reading, bool text);
};

/// A block without inputs: it runs first in every step and depends on nothing but time.
class SourceBlock : public ParameterBlock {
public:
    using ParameterBlock::ParameterBlock;
    std::int8_t calculate_zone() noexcept override {
        zone_ = 0;
        return 0;
    }

protected:
    /// Types an output that has no type yet.
    result_t type_output(type_t type) noexcept {
        outputs_[0].set_type_if_unset(type);
        return result_ok;
    }
};

}  // namespace tessel
