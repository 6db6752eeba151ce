#include "formula/evaluate.h"

#include <algorithm>
#include <limits>
#include <type_traits>

#include "formula/value.h"

namespace tessel {

namespace {

/// One operand of a float type.
template <class T>
T function(op_t op, T v) noexcept {
    switch (op) {
        case op_t::absolute: return absolute(v);
        case op_t::square_root: return square_root(v);
        case op_t::sine: return sine(v);
        case op_t::cosine: return cosine(v);
        case op_t::tangent: return tangent(v);
        case op_t::arc_sine: return arc_sine(v);
        case op_t::arc_cosine: return arc_cosine(v);
        case op_t::arc_tangent: return arc_tangent(v);
        default: return logarithm(v);
    }
}

template <class T>
bool no_quotient(T a, T b) noexcept {
    if constexpr (std::is_signed_v<T> && std::is_integral_v<T>) return a == std::numeric_limits<T>::min() && b == -1;
    return false;
}

/// Two operands of a type that takes part in arithmetic.
template <class T>
T arithmetic(op_t op, T a, T b) noexcept {
    switch (op) {
        case op_t::add: return sum(a, b);
        case op_t::subtract: return difference(a, b);
        case op_t::multiply: return product(a, b);
        case op_t::divide: return no_quotient(a, b) ? T{0} : quotient(a, b);
        case op_t::remainder: return no_quotient(a, b) ? T{0} : remainder(a, b);
        default: break;
    }
    if constexpr (std::is_floating_point_v<T>) {
        return power(a, b);
    } else {
        using U = std::make_unsigned_t<T>;
        const auto x = static_cast<U>(a), y = static_cast<U>(b), count = static_cast<U>(y % (8 * sizeof(U)));
        switch (op) {
            case op_t::bit_and: return static_cast<T>(x & y);
            case op_t::bit_xor: return static_cast<T>(x ^ y);
            case op_t::shift_left: return static_cast<T>(x << count);
            default: return static_cast<T>(x >> count);
        }
    }
}

template <class T>
std::uint64_t binary(op_t op, T a, T b) noexcept {
    switch (op) {
        case op_t::equal: return bits_of(a == b);
        case op_t::unequal: return bits_of(a != b);
        case op_t::less: return bits_of(a < b);
        case op_t::less_equal: return bits_of(a <= b);
        case op_t::greater: return bits_of(a > b);
        case op_t::greater_equal: return bits_of(a >= b);
        default: break;
    }
    if constexpr (std::is_same_v<T, bool>) return bits_of(op == op_t::logical_and ? a && b : a || b);
    else if constexpr (sizeof(T) >= 4) return bits_of(arithmetic(op, a, b));
    else return 0;
}

list_view view_of(const list_t& list) noexcept { return {list.values.data(), list.values.size()}; }

}  // namespace

evaluator::evaluator(const formula_t& formula)
    : formula_(formula), bits_(formula.values.size()), inputs_(formula.inputs.size()), output_(formula.output.initial) {
    for (const state_t& state : formula.states) states_.push_back(state.initial);
}

void evaluator::start(double t) {
    compute(t);
    const auto started = [this](const state_t& state, std::uint64_t& value) {
        if (state.started >= 0) value = bits_[static_cast<std::size_t>(state.started)];
    };
    started(formula_.output, output_);
    for (std::size_t i = 0; i < states_.size(); ++i) started(formula_.states[i], states_[i]);
}

std::uint64_t evaluator::step(std::span<const std::uint64_t> inputs, double t) {
    inputs_.assign(inputs.begin(), inputs.end());
    compute(t);
    for (std::size_t i = 0; i < states_.size(); ++i)
        states_[i] = bits_[static_cast<std::size_t>(formula_.states[i].next)];
    const std::int32_t result = formula_.has_output() ? formula_.output.next : formula_.taken;
    output_ = bits_[static_cast<std::size_t>(result)];
    return output_;
}

void evaluator::compute(double t) {
    t_ = t;
    for (std::size_t i = 0; i < bits_.size(); ++i) bits_[i] = value_of(formula_.values[i]);
}

std::uint64_t evaluator::value_of(const value_t& v) const {
    std::uint64_t out = 0;
    switch (v.op) {
        case op_t::constant: return v.bits;
        case op_t::input: return inputs_[v.bits];
        case op_t::parameter: return formula_.parameters[v.bits].value;
        case op_t::state: return states_[v.bits];
        case op_t::list: return 0;
        case op_t::time: return bits_of(t_);
        case op_t::last_output: return output_;
        case op_t::negate: return bits_of(!from_bits<bool>(operand(v, 0)));
        case op_t::select: return operand(v, from_bits<bool>(operand(v, 0)) ? 1 : 2);
        case op_t::choose: {
            const int index = from_bits<std::int8_t>(operand(v, 0));
            const bool there = index >= 0 && index + 2 < static_cast<int>(v.of.size());
            return operand(v, there ? static_cast<std::size_t>(index) + 2 : 1);
        }
        case op_t::between:
        case op_t::interpolate1d:
        case op_t::interpolate2d:
        case op_t::advance:
        case op_t::element: return over_lists(v);
        case op_t::convert:
            with_type(formula_.at(v.of[0]).type, [&]<class From>(From) {
                with_type(v.type, [&]<class To>(To) { out = bits_of(convert<To>(from_bits<From>(operand(v, 0)))); });
            });
            return out;
        default:
            with_type(formula_.at(v.of[0]).type, [&]<class T>(T) {
                const T a = from_bits<T>(operand(v, 0));
                if (v.of.size() == 2) {
                    out = binary(v.op, a, from_bits<T>(operand(v, 1)));
                } else {
                    if constexpr (std::is_floating_point_v<T>) out = bits_of(function(v.op, a));
                }
            });
            return out;
    }
}

std::uint64_t evaluator::over_lists(const value_t& v) const {
    const auto real = [&](std::size_t i) { return from_bits<double>(operand(v, i)); };
    const auto view = [&](std::size_t i) { return view_of(list(v, i)); };
    switch (v.op) {
        case op_t::between: return bits_of(between(real(0), real(1), real(2)));
        case op_t::interpolate1d: return bits_of(interpolate(real(0), view(1), view(2)));
        case op_t::interpolate2d: return bits_of(interpolate(real(0), real(1), view(2), view(3), view(4)));
        case op_t::advance: return advance(view(0), operand(v, 1), real(2));
        default: {
            const std::vector<double>& values = list(v, 0).values;
            const std::size_t index = std::min<std::size_t>(operand(v, 1), values.empty() ? 0 : values.size() - 1);
            return bits_of(values.empty() ? 0.0 : values[index]);
        }
    }
}

}  // namespace tessel
