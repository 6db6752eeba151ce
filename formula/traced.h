// A value that remembers how it came about: what formula/value.h offers, for formulas.
//
// One class for all eleven types, so that a kernel template has one traced instantiation. What the compiler checks for
// plain numbers is checked while tracing: operands of one type, members of their declared type. What does not hold is
// noted in the formula as its fault. A condition is a value too, so `if` on one does not compile.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <span>

#include "formula/formula.h"
#include "formula/value.h"

namespace tessel {

/// The number of a value in the formula that is being traced on this thread.
class traced {
public:
    traced() = default;
    /// A constant.
    template <number T>
    traced(T v) noexcept : traced(type_of<T>, bits_of(v)) {}
    traced(type_t type, std::uint64_t bits) noexcept;
    /// A value made of others.
    traced(op_t op, type_t type, std::span<const traced> of) noexcept;
    traced(op_t op, type_t type, std::initializer_list<traced> of) noexcept
        : traced(op, type, std::span(of.begin(), of.size())) {}
    /// A leaf.
    traced(op_t op, type_t type, std::size_t index, const char* name) noexcept;

    type_t type() const noexcept { return type_; }
    std::int32_t number() const noexcept { return number_; }

    friend traced operator+(traced a, traced b) noexcept;
    friend traced operator-(traced a, traced b) noexcept;
    friend traced operator*(traced a, traced b) noexcept;
    friend traced operator%(traced a, traced b) noexcept;
    friend traced operator&(traced a, traced b) noexcept;
    friend traced operator^(traced a, traced b) noexcept;
    friend traced operator<<(traced a, traced n) noexcept;
    friend traced operator>>(traced a, traced n) noexcept;
    friend traced operator==(traced a, traced b) noexcept;
    friend traced operator!=(traced a, traced b) noexcept;
    friend traced operator<(traced a, traced b) noexcept;
    friend traced operator<=(traced a, traced b) noexcept;
    friend traced operator>(traced a, traced b) noexcept;
    friend traced operator>=(traced a, traced b) noexcept;
    friend traced operator&&(traced a, traced b) noexcept;
    friend traced operator||(traced a, traced b) noexcept;
    friend traced operator!(traced a) noexcept;

private:
    std::int32_t number_ = -1;
    type_t type_ = type_unknown;
};

/// The value itself; a fault where it has another type.
traced expect_type(traced v, type_t type) noexcept;

/// A traced value of one fixed type.
template <class T>
class traced_of : public traced {
public:
    traced_of(T v = T{}) noexcept : traced(v) {}
    traced_of(traced v) noexcept : traced(expect_type(v, type_of<T>)) {}
};

/// A list of the formula: until it is one, what the kernel took from its record.
class traced_list {
public:
    traced_list() = default;
    traced_list(const list_view& view) noexcept : view_(view) {}
    const list_view& view() const noexcept { return view_; }
    traced value() const noexcept { return value_; }
    void set_value(traced value) noexcept { value_ = value; }

private:
    list_view view_;
    traced value_;
};

template <class T>
struct beside<traced, T> {
    using type = traced_of<T>;
};
template <>
struct beside<traced, list_view> {
    using type = traced_list;
};

traced like(traced u, traced v) noexcept;
traced_of<bool> truth(traced v) noexcept;
traced_of<double> flt64(traced v) noexcept;
traced_of<std::int8_t> int8(traced v) noexcept;
traced_of<std::int32_t> int32(traced v) noexcept;
traced_of<std::uint32_t> uint32(traced v) noexcept;
traced real(traced v) noexcept;
traced highest_of(traced a, traced b) noexcept;
traced highest_of(traced a, traced b, traced c) noexcept;
traced largest_like(traced u) noexcept;
traced smallest_like(traced u) noexcept;
traced loaded_like(traced u, const void* record) noexcept;

traced sum(traced a, traced b) noexcept;
traced difference(traced a, traced b) noexcept;
traced product(traced a, traced b) noexcept;
traced quotient(traced a, traced b) noexcept;
traced remainder(traced a, traced b) noexcept;

traced select(traced condition, traced a, traced otherwise) noexcept;
template <class... More>
traced select(traced condition, traced a, traced second, traced b, More... more) noexcept {
    return select(condition, a, select(second, b, traced(more)...));
}
traced choose(std::span<const traced* const> u, traced index, std::size_t first, std::size_t otherwise) noexcept;
template <std::size_t N>
traced choose(const std::array<const traced*, N>& u, traced index, std::size_t first, std::size_t otherwise) noexcept {
    return choose(std::span<const traced* const>(u), index, first, otherwise);
}

traced absolute(traced v) noexcept;
traced square_root(traced v) noexcept;
traced sine(traced v) noexcept;
traced cosine(traced v) noexcept;
traced tangent(traced v) noexcept;
traced arc_sine(traced v) noexcept;
traced arc_cosine(traced v) noexcept;
traced arc_tangent(traced v) noexcept;
traced logarithm(traced v) noexcept;
traced power(traced base, traced exponent) noexcept;
traced between(traced a, traced b, traced x) noexcept;
traced interpolate(traced x, const traced_list& bp, const traced_list& out) noexcept;
traced interpolate(traced x1, traced x2, const traced_list& bp1, const traced_list& bp2,
                   const traced_list& out) noexcept;
traced advance(const traced_list& times, traced index, traced t) noexcept;
traced element(const traced_list& values, traced index) noexcept;

traced named(const char* name, traced v) noexcept;

}  // namespace tessel
