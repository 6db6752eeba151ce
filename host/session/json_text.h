// Numbers and texts as JSON writes them.
#pragma once

#include <charconv>
#include <cmath>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <type_traits>

#include "core/str.h"
#include "host/diagnose/source.h"

namespace zarn {

/// A JSON string; bytes that are no UTF-8 are replaced.
inline std::string json_string(std::string_view text) {
    return plain_json(nlohmann::json(text).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace));
}

/// A number that every reader of doubles reads back exactly: floats in the shortest such form, nan, inf and -inf within
/// `quote`, integers with all digits, a bool as 0 or 1.
template <class T>
void append_number(std::string& text, T value, const char* quote = "") {
    if constexpr (std::is_floating_point_v<T>) {
        const bool finite = std::isfinite(value);
        if (!finite) text += quote;
        char buffer[32];
        text.append(buffer, tessel::str::shortest(static_cast<double>(value), buffer));
        if (!finite) text += quote;
    } else if constexpr (std::is_same_v<T, bool>) {
        text += value ? '1' : '0';
    } else {
        char buffer[24];
        text.append(buffer, std::to_chars(buffer, buffer + sizeof buffer, value).ptr);
    }
}

}  // namespace zarn
