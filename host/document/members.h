// The members of a JSON object, from its text alone.
#pragma once

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "files/walk.h"

namespace zarn {

/// Calls `visit(key, value)` for each member of the object that follows, both as they are written, a value with the
/// blanks around it, and goes behind the object. Values are not looked into. Returns whether it is such an object and
/// all keys are free of escapes; else those members were told that come before the first that is otherwise.
template <class Visit>
bool walk_members(tessel::json::Walk& walk, Visit&& visit) {
    if (!walk.take('{')) return false;
    if (walk.take('}')) return true;
    for (;;) {
        std::string_view key;
        if (!walk.key(key) || !walk.take(':')) return false;
        const std::size_t begin = walk.at();
        if (!walk.value()) return false;
        visit(key, walk.from(begin));
        if (walk.take('}')) return true;
        if (!walk.take(',')) return false;
    }
}

/// The same for a text that holds one object and nothing else.
template <class Visit>
bool each_member(std::string_view object, Visit&& visit) {
    tessel::json::Walk walk(object);
    return walk_members(walk, visit) && !walk.skip_blanks();
}

/// Calls `visit` for each member of a block in an element of "blocks", which is an object with the class as its only
/// key. Returns the class; an empty one where the element is anything else.
template <class Visit>
std::string_view each_member_of_block(std::string_view element, Visit&& visit) {
    tessel::json::Walk walk(element);
    std::string_view name;
    const bool read = walk.take('{') && walk.key(name) && walk.take(':') && walk_members(walk, visit) && walk.take('}');
    return read && !walk.skip_blanks() ? name : std::string_view();
}

/// The id that a value writes in decimal digits; 0 for any other value.
inline std::uint64_t id_of(std::string_view value) {
    std::uint64_t id = 0;
    std::from_chars(value.data(), value.data() + value.size(), id);
    return id;
}

/// The text that a value stands for, "" for one that is no text.
std::string text_of(std::string_view value);

/// A value without the blanks around it.
inline std::string_view trimmed(std::string_view value) {
    while (!value.empty() && tessel::json::is_blank(value.front())) value.remove_prefix(1);
    while (!value.empty() && tessel::json::is_blank(value.back())) value.remove_suffix(1);
    return value;
}

}  // namespace zarn
