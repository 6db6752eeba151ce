// What add, subtract, multiply and divide share: folding their inputs, and the generated text.
#pragma once

#include <string>

#include "blocks/table.h"

namespace tessel {

/// out = in0 op in1
template <class Op, class A, class B>
struct Fold2 {
    using in = inputs<A, B>;
    using out = outputs<highest<A, B>>;
    static highest<A, B> eval(A a, B b) noexcept { return like(highest_of(a, b), Op::of(a, b)); }
};

/// out = in0 op (in1 op in2): each operation in the common type of its own two operands.
template <class Op, class A, class B, class C>
struct Fold3 {
    using in = inputs<A, B, C>;
    using out = outputs<highest<A, B, C>>;
    static highest<A, B, C> eval(A a, B b, C c) noexcept { return like(highest_of(a, b, c), Op::of(a, Op::of(b, c))); }
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
