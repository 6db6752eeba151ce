// A block class as data: what `zarn blocks --json` prints of it.
#pragma once

#include <nlohmann/json.hpp>

#include "host/reference/reference.h"

namespace zarn {

/// Names, ports, parameters, types and texts of a class.
nlohmann::ordered_json describe_class(const class_row_t& row);

}  // namespace zarn
