// What kernels compute with, on plain numbers. formula/traced.h has the same for values that remember how they came
// about, so that a kernel template with `traced` for every type tells its formula.
//
// Types are told by values: like(u, v) is v in the type of u. Numbers of a fixed type (flt64, bool, uint64) have their
// usual operators; numbers of any type have comparisons, and arithmetic by name.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <type_traits>

#include "core/convert.h"
#include "core/num.h"
#include "core/type.h"
#include "formula/port_lists.h"

namespace tessel {

template <class T>
concept number = std::is_arithmetic_v<T> &&(type_of<T> != type_unknown);

/// `T` beside a value V of any type: T for plain numbers, its traced counterpart for traced ones.
template <class V, class T>
struct beside {
    using type = T;
};
template <class V, class T>
using with = typename beside<V, T>::type;

// ---- conversions
template <number T, number V>
T like(T, V v) noexcept {
    return convert<T>(v);
}
template <number V>
bool truth(V v) noexcept {
    return convert<bool>(v);
}
template <number V>
double flt64(V v) noexcept {
    return convert<double>(v);
}
template <number V>
std::int8_t int8(V v) noexcept {
    return convert<std::int8_t>(v);
}
template <number V>
std::int32_t int32(V v) noexcept {
    return convert<std::int32_t>(v);
}
template <number V>
std::uint32_t uint32(V v) noexcept {
    return convert<std::uint32_t>(v);
}
/// A float as it is, anything else in flt64.
template <number V>
auto real(V v) noexcept {
    if constexpr (std::is_floating_point_v<V>) return v;
    else return convert<double>(v);
}
/// Some value of the highest type among several, for `like`.
template <number... T>
constexpr highest<T...> highest_of(T...) noexcept {
    return {};
}
/// The largest value of a type, and the lowest of an integer type or the smallest positive normal one of a float type.
template <number T>
T largest_like(T) noexcept {
    return std::numeric_limits<T>::max();
}
template <number T>
T smallest_like(T) noexcept {
    return std::numeric_limits<T>::min();
}
/// A number of that type out of a record.
template <number T>
T loaded_like(T, const void* record) noexcept {
    return *static_cast<const T*>(record);
}

// ---- arithmetic in the common type of two operands; integers wrap
/// The type in which two values meet: integers narrower than 32 bits widen to int32, of two integers of one width the
/// unsigned wins, an integer meets a float in the float's type.
template <number A, number B>
using common = std::common_type_t<decltype(+A{}), decltype(+B{})>;

namespace detail {

/// An operand of the common type C.
template <class C, number V>
C operand(V v) noexcept {
    if constexpr (std::is_same_v<V, bool>) return v ? C{1} : C{0};
    else return convert<C>(v);
}

template <class Op, number A, number B>
auto wrapping(A a, B b) noexcept {
    using C = common<A, B>;
    if constexpr (std::is_floating_point_v<C>) {
        return Op{}(operand<C>(a), operand<C>(b));
    } else {
        using U = std::make_unsigned_t<C>;
        return static_cast<C>(Op{}(static_cast<U>(operand<C>(a)), static_cast<U>(operand<C>(b))));
    }
}

inline double divided(double a, double b) noexcept { return a / b; }
inline float divided(float a, float b) noexcept { return a / b; }
inline std::int32_t divided(std::int32_t a, std::int32_t b) noexcept { return exact_divide_i32(a, b); }
inline std::uint32_t divided(std::uint32_t a, std::uint32_t b) noexcept { return exact_divide_u32(a, b); }
inline std::int64_t divided(std::int64_t a, std::int64_t b) noexcept { return exact_divide_i64(a, b); }
inline std::uint64_t divided(std::uint64_t a, std::uint64_t b) noexcept { return exact_divide_u64(a, b); }

inline double left_over(double a, double b) noexcept { return std::fmod(a, b); }
inline float left_over(float a, float b) noexcept { return std::fmod(a, b); }
inline std::int32_t left_over(std::int32_t a, std::int32_t b) noexcept { return exact_remainder_i32(a, b); }
inline std::uint32_t left_over(std::uint32_t a, std::uint32_t b) noexcept { return exact_remainder_u32(a, b); }
inline std::int64_t left_over(std::int64_t a, std::int64_t b) noexcept { return exact_remainder_i64(a, b); }
inline std::uint64_t left_over(std::uint64_t a, std::uint64_t b) noexcept { return exact_remainder_u64(a, b); }

}  // namespace detail

template <number A, number B>
auto sum(A a, B b) noexcept {
    return detail::wrapping<std::plus<>>(a, b);
}
template <number A, number B>
auto difference(A a, B b) noexcept {
    return detail::wrapping<std::minus<>>(a, b);
}
template <number A, number B>
auto product(A a, B b) noexcept {
    return detail::wrapping<std::multiplies<>>(a, b);
}
/// Integers truncate toward zero, and over 0 give 0.
template <number A, number B>
auto quotient(A a, B b) noexcept {
    using C = common<A, B>;
    return detail::divided(detail::operand<C>(a), detail::operand<C>(b));
}
/// With the sign of the dividend; integers modulo 0 give 0.
template <number A, number B>
auto remainder(A a, B b) noexcept {
    using C = common<A, B>;
    return detail::left_over(detail::operand<C>(a), detail::operand<C>(b));
}

// ---- choices. All sides are computed: nothing here has a side effect or fails.
template <number T>
T select(bool condition, T a, T otherwise) noexcept {
    return condition ? a : otherwise;
}
/// Cases: the value behind the first condition that holds, else the last.
template <number T, class... More>
T select(bool condition, T a, bool second, T b, More... more) noexcept {
    return condition ? a : select(second, b, more...);
}
/// u[first], u[first + 1], ... by an index, u[otherwise] where there is none.
template <number T, std::size_t N>
T choose(const std::array<const T*, N>& u, std::int8_t index, std::size_t first, std::size_t otherwise) noexcept {
    const bool chosen = index >= 0 && index < static_cast<int>(N - first);
    return *u[chosen ? static_cast<std::size_t>(index) + first : otherwise];
}

// ---- functions, each in its operand's own precision
// clang-format off
template <std::floating_point F> F absolute(F v) noexcept { return std::fabs(v); }
template <std::floating_point F> F square_root(F v) noexcept { return std::sqrt(v); }
template <std::floating_point F> F sine(F v) noexcept { return std::sin(v); }
template <std::floating_point F> F cosine(F v) noexcept { return std::cos(v); }
template <std::floating_point F> F tangent(F v) noexcept { return std::tan(v); }
template <std::floating_point F> F arc_sine(F v) noexcept { return std::asin(v); }
template <std::floating_point F> F arc_cosine(F v) noexcept { return std::acos(v); }
template <std::floating_point F> F arc_tangent(F v) noexcept { return std::atan(v); }
template <std::floating_point F> F logarithm(F v) noexcept { return std::log(v); }
template <std::floating_point F> F power(F base, F exponent) noexcept { return std::pow(base, exponent); }
// clang-format on
/// From a at 0 to b at 1.
inline double between(double a, double b, double x) noexcept { return exact_between(a, b, x); }

// ---- lists, whose owner is elsewhere
struct list_view {
    const double* data = nullptr;
    std::uint64_t count = 0;
};
/// In a table of points; `out` is at least as long as `bp`.
inline double interpolate(double x, const list_view& bp, const list_view& out) noexcept {
    return num::interpolate1d_clip(x, bp.data, out.data, bp.count);
}
/// In a table of rows.
inline double interpolate(double x1, double x2, const list_view& bp1, const list_view& bp2,
                          const list_view& out) noexcept {
    return num::interpolate2d_clip(x1, x2, bp1.data, bp2.data, out.data, bp1.count, bp2.count);
}
/// The first element from `index` on that is not below t, the count of elements past the last.
inline std::uint64_t advance(const list_view& times, std::uint64_t index, double t) noexcept {
    return exact_advance(times.data, times.count, index, t);
}
/// One element; the owner holds one more than the count, as python::array_t does.
inline double element(const list_view& values, std::uint64_t index) noexcept { return values.data[index]; }

/// A value that a reader of the formula knows by name.
template <number V>
V named(const char*, V v) noexcept {
    return v;
}

}  // namespace tessel
