// Inputs and signals of a unit under the names that people give them.
#pragma once

#include <string>
#include <vector>

#include "coder/exact/unit.h"

namespace tessel::exact {

struct column_t {
    std::string name;
    cell_number cell;
};

/// The inputs, by their place among the inputs ("setpoint").
std::vector<column_t> input_columns(const unit_t& unit);
/// What can be read behind a step of all that blocks put out or take in, by the path as a probe has it, in the order of
/// the run; the block's id behind it where several have one path.
std::vector<column_t> signal_columns(const unit_t& unit);

/// The head of every file.
std::string banner_of(const unit_t& unit);

}  // namespace tessel::exact
