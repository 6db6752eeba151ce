// What can be told of a model in lanes before it is lowered.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "exec/ensemble/model.h"

namespace tessel::ensemble {

struct shape_t {
    std::vector<bool> held;                ///< output is a parameter: there before a run, and never computed
    std::vector<bool> varied;              ///< reached by a place that varies
    std::vector<bool> gates;               ///< input 0 gates another member
    std::vector<std::int32_t> alias;       ///< the member whose output can be read in place of this one's, -1 for none
    std::vector<std::uint32_t> component;  ///< number of each, ascending by first members
    std::uint32_t components = 0;
};

/// `apart`: whether members that do not depend on each other are components of their own.
shape_t shape_of(const model_t& model, std::span<const place_t> places, std::span<const signal_t> signals, bool apart);

}  // namespace tessel::ensemble
