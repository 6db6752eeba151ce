// Writes a compiled model as a stand-alone C project.
#pragma once

#include <string_view>

#include "IMetaModel.h"
#include "core/export.h"
#include "core/result.h"

namespace coder_c {

/// Writes the project folder "zarn-ccoder" below `folder`, over an older one. The model must be compiled; its live
/// blocks are reordered.
/// @return result_ok, or result_failure when a folder or file could not be written; what was written stays.
BLOCKS_API tessel::result_t generate_code(std::string_view folder, tessel::IMetaModel* model) noexcept;

}  // namespace coder_c
