// The links of a model file, read without a document.
#pragma once

#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "PropertiesModel.h"

namespace tessel::json {

/// Reads the elements of "links" as `PropertiesModel::import_json` does. Empty for a list that holds anything unusual:
/// a value of another kind than a file from this library has, a key twice, or text that is no JSON. What becomes of
/// such a list, and what is told of it, is up to the document. `padding` bytes behind each element must be readable.
std::optional<std::vector<link_t>> read_links(std::span<const std::string_view> elements);

}  // namespace tessel::json
