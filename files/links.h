// The links of a model file, read without a document.
#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "PropertiesModel.h"

namespace tessel::json {

/// Reads a list "links" as `PropertiesModel::import_json` does. Empty for one that holds anything unusual: a value of
/// another kind than a file from this library has, a key twice, or text that is no JSON. What becomes of such a list,
/// and what is told of it, is up to the document.
std::optional<std::vector<link_t>> read_links(std::string_view list);

}  // namespace tessel::json
