// What depends on functions of the C library, whose results differ from machine to machine.
#pragma once

#include <cstdint>
#include <unordered_set>

#include "IMetaModel.h"
#include "PropertiesModel.h"

namespace zarn::verify {

/// Whether a block of a compiled model computes sin, log or another function that no standard gives to the last bit.
bool calls_library(tessel::IMetaBlock& block);

/// Ids of the blocks that do, and of all whose values may depend on one of theirs, in any step.
std::unordered_set<std::uint64_t> depends_on_library(tessel::IMetaModel& model,
                                                     const tessel::PropertiesModel& properties);

}  // namespace zarn::verify
