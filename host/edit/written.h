// New values in the manner of those around them.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "host/edit/objects.h"

namespace zarn::edit {

/// The value as text. With a spread style each member stands on a line of its own, the first line without its blanks.
std::string written(const nlohmann::ordered_json& value, const style_t& style);

/// The style of a value that is a member of a block, for an element with that style.
style_t inner_style(style_t element);

}  // namespace zarn::edit
