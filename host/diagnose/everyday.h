// The names that people bring along from other tools.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "framework/entry.h"

namespace zarn {

/// The key that is meant by an everyday name: a parameter of the class, as "expression" by "value", or one among
/// `known`, as "ts" by "dt"; "" when there is none.
std::string everyday_key(std::string_view name, const std::vector<std::string>& known,
                         std::span<const tessel::parameter_traits_t> parameters = {});

}  // namespace zarn
