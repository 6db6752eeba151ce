// Text services.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "core/export.h"

namespace tessel::str {

/// Replaces every occurrence of `from` in `subject` by `to`, left to right, without reading replaced text again.
/// An empty `from` changes nothing.
BLOCKS_API void replace_all(std::string& subject, const std::string& from, const std::string& to);

/// A valid Python identifier made of a name: line ends and double quotes go, every other byte that an identifier
/// cannot hold becomes "_", a leading digit gets "_" in front. An empty name gives "_".
BLOCKS_API std::string sanitize_identifier(std::string_view name);

/// The same for a dotted path: dots behind the first character stay.
BLOCKS_API std::string sanitize_path(std::string_view path);

/// The number that a text spells in decimal or scientific form ("-1.5", ".5", "1e3"), whatever the process's locale.
/// Beyond the range of a double: infinity or 0. Empty when the text is anything else.
BLOCKS_API std::optional<double> to_double(std::string_view text) noexcept;

/// The shortest decimal text that reads back as exactly this finite number, with a point or an exponent: "0.1",
/// "100000.0", "1e+16". "nan", "inf" and "-inf" for what is not finite.
BLOCKS_API std::string shortest(double v);
BLOCKS_API std::string shortest(float v);

/// The same written to `out`, which has room for 32 bytes; returns the end.
BLOCKS_API char* shortest(double v, char* out) noexcept;

}  // namespace tessel::str
