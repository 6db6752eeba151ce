// What add, subtract, multiply and divide share: computing in the operands' common type, and the generated text.
#pragma once

#include <cstdint>
#include <string>
#include <type_traits>

#include "blocks/table.h"
#include "core/convert.h"

namespace tessel {

/// The type in which two values meet: integers narrower than 32 bits widen to int32, of two integers of one width the
/// unsigned wins, an integer meets a float in the float's type.
template <class A, class B>
using common = std::common_type_t<decltype(+A{}), decltype(+B{})>;

/// An operand of the common type C from a value of a port.
template <class C, class V>
C operand(V v) noexcept {
    if constexpr (std::is_same_v<V, bool>) return v ? C{1} : C{0};
    else return convert<C>(v);
}

/// Computes Op in the common type of two operands; integers wrap.
template <class Op, class A, class B>
auto apply(A a, B b) noexcept {
    using C = common<A, B>;
    if constexpr (std::is_floating_point_v<C>) {
        return static_cast<C>(Op::of(operand<C>(a), operand<C>(b)));
    } else {
        using U = std::make_unsigned_t<C>;
        return static_cast<C>(Op::of(static_cast<U>(operand<C>(a)), static_cast<U>(operand<C>(b))));
    }
}

/// A result in the output's type: narrow integers are cut back, bool is "not 0".
template <class Out, class C>
Out narrowed(C result) noexcept {
    return convert<Out>(result);
}

/// out = in0 op in1
template <class Op, class A, class B>
struct Fold2 {
    using in = inputs<A, B>;
    using out = outputs<highest<A, B>>;
    static highest<A, B> eval(A a, B b) noexcept { return narrowed<highest<A, B>>(apply<Op>(a, b)); }
};

/// out = in0 op (in1 op in2): each operation in the common type of its own two operands.
template <class Op, class A, class B, class C>
struct Fold3 {
    using in = inputs<A, B, C>;
    using out = outputs<highest<A, B, C>>;
    static highest<A, B, C> eval(A a, B b, C c) noexcept {
        return narrowed<highest<A, B, C>>(apply<Op>(a, apply<Op>(b, c)));
    }
};

/// Design level of the four classes that write their inputs joined by an operator.
class Arithmetic : public MetaBlock {
public:
    using MetaBlock::MetaBlock;

protected:
    /// One operand a line, each but the last followed by the operator.
    result_t write_terms_c(sys::File& file, const char* prefix, const char* op) const;
    /// All operands on one line.
    result_t write_terms_py(sys::File& file, const char* prefix, const char* op) const;
};

}  // namespace tessel
