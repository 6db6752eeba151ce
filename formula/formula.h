// A formula as data: what one step of a block computes, for one combination of types.
//
// A straight list of typed values, each made of values before it; equal ones stand once. Everything is total: choices
// compute all their sides, and every operation has a result for every operand. All values are those before the step;
// then the output and the states take over theirs, all at once.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "core/type.h"

namespace tessel {

/// What makes a value of its operands.
enum class op_t : std::uint8_t {
    // leaves; `bits` holds the bytes of a constant, else the number of the input, parameter, state or list
    constant,
    input,
    parameter,
    state,
    list,
    time,
    last_output,
    // one operand
    convert,
    negate,
    absolute,
    square_root,
    sine,
    cosine,
    tangent,
    arc_sine,
    arc_cosine,
    arc_tangent,
    logarithm,
    // two operands of one type
    add,
    subtract,
    multiply,
    divide,
    remainder,
    power,
    bit_and,
    bit_xor,
    shift_left,
    shift_right,
    equal,
    unequal,
    less,
    less_equal,
    greater,
    greater_equal,
    logical_and,
    logical_or,
    // a condition and two values of one type
    select,
    // an int8 index, the value where it chooses none, the values from index 0 on
    choose,
    // see core/exact.h
    between,        // a, b, x
    interpolate1d,  // x, list of breakpoints, list of values
    interpolate2d,  // x1, x2, two lists of breakpoints, list of values
    advance,        // list of times, index, t
    element,        // list, index: at or behind the last element the last one, 0 of an empty list
};

/// One value. Integers of at least 32 bits wrap; narrower ones take part in arithmetic only after a conversion.
struct value_t {
    op_t op = op_t::constant;
    type_t type = type_unknown;
    std::vector<std::int32_t> of{};  ///< numbers of the operands
    std::uint64_t bits = 0;
    const char* name = nullptr;  ///< how a reader knows it, null for none
};

struct input_t {
    const char* name;
    type_t type;
};

/// A value that is fixed while a model runs. A `value` is its bytes.
struct formula_parameter_t {
    const char* name;
    type_t type;
    std::uint64_t value;
};

/// What is kept from step to step, the output too.
struct state_t {
    const char* name = nullptr;
    type_t type = type_unknown;
    std::uint64_t initial = 0;  ///< its bytes at creation
    std::int32_t started = -1;  ///< the value that it takes at the head of a run, -1 for none
    std::int32_t next = -1;     ///< the value that a step gives it
};

struct list_t {
    const char* name;
    std::vector<double> values;
};

struct formula_t {
    std::vector<input_t> inputs;
    std::vector<formula_parameter_t> parameters;
    std::vector<list_t> lists;
    std::vector<state_t> states;
    std::vector<value_t> values;
    state_t output;               ///< of unknown type where the block has none
    std::int32_t taken = -1;      ///< what a block without output hands to its host in a step
    const char* fault = nullptr;  ///< what is wrong with the kernel, null for nothing

    const value_t& at(std::int32_t number) const noexcept { return values[static_cast<std::size_t>(number)]; }
    bool has_output() const noexcept { return output.type != type_unknown; }
};

/// The bytes of a number, and back.
template <class T>
std::uint64_t bits_of(T v) noexcept {
    std::uint64_t bits = 0;
    std::memcpy(&bits, &v, sizeof v);
    return bits;
}
template <class T>
T from_bits(std::uint64_t bits) noexcept {
    T v;
    std::memcpy(&v, &bits, sizeof v);
    return v;
}

/// Calls `use` with a zero of the C++ type of a tag.
template <class Use>
void with_type(type_t type, Use use) {
    [&]<class... T>(type_list<T...>) {
        static_cast<void>(((type == type_of<T> && (use(T{}), true)) || ...));
    }(value_types{});
}

}  // namespace tessel
