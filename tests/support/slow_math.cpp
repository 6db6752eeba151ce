#include "tests/support/slow_math.h"

#include <algorithm>
#include <bit>
#include <limits>
#include <stdexcept>
#include <utility>

namespace tessel::test {
namespace {

// ---- floats taken apart
/// mantissa * 2^exponent, or not-a-number, or infinity.
struct parts_t {
    bool nan = false;
    bool infinite = false;
    bool negative = false;
    uint128 mantissa = 0;
    int exponent = 0;
};

/// Layout of a float type.
struct layout_t {
    int digits;     ///< bits of a mantissa, the hidden one too
    int lowest;     ///< exponent of the last digit of the smallest numbers
    int top_field;  ///< exponent field of infinity
    int sign_position;
};
constexpr layout_t layout_of(type_t type) {
    return type == type_flt32 ? layout_t{24, -149, 255, 31} : layout_t{53, -1074, 2047, 63};
}

int bit_length(uint128 n) {
    const auto high = static_cast<std::uint64_t>(n >> 64);
    const auto low = static_cast<std::uint64_t>(n);
    return high != 0 ? 128 - std::countl_zero(high) : 64 - std::countl_zero(low);
}

parts_t take_apart(const value_t& v) {
    const layout_t layout = layout_of(v.type);
    const auto field = static_cast<int>(v.bits >> (layout.digits - 1)) & layout.top_field;
    const std::uint64_t fraction = v.bits & ((std::uint64_t{1} << (layout.digits - 1)) - 1);
    parts_t parts;
    parts.negative = (v.bits >> layout.sign_position & 1u) != 0;
    parts.nan = field == layout.top_field && fraction != 0;
    parts.infinite = field == layout.top_field && fraction == 0;
    parts.mantissa = field == 0 ? fraction : fraction | std::uint64_t{1} << (layout.digits - 1);
    parts.exponent = layout.lowest + std::max(field, 1) - 1;
    return parts;
}

/// Drops the last `shift` digits, rounding to nearest, ties to even; `sticky` tells of more digits behind the last.
uint128 round_off(uint128 mantissa, int shift, bool sticky) {
    if (shift > 128) return 0;
    const uint128 kept = shift == 128 ? 0 : mantissa >> shift;
    const uint128 half = uint128{1} << (shift - 1);
    const uint128 dropped = mantissa & ((half << 1) - 1);
    const bool up = dropped > half || (dropped == half && (sticky || (kept & 1u) != 0));
    return kept + (up ? 1u : 0u);
}

/// The nearest value of a float type. With `sticky` the mantissa has more digits than the type.
value_t put_together(parts_t parts, type_t type, bool sticky = false) {
    const layout_t layout = layout_of(type);
    const std::uint64_t sign = std::uint64_t{parts.negative} << layout.sign_position;
    const std::uint64_t infinity = static_cast<std::uint64_t>(layout.top_field) << (layout.digits - 1);
    if (parts.nan) return {type, infinity | infinity >> 1};
    if (parts.infinite) return {type, sign | infinity};
    if (parts.mantissa == 0) return {type, sign};

    const int shift = std::max(bit_length(parts.mantissa) - layout.digits, layout.lowest - parts.exponent);
    uint128 mantissa = shift > 0 ? round_off(parts.mantissa, shift, sticky) : parts.mantissa << -shift;
    int exponent = parts.exponent + shift;
    if (bit_length(mantissa) > layout.digits) {
        mantissa >>= 1;
        ++exponent;
    }
    if (bit_length(mantissa) < layout.digits) return {type, sign | static_cast<std::uint64_t>(mantissa)};
    const int field = exponent - layout.lowest + 1;
    if (field >= layout.top_field) return {type, sign | infinity};
    const auto fraction = static_cast<std::uint64_t>(mantissa) & ((std::uint64_t{1} << (layout.digits - 1)) - 1);
    return {type, sign | static_cast<std::uint64_t>(field) << (layout.digits - 1) | fraction};
}

const parts_t not_a_number{true, false, false, 0, 0};

/// The same number with a mantissa of 126 digits.
parts_t widened(parts_t parts) {
    const int shift = 126 - bit_length(parts.mantissa);
    parts.mantissa <<= shift;
    parts.exponent -= shift;
    return parts;
}

value_t add_floats(const parts_t& a, const parts_t& b, type_t type) {
    if (a.nan || b.nan || (a.infinite && b.infinite && a.negative != b.negative))
        return put_together(not_a_number, type);
    if (a.infinite) return put_together(a, type);
    if (b.infinite) return put_together(b, type);
    if (a.mantissa == 0 && b.mantissa == 0) return put_together({false, false, a.negative && b.negative, 0, 0}, type);
    if (a.mantissa == 0) return put_together(b, type);
    if (b.mantissa == 0) return put_together(a, type);

    parts_t big = widened(a), small = widened(b);
    if (std::pair(big.exponent, big.mantissa) < std::pair(small.exponent, small.mantissa)) std::swap(big, small);
    const int distance = big.exponent - small.exponent;
    const uint128 moved = distance < 128 ? small.mantissa >> distance : 0;
    const bool sticky = distance >= 128 || moved << distance != small.mantissa;
    if (big.negative == small.negative) big.mantissa += moved;
    else big.mantissa -= moved + (sticky ? 1u : 0u);
    if (big.mantissa == 0) big.negative = false;
    return put_together(big, type, sticky);
}

value_t multiply_floats(const parts_t& a, const parts_t& b, type_t type) {
    const bool zero = a.mantissa == 0 || b.mantissa == 0, infinite = a.infinite || b.infinite;
    const bool zero_times_infinity = (a.infinite && !b.infinite && b.mantissa == 0) ||  //
                                     (b.infinite && !a.infinite && a.mantissa == 0);
    if (a.nan || b.nan || zero_times_infinity) return put_together(not_a_number, type);
    const bool negative = a.negative != b.negative;
    if (infinite) return put_together({false, true, negative, 0, 0}, type);
    if (zero) return put_together({false, false, negative, 0, 0}, type);
    return put_together({false, false, negative, a.mantissa * b.mantissa, a.exponent + b.exponent}, type);
}

value_t divide_floats(const parts_t& a, const parts_t& b, type_t type) {
    const bool a_zero = !a.infinite && a.mantissa == 0, b_zero = !b.infinite && b.mantissa == 0;
    if (a.nan || b.nan || (a_zero && b_zero) || (a.infinite && b.infinite)) return put_together(not_a_number, type);
    const bool negative = a.negative != b.negative;
    if (a.infinite || b_zero) return put_together({false, true, negative, 0, 0}, type);
    if (b.infinite || a_zero) return put_together({false, false, negative, 0, 0}, type);
    const parts_t wide = widened(a);
    const uint128 quotient = wide.mantissa / b.mantissa;
    const bool sticky = wide.mantissa % b.mantissa != 0;
    return put_together({false, false, negative, quotient, wide.exponent - b.exponent}, type, sticky);
}

// ---- floats to integers
/// The integer part where it lies within `lowest` to `highest`, else `otherwise`.
int128 truncated(const parts_t& v, int128 lowest, int128 highest, int128 otherwise) {
    if (v.nan || v.infinite) return otherwise;
    if (v.mantissa == 0 || v.exponent <= -64) return 0;  // no mantissa of a port has more than 53 digits
    if (v.exponent > 70) return otherwise;
    const uint128 magnitude = v.exponent < 0 ? v.mantissa >> -v.exponent : v.mantissa << v.exponent;
    const int128 n = v.negative ? -static_cast<int128>(magnitude) : static_cast<int128>(magnitude);
    return n >= lowest && n <= highest ? n : otherwise;
}

constexpr int128 two_to_31 = int128{1} << 31;
constexpr int128 two_to_63 = int128{1} << 63;

int128 float_to_integer(const parts_t& v, type_t type) {
    switch (type) {
        case type_uint64: {
            const int128 above = truncated(v, two_to_63, 2 * two_to_63 - 1, -1);
            if (above >= 0) return above;
            return truncated(v, -two_to_63, two_to_63 - 1, two_to_63);
        }
        case type_int64:
        case type_uint32: return truncated(v, -two_to_63, two_to_63 - 1, -two_to_63);
        default: return truncated(v, -two_to_31, two_to_31 - 1, -two_to_31);
    }
}

bool is_signed(type_t type) {
    return type == type_int8 || type == type_int16 || type == type_int32 || type == type_int64;
}

/// A number that grows with the value of a float.
int128 order_of(const value_t& v) {
    if (!is_float(v.type)) return integer_of(v);
    const std::uint64_t sign = std::uint64_t{1} << layout_of(v.type).sign_position;
    const auto magnitude = static_cast<int128>(v.bits & ~sign);
    return (v.bits & sign) != 0 ? -magnitude : magnitude;
}

}  // namespace

bool is_float(type_t type) { return type == type_flt32 || type == type_flt64; }
bool is_integer(type_t type) { return type != type_bool && !is_float(type) && size_of(type) != 0; }

int128 integer_of(const value_t& v) {
    const int bits = static_cast<int>(size_of(v.type)) * 8;
    const auto n = static_cast<int128>(v.bits);
    return is_signed(v.type) && (v.bits >> (bits - 1) & 1u) != 0 ? n - (int128{1} << bits) : n;
}

value_t integer_as(int128 n, type_t type) {
    if (type == type_bool) return {type, n != 0 ? 1u : 0u};
    const int bits = static_cast<int>(size_of(type)) * 8;
    return {type, static_cast<std::uint64_t>(static_cast<uint128>(n) & ((uint128{1} << bits) - 1))};
}

value_t convert_to(type_t type, const value_t& v) {
    if (type == v.type) return v;
    if (!is_float(v.type)) {
        const int128 n = integer_of(v);
        if (!is_float(type)) return integer_as(n, type);
        return put_together({false, false, n < 0, static_cast<uint128>(n < 0 ? -n : n), 0}, type);
    }
    const parts_t parts = take_apart(v);
    if (is_float(type)) return put_together(parts, type);
    if (type == type_bool) return {type, parts.nan || parts.infinite || parts.mantissa != 0 ? 1u : 0u};
    return integer_as(float_to_integer(parts, type), type);
}

type_t common_type(type_t a, type_t b) { return std::max({a, b, type_int32}); }

value_t compute(char op, const value_t& a, const value_t& b) {
    if (a.type != b.type) throw std::invalid_argument("operands of two types");
    if (is_float(a.type)) {
        const parts_t x = take_apart(a);
        parts_t y = take_apart(b);
        if (op == '*') return multiply_floats(x, y, a.type);
        if (op == '/') return divide_floats(x, y, a.type);
        if (op == '-') y.negative = !y.negative;
        return add_floats(x, y, a.type);
    }
    const int128 x = integer_of(a), y = integer_of(b);
    switch (op) {
        case '+': return integer_as(x + y, a.type);
        case '-': return integer_as(x - y, a.type);
        case '*': return integer_as(static_cast<int128>(static_cast<uint128>(x) * static_cast<uint128>(y)), a.type);
        case '/': return integer_as(x / y, a.type);
        default: throw std::invalid_argument("no such operator");
    }
}

value_t compute_common(char op, const value_t& a, const value_t& b) {
    const type_t type = common_type(a.type, b.type);
    return compute(op, convert_to(type, a), convert_to(type, b));
}

bool less(const value_t& a, const value_t& b) { return !is_nan(a) && !is_nan(b) && order_of(a) < order_of(b); }
bool equal(const value_t& a, const value_t& b) { return !is_nan(a) && !is_nan(b) && order_of(a) == order_of(b); }

// ---- edge values
namespace {

template <class T>
std::vector<value_t> float_edges(bool few) {
    using limits = std::numeric_limits<T>;
    const T two_63 = static_cast<T>(9223372036854775808.0);
    std::vector<T> list{T{0}, T{1}, T(-2.5), T(16777217.0), two_63, limits::infinity(), limits::quiet_NaN(), T(-0.0)};
    if (!few)
        for (const T v : {T(-1),
                          T(0.1),
                          T(0.5),
                          T(0.9),
                          T(-0.9),
                          T(2.5),
                          T(7),
                          T(-7),
                          T(127.9),
                          T(-129),
                          T(255.5),
                          T(256),
                          T(300.7),
                          T(70000),
                          T(2147483647.0),
                          T(2147483648.0),
                          T(-2147483649.0),
                          T(4294967296.0),
                          T(9007199254740993.0),
                          T(-9223372036854775808.0),
                          T(1.5e19),
                          two_63 + two_63,
                          T(3e10),
                          T(-1e30),
                          -limits::infinity(),
                          limits::max(),
                          limits::lowest(),
                          limits::min(),
                          limits::denorm_min(),
                          limits::epsilon(),
                          T(1) / T(3)})
            list.push_back(v);
    std::vector<value_t> values;
    for (const T v : list) values.push_back(value(v));
    return values;
}

}  // namespace

std::vector<value_t> edge_values(type_t type, bool few) {
    if (type == type_bool) return {value(false), value(true)};
    if (type == type_flt32) return float_edges<float>(few);
    if (type == type_flt64) return float_edges<double>(few);

    const int bits = static_cast<int>(size_of(type)) * 8;
    const int128 lowest = is_signed(type) ? -(int128{1} << (bits - 1)) : 0;
    const int128 highest = lowest + (int128{1} << bits) - 1;
    std::vector<int128> list{0, 1, lowest, highest, 3, highest - 29};
    if (!few)
        for (const int128 n : {int128{-1}, int128{2}, int128{-7}, int128{7}, int128{100}, int128{40}, lowest + 1,
                               highest - 1, highest / 2, highest / 2 + 1, (int128{1} << 24) + 1, (int128{1} << 31) - 1,
                               (int128{1} << 53) + 1, (int128{1} << 60) + 1})
            list.push_back(n);
    std::vector<value_t> values;
    for (const int128 n : list)
        if (const value_t v = integer_as(n, type); std::ranges::find(values, v) == values.end()) values.push_back(v);
    return values;
}

}  // namespace tessel::test
