// Changing members of a JSON object within its text: everything else keeps its bytes.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zarn::edit {

/// Where a member stands in a text.
struct member_t {
    std::string key;        ///< without escapes
    std::size_t begin = 0;  ///< of the key's quote
    std::size_t value = 0;  ///< first byte of the value
    std::size_t end = 0;    ///< behind the value
};

/// Where an object stands in a text.
struct object_t {
    std::size_t open = 0;   ///< its bracket
    std::size_t close = 0;  ///< the bracket that closes it
    std::vector<member_t> members;

    /// The last member of that key, which is the one that counts; null when there is none.
    const member_t* find(std::string_view key) const;
};

/// The object that begins behind blanks at an offset; empty when there is none. Values are not looked into.
std::optional<object_t> read_object(std::string_view text, std::size_t at = 0);

/// Gives a member of the object at an offset a value, written as JSON; a new member comes last, in the manner of those
/// before it. Raises `std::runtime_error` when there is no object.
void set_member(std::string& text, std::size_t at, std::string_view key, std::string_view value);

/// Takes a member out, with its comma.
void remove_member(std::string& text, std::size_t at, std::string_view key);

/// The text of a member's value, "" when there is no such member.
std::string_view value_of(std::string_view text, std::size_t at, std::string_view key);

/// A number as it is written where `before` stands now: with a point where that has one.
std::string number_like(std::string_view before, double value);
/// The same for a new one: whole numbers without a point.
std::string number_text(double value);

/// How new values are written: on one line, or over several as those around them.
struct style_t {
    bool spread = false;     ///< each member on a line of its own
    std::string margin;      ///< blanks before the line that the value begins in
    std::string unit = " ";  ///< blanks of one level
    std::string colon = ": ";
    std::string comma = ", ";  ///< on one line
};

/// The style of an object's text that stands in a line with so many blanks before it.
style_t style_of(std::string_view object, std::string_view margin);

}  // namespace zarn::edit
