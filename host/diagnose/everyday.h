// The names that people bring along from other tools.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zarn {

/// The key among `known` that is meant by an everyday name, such as "expression" by "value" or "ts" by "dt"; "" when
/// none is.
std::string everyday_key(std::string_view name, const std::vector<std::string>& known);

}  // namespace zarn
