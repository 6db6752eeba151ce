// Steps a block class through all its accepted combinations of types and compares it with a reference.
#pragma once

#include <functional>
#include <optional>
#include <span>

#include "tests/support/block_test.h"

namespace tessel::test {

struct walk_t {
    const char* class_name;
    /// The output's value, or nothing where the inputs end the process.
    std::function<std::optional<value_t>(std::span<const value_t> inputs, type_t output)> expected;
    /// Readies a block whose sources have the row's input types. By default the class's own rule types the ports.
    std::function<void(Bench& bench, const signature_t& row)> prepare = nullptr;
    /// Takes few edge values of each type.
    bool few = false;
};

/// For every accepted combination: a block can be made for it, the rule gives its ports these types, the object bears
/// the block's id and zone, and both its step and its lowered step give the reference's bits over all choices of edge
/// values. Stops at the first difference.
void walk(const walk_t& what);

/// The input types of a row.
std::span<const type_t> input_types(const signature_t& row);
/// The type of its output.
type_t output_type(const signature_t& row);

}  // namespace tessel::test
