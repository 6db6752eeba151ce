// Loads model files.
#pragma once

#include <cstddef>
#include <string_view>

#include "IMetaModel.h"
#include "core/export.h"
#include "core/result.h"

namespace tessel::json {

/// Loads a model file, with the files that it refers to. What goes wrong is told on the console and gives -1; what was
/// inserted up to then stays in the model.
BLOCKS_API result_t load(IMetaModel* model, std::string_view path);

/// Loads a file under the block `parent_id`, with fresh ids and without its settings.
BLOCKS_API result_t load(IMetaModel* model, std::string_view path, std::size_t parent_id);

}  // namespace tessel::json
