// Integers out of JSON, for any number that a file can hold.
#pragma once

#include <nlohmann/json.hpp>

#include "core/convert.h"

namespace tessel {

/// A JSON number as an integer: fractions are cut towards zero, and a number out of range converts by the rules of
/// core/convert.h, where the JSON library would leave the result open. Raises the library's `type_error` 302 for what
/// is no number.
template <class T>
T to_integer(const nlohmann::json& value) {
    return value.is_number_float() ? convert<T>(value.get<double>()) : value.get<T>();
}

/// The integer under a key, 0 where the key is absent. Raises the library's `type_error` 306 when `object` is none.
template <class T>
T integer_at(const nlohmann::json& object, const char* key) {
    const auto found = object.find(key);
    return object.is_object() && found != object.end() ? to_integer<T>(*found) : object.value(key, T{0});
}

}  // namespace tessel
