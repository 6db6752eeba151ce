// Words and names for messages.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace zarn {

/// "3 blocks", "1 block".
std::string counted(std::size_t count, std::string_view noun);

/// Columns of a table are no wider; what is longer pushes its own line only.
inline constexpr std::size_t widest_column = 60;

/// The characters of a text in UTF-8.
std::size_t characters(std::string_view text) noexcept;

/// Text for a message: cut where it is long, without line ends.
std::string in_quotes(std::string_view text);

/// JSON with its control characters beyond ASCII, and the marks that turn the direction of a text, as escapes.
std::string plain_json(std::string_view json);

/// Text that does to a terminal nothing but appear, on one line: control characters are blanks, and bytes that are no
/// UTF-8 the mark for such.
std::string printable(std::string_view text);

}  // namespace zarn
