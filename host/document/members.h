// The members of a JSON object, from its text alone.
#pragma once

#include <cstddef>
#include <string_view>

#include "files/walk.h"

namespace zarn {

/// Calls `visit(key, value)` for each member of the object that a text holds, both as they are written, a value with
/// the blanks around it. Values are not looked into. Returns whether the text is such an object with nothing behind it
/// and all keys are free of escapes; else those members were told that come before the first that is otherwise.
template <class Visit>
bool each_member(std::string_view object, Visit&& visit) {
    tessel::json::Walk walk(object);
    if (!walk.take('{')) return false;
    if (tessel::json::Walk empty = walk; empty.take('}')) return !empty.skip_blanks();
    for (;;) {
        std::string_view key;
        if (!walk.key(key) || !walk.take(':')) return false;
        const std::size_t begin = walk.at();
        if (!walk.value()) return false;
        visit(key, walk.from(begin));
        if (walk.take('}')) return !walk.skip_blanks();
        if (!walk.take(',')) return false;
    }
}

/// A value without the blanks around it.
inline std::string_view trimmed(std::string_view value) {
    const std::size_t first = value.find_first_not_of(tessel::json::blanks);
    if (first == std::string_view::npos) return {};
    return value.substr(first, value.find_last_not_of(tessel::json::blanks) + 1 - first);
}

}  // namespace zarn
