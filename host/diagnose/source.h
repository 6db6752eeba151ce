// Texts of model files: reading them, and finding the place of a value in them.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace zarn {

/// Lines and columns count from 1, columns in bytes.
struct place_t {
    std::size_t line = 0;
    std::size_t column = 0;
};

/// The place of a byte of a text.
place_t place_at(std::string_view text, std::size_t offset);

enum class token_t { key, text, number, other, open };

/// Calls `visit` for each key and each value of a JSON text that is known to parse, in the order of the text: with the
/// JSON pointer of the value, what it is, and its first and last byte but one. An array or object is told where it
/// opens.
using visit_t = std::function<void(const std::string& pointer, token_t kind, std::size_t first, std::size_t end)>;
void scan(std::string_view text, const visit_t& visit);

/// The places of values, by pointer.
std::unordered_map<std::string, place_t> places_of(std::string_view text, const std::vector<std::string>& pointers);

/// One segment of a JSON pointer, with "/" in front.
std::string segment(std::string_view key);
std::string segment(std::size_t index);

/// "3 blocks", "1 block".
std::string counted(std::size_t count, std::string_view noun);

/// Text for a message: cut where it is long, without line ends.
std::string in_quotes(std::string_view text);

/// Text that does to a terminal nothing but appear, on one line: control characters are blanks, and bytes that are no
/// UTF-8 the mark for such.
std::string printable(std::string_view text);

}  // namespace zarn
