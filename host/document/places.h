// Places in a JSON text: pointers, lines and columns.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
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

/// Where values begin, each with its pointer, in the order of the text. Of two with one pointer both are told.
using offsets_t = std::vector<std::pair<std::string, std::size_t>>;
offsets_t offsets_of(std::string_view text, const std::vector<std::string>& pointers);

/// Lines and columns of offsets, by pointer; of two with one pointer the last in the text counts.
std::unordered_map<std::string, place_t> lines_of(std::string_view text, offsets_t offsets);

/// The places of values, by pointer.
std::unordered_map<std::string, place_t> places_of(std::string_view text, const std::vector<std::string>& pointers);

/// One segment of a JSON pointer, with "/" in front.
std::string segment(std::string_view key);
std::string segment(std::size_t index);

/// The segments of a JSON pointer, as they are written in it.
std::vector<std::string_view> segments_of(std::string_view pointer);

}  // namespace zarn
