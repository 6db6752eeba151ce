#include <gtest/gtest.h>

#include <type_traits>

#include "formula/evaluate.h"
#include "formula/trace.h"
#include "formula/words.h"

namespace tessel {
namespace {

// A condition is a value: what decides on one does not compile.
static_assert(!std::is_constructible_v<bool, traced>);
static_assert(!std::is_constructible_v<bool, traced_of<bool>>);
static_assert(std::is_trivially_copyable_v<traced> && sizeof(traced) == 8);

/// Ports of a kernel of a test.
struct TwoInputs {
    using in = inputs<traced, traced>;
    using out = outputs<traced>;
};

/// The formula of an expression of two inputs.
template <class Kernel>
formula_t of_two(type_t a, type_t b, type_t out) {
    const std::array in{a, b};
    return trace<Kernel>(in, out, nullptr);
}

template <class T>
struct Twice {
    using in = inputs<T, T>;
    using out = outputs<T>;
    static T eval(T a, T b) noexcept { return like(a, product(sum(a, b), sum(a, b))); }
};

TEST(Trace, KeepsEqualValuesOnceAndNoneThatNobodyNeeds) {
    const formula_t f = of_two<Twice<traced>>(type_flt64, type_flt64, type_flt64);
    EXPECT_EQ(f.fault, nullptr);
    ASSERT_EQ(f.values.size(), 4u);
    EXPECT_EQ(f.at(f.output.next).op, op_t::multiply);
    EXPECT_EQ(f.at(f.output.next).of, (std::vector<std::int32_t>{2, 2}));
}

TEST(Trace, ComputesConversionsOfConstantsAtOnce) {
    struct Kernel : TwoInputs {
        static traced eval(traced a, traced) noexcept { return sum(a, like(a, 2.9)); }
    };
    const formula_t f = of_two<Kernel>(type_int32, type_int32, type_int32);
    EXPECT_EQ(lines_of(f), (std::vector<std::string>{"y = u0 + 2"}));
}

TEST(Trace, NotesWhatPlainNumbersWouldDoOtherwise) {
    struct Native : TwoInputs {
        static traced eval(traced a, traced b) noexcept { return a + b; }
    };
    EXPECT_EQ(of_two<Native>(type_flt64, type_flt64, type_flt64).fault, nullptr);
    EXPECT_STREQ(of_two<Native>(type_int8, type_int8, type_int8).fault, "an operator on a type that wraps or widens");
    EXPECT_STREQ(of_two<Native>(type_flt64, type_flt32, type_flt64).fault, "operands of two types");
    EXPECT_STREQ(of_two<Native>(type_flt32, type_flt32, type_flt64).fault, "a value is not of the declared type");

    struct Compared : TwoInputs {
        static traced eval(traced a, traced b) noexcept { return select(a > b, a, b); }
    };
    EXPECT_EQ(of_two<Compared>(type_int8, type_int8, type_int8).fault, nullptr);
    EXPECT_STREQ(of_two<Compared>(type_int8, type_int16, type_int8).fault, "two types compared");

    const std::array one{type_flt64};
    EXPECT_STREQ((trace<Twice<traced>>(one, type_flt64, nullptr).fault), "a kernel of another number of inputs");
}

template <class T>
struct Exchange {
    using in = inputs<T>;
    using out = outputs<T>;
    T a{1}, b{2};
    T eval(with<T, double>, T, T u) noexcept {
        const T old = a;
        a = b;
        b = like(b, sum(old, u));
        return a;
    }
    void members(auto& visit) {
        visit.state("a", a);
        visit.state("b", b);
    }
};

TEST(Evaluator, StatesTakeTheirValuesAllAtOnce) {
    const std::array in{type_int16};
    const formula_t f = trace<Exchange<traced>>(in, type_int16, nullptr);
    evaluator run(f);
    run.start(0.0);
    Exchange<std::int16_t> kernel;
    for (std::int16_t u = 30000; u < 30010; ++u) {
        const std::uint64_t bits = bits_of(u);
        EXPECT_EQ(from_bits<std::int16_t>(run.step({&bits, 1}, 0.0)), kernel.eval(0.0, 0, u));
    }
    EXPECT_EQ(lines_of(f), (std::vector<std::string>{"a' = b", "b' = int16(a + u)", "y = b"}));
}

TEST(Evaluator, GivesZeroWhereARunWouldEnd) {
    struct Kernel : TwoInputs {
        static traced eval(traced a, traced b) noexcept { return quotient(a, b); }
    };
    const formula_t f = of_two<Kernel>(type_int32, type_int32, type_int32);
    evaluator run(f);
    run.start(0.0);
    const std::array u{bits_of(std::numeric_limits<std::int32_t>::min()), bits_of(std::int32_t{-1})};
    EXPECT_EQ(run.step(u, 0.0), 0u);
}

TEST(Words, SetBracketsWhereOperatorsBindLess) {
    struct Kernel : TwoInputs {
        static traced eval(traced a, traced b) noexcept {
            return select(!(a < b || a == b), (a - (b - a)) * b, select(a > b, a, b) + (a + b) * b);
        }
    };
    const formula_t f = of_two<Kernel>(type_flt64, type_flt64, type_flt64);
    EXPECT_EQ(lines_of(f).back(),
              "y = !(u0 < u1 || u0 == u1) ? (u0 - (u1 - u0)) * u1 : (u0 > u1 ? u0 : u1) + (u0 + u1) * u1");
}

}  // namespace
}  // namespace tessel
