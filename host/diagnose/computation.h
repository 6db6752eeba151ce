// What a block computes, as members of a JSON object.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include "IMetaBlock.h"

namespace zarn {

/// Adds to an object "parameters", which the block has by key, as the file or a default has them; and of a block whose
/// types are known "formula", its lines, and "with", the numbers that they compute with, by the formula's names. A list
/// is an object of its "count" and the first of its "values"; a number that is not finite is a text.
void add_computation(nlohmann::json& object, tessel::IMetaBlock& block);

}  // namespace zarn
