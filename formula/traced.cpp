#include "formula/traced.h"

#include <algorithm>
#include <utility>

#include "formula/tracer.h"

namespace tessel {

namespace {

constexpr bool is_float(type_t t) noexcept { return t == type_flt32 || t == type_flt64; }

/// `common` of formula/value.h, by tags.
constexpr type_t common_type(type_t a, type_t b) noexcept { return std::max({a, b, type_int32}); }

template <class... T>
constexpr bool same_as_common(type_list<T...>) noexcept {
    const auto row = []<class A>(A) { return ((common_type(type_of<A>, type_of<T>) == type_of<common<A, T>>)&&...); };
    return (row(T{}) && ...);
}
static_assert(same_as_common(value_types{}));

void expect(bool good, const char* what) noexcept {
    if (!good && tracer::current() != nullptr) tracer::current()->fail(what);
}

/// The value's place in the formula, null outside of a trace.
value_t* find(traced v) noexcept {
    tracer* tracer = tracer::current();
    return tracer != nullptr && v.number() >= 0 ? &tracer->formula.values[static_cast<std::size_t>(v.number())]
                                                : nullptr;
}

std::int32_t added(value_t value) noexcept {
    tracer* tracer = tracer::current();
    return tracer != nullptr ? tracer->add(std::move(value)) : -1;
}

traced converted(traced v, type_t to) noexcept {
    if (v.type() == to) return v;
    const value_t* value = find(v);
    if (value == nullptr || value->op != op_t::constant) return {op_t::convert, to, {v}};
    std::uint64_t bits = 0;
    with_type(v.type(), [&]<class From>(From) {
        with_type(to, [&]<class To>(To) { bits = bits_of(convert<To>(from_bits<From>(value->bits))); });
    });
    return {to, bits};
}

traced meeting(op_t op, traced a, traced b) noexcept {
    const type_t c = common_type(a.type(), b.type());
    return {op, c, {converted(a, c), converted(b, c)}};
}
traced function(op_t op, traced v) noexcept {
    expect(is_float(v.type()), "a function of an integer");
    return {op, v.type(), {v}};
}
traced same(op_t op, traced a, traced b) noexcept {
    expect(a.type() == b.type(), "operands of two types");
    return {op, a.type(), {a, b}};
}
/// For the operators that plain numbers have from the language: exact only where that neither widens nor overflows.
traced native(op_t op, traced a, traced b) noexcept {
    expect(is_float(a.type()) || a.type() == type_uint64 || a.type() == type_uint32,
           "an operator on a type that wraps or widens");
    return same(op, a, b);
}
traced compared(op_t op, traced a, traced b) noexcept {
    expect(a.type() == b.type(), "two types compared");
    return {op, type_bool, {a, b}};
}
traced logical(op_t op, traced a, traced b) noexcept {
    return {op, type_bool, {expect_type(a, type_bool), expect_type(b, type_bool)}};
}
template <class Limit>
traced limit_like(type_t type, Limit limit) noexcept {
    traced out;
    with_type(type, [&]<class T>(T v) { out = traced(limit(v)); });
    return out;
}

}  // namespace

traced::traced(type_t type, std::uint64_t bits) noexcept
    : number_(added({op_t::constant, type, {}, bits})), type_(type) {}

traced::traced(op_t op, type_t type, std::span<const traced> of) noexcept : type_(type) {
    value_t value{op, type};
    for (const traced& operand : of) {
        expect(operand.number() >= 0, "an operand without a value");
        value.of.push_back(std::max(operand.number(), 0));
    }
    number_ = added(std::move(value));
}

traced::traced(op_t op, type_t type, std::size_t index, const char* name) noexcept
    : number_(added({op, type, {}, index, name})), type_(type) {}

traced expect_type(traced v, type_t type) noexcept {
    expect(v.type() == type, "a value is not of the declared type");
    return v;
}

traced like(traced u, traced v) noexcept { return converted(v, u.type()); }
traced_of<bool> truth(traced v) noexcept { return converted(v, type_bool); }
traced_of<double> flt64(traced v) noexcept { return converted(v, type_flt64); }
traced_of<std::int8_t> int8(traced v) noexcept { return converted(v, type_int8); }
traced_of<std::int32_t> int32(traced v) noexcept { return converted(v, type_int32); }
traced_of<std::uint32_t> uint32(traced v) noexcept { return converted(v, type_uint32); }
traced real(traced v) noexcept { return is_float(v.type()) ? v : converted(v, type_flt64); }
traced highest_of(traced a, traced b) noexcept { return a.type() >= b.type() ? a : b; }
traced highest_of(traced a, traced b, traced c) noexcept { return highest_of(a, highest_of(b, c)); }
traced largest_like(traced u) noexcept {
    return limit_like(u.type(), [](auto v) { return largest_like(v); });
}
traced smallest_like(traced u) noexcept {
    return limit_like(u.type(), [](auto v) { return smallest_like(v); });
}
traced loaded_like(traced u, const void* record) noexcept {
    return limit_like(u.type(), [record](auto v) { return loaded_like(v, record); });
}

traced sum(traced a, traced b) noexcept { return meeting(op_t::add, a, b); }
traced difference(traced a, traced b) noexcept { return meeting(op_t::subtract, a, b); }
traced product(traced a, traced b) noexcept { return meeting(op_t::multiply, a, b); }
traced quotient(traced a, traced b) noexcept { return meeting(op_t::divide, a, b); }
traced remainder(traced a, traced b) noexcept { return meeting(op_t::remainder, a, b); }

traced operator+(traced a, traced b) noexcept { return native(op_t::add, a, b); }
traced operator-(traced a, traced b) noexcept { return native(op_t::subtract, a, b); }
traced operator*(traced a, traced b) noexcept { return native(op_t::multiply, a, b); }
traced operator%(traced a, traced b) noexcept { return native(op_t::remainder, a, b); }
traced operator&(traced a, traced b) noexcept { return native(op_t::bit_and, a, b); }
traced operator^(traced a, traced b) noexcept { return native(op_t::bit_xor, a, b); }
traced operator<<(traced a, traced n) noexcept { return native(op_t::shift_left, a, converted(n, a.type())); }
traced operator>>(traced a, traced n) noexcept { return native(op_t::shift_right, a, converted(n, a.type())); }
traced operator==(traced a, traced b) noexcept { return compared(op_t::equal, a, b); }
traced operator!=(traced a, traced b) noexcept { return compared(op_t::unequal, a, b); }
traced operator<(traced a, traced b) noexcept { return compared(op_t::less, a, b); }
traced operator<=(traced a, traced b) noexcept { return compared(op_t::less_equal, a, b); }
traced operator>(traced a, traced b) noexcept { return compared(op_t::greater, a, b); }
traced operator>=(traced a, traced b) noexcept { return compared(op_t::greater_equal, a, b); }
traced operator&&(traced a, traced b) noexcept { return logical(op_t::logical_and, a, b); }
traced operator||(traced a, traced b) noexcept { return logical(op_t::logical_or, a, b); }
traced operator!(traced a) noexcept { return {op_t::negate, type_bool, {expect_type(a, type_bool)}}; }

traced select(traced condition, traced a, traced otherwise) noexcept {
    expect(a.type() == otherwise.type(), "a choice between two types");
    return {op_t::select, a.type(), {expect_type(condition, type_bool), a, otherwise}};
}
traced choose(std::span<const traced* const> u, traced index, std::size_t first, std::size_t otherwise) noexcept {
    std::vector<traced> of{expect_type(index, type_int8), *u[otherwise]};
    for (const traced* chosen : u.subspan(first)) of.push_back(expect_type(*chosen, of[1].type()));
    return {op_t::choose, of[1].type(), of};
}

traced absolute(traced v) noexcept { return function(op_t::absolute, v); }
traced square_root(traced v) noexcept { return function(op_t::square_root, v); }
traced sine(traced v) noexcept { return function(op_t::sine, v); }
traced cosine(traced v) noexcept { return function(op_t::cosine, v); }
traced tangent(traced v) noexcept { return function(op_t::tangent, v); }
traced arc_sine(traced v) noexcept { return function(op_t::arc_sine, v); }
traced arc_cosine(traced v) noexcept { return function(op_t::arc_cosine, v); }
traced arc_tangent(traced v) noexcept { return function(op_t::arc_tangent, v); }
traced logarithm(traced v) noexcept { return function(op_t::logarithm, v); }
traced power(traced base, traced exponent) noexcept {
    expect(is_float(base.type()), "a function of an integer");
    return same(op_t::power, base, exponent);
}
traced between(traced a, traced b, traced x) noexcept {
    return {op_t::between,
            type_flt64,
            {expect_type(a, type_flt64), expect_type(b, type_flt64), expect_type(x, type_flt64)}};
}
traced interpolate(traced x, const traced_list& bp, const traced_list& out) noexcept {
    return {op_t::interpolate1d, type_flt64, {expect_type(x, type_flt64), bp.value(), out.value()}};
}
traced interpolate(traced x1, traced x2, const traced_list& bp1, const traced_list& bp2,
                   const traced_list& out) noexcept {
    return {op_t::interpolate2d,
            type_flt64,
            {expect_type(x1, type_flt64), expect_type(x2, type_flt64), bp1.value(), bp2.value(), out.value()}};
}
traced advance(const traced_list& times, traced index, traced t) noexcept {
    return {op_t::advance, type_uint64, {times.value(), expect_type(index, type_uint64), expect_type(t, type_flt64)}};
}
traced element(const traced_list& values, traced index) noexcept {
    return {op_t::element, type_flt64, {values.value(), expect_type(index, type_uint64)}};
}

traced named(const char* name, traced v) noexcept {
    value_t* value = find(v);
    if (value != nullptr && !value->of.empty() && value->name == nullptr) value->name = name;
    return v;
}

}  // namespace tessel
