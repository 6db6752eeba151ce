// What the members of a block's JSON object mean, whatever the parser that read them.
#pragma once

#include <cstdint>

#include "PropertiesBlock.h"
#include "core/var.h"

namespace tessel {

/// Fills a block's data from an object. `Object` is a view of a JSON value:
///
/// - `text(key)`, `integer<T>(key)`, `real(key)`: the member under a key as a text, an integer by the rules of
///   core/convert.h, a `float`; empty or 0 where the key is absent
/// - `find(key)`: the member as an optional view
/// - `is_number()`, `to_integer<T>()`, `to_text()`: the value itself
///
/// What is of another kind than asked for raises an exception; the data may then be half read.
template <class Object>
void import_members(PropertiesBlock& block, const Object& in) {
    block.name = in.text("name");
    // a file's 0 leaves a parent that was preset
    if (const auto given = in.template integer<std::uint64_t>("parent"); given != 0) block.parent = given;
    block.id = in.template integer<std::uint64_t>("id");
    block.inportCount = static_cast<std::uint64_t>(std::int64_t{in.template integer<int>("inportCount")});
    block.outportCount = static_cast<std::uint64_t>(std::int64_t{in.template integer<int>("outportCount")});
    if (const auto geometry = in.find("geometry")) {
        block.x = geometry->real("x");
        block.y = geometry->real("y");
        block.width = geometry->real("width");
        block.height = geometry->real("height");
        block.rotation = geometry->real("rotation");
    }
    // "backgroundColor" is the older key of "bg"
    auto color = in.find("bg");
    if (!color) color = in.find("backgroundColor");
    if (color) {
        block.red = color->real("red");
        block.green = color->real("green");
        block.blue = color->real("blue");
        block.alpha = color->real("alpha");
    }
    for (auto& [key, parameter] : block.parameters) {
        const auto given = in.find(key);
        if (!given) continue;
        if (given->is_number()) parameter.value = var_t(given->template to_integer<int>());
        else parameter.value = given->to_text();
    }
}

}  // namespace tessel
