// Expressions as they stand in a block: with the brackets that their place needs, and without what says nothing.
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace zarn::draw {

/// The pattern with the value of each "{key}" in its place. A value in front of a dot for "times", or behind " + ",
/// gets brackets where it needs them; a factor of one and a summand of nought are left out.
std::string fill_caption(std::string_view pattern, const std::function<std::string(std::string_view key)>& value_of);

}  // namespace zarn::draw
