// Questions about the texts that end up in generated code.
#pragma once

#include <string>
#include <string_view>

namespace zarn {

/// Whether "name_42" is an identifier: letters, digits, underscores and bytes beyond ASCII, no digit first.
bool makes_identifier(std::string_view name);

/// Whether a name between double quotes of generated source ends the string early or changes it.
bool breaks_quotes(std::string_view name);

/// The first name in a parameter's expression that a generated Python program does not have, "" if there is none. The
/// builtins and the modules math and sys are there.
std::string foreign_name(std::string_view expression);

/// Whether six significant digits may not be enough for the value of a parameter's text.
bool needs_more_than_six_digits(std::string_view expression);

}  // namespace zarn
