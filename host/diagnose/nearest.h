// What was most likely meant by a name that nobody knows.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace zarn {

/// Number of single changes (a byte replaced, added or taken out) from one word to another; `most` where it is that or
/// more, which is all that is worth knowing of words that are far apart.
std::size_t edit_distance(std::string_view a, std::string_view b, std::size_t most);

/// The name among `known` that is most likely meant by `given`, "" when none is near. Capitals count as small letters.
std::string nearest_name(std::string_view given, const std::vector<std::string>& known);

}  // namespace zarn
