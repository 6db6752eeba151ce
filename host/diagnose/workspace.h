// Expressions that wait for a workspace: one finding for all of them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zarn {

/// The names that an expression takes from the workspace: identifiers that are neither attributes nor known from the
/// start, in the order in which they appear.
std::vector<std::string> names_in(std::string_view expression);

/// "K", "K and L", "K, L and R", "K, L, R ...".
std::string few_of(const std::vector<std::string>& names);

}  // namespace zarn
