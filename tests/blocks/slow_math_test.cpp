// The reference that the walks over all combinations compare with is itself compared with the processor and with
// known results here.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "tests/support/slow_math.h"

namespace tessel::test {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

template <class To, class From>
To converted(From v) {
    return convert_to(type_of<To>, value(v)).template as<To>();
}

TEST(SlowMath, KnownConversions) {
    EXPECT_EQ(converted<std::uint8_t>(-1.0), 255);
    EXPECT_EQ(converted<std::uint8_t>(300.7), 44);
    EXPECT_EQ(converted<std::uint8_t>(nan), 0);
    EXPECT_TRUE(converted<bool>(nan));
    EXPECT_FALSE(converted<bool>(-0.0));
    EXPECT_EQ(converted<std::int32_t>(nan), std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ(converted<std::uint16_t>(70000.0), 4464);
    EXPECT_EQ(converted<std::uint16_t>(3e10), 0);
    EXPECT_EQ(converted<std::uint32_t>(-1.0), 0xFFFFFFFFu);
    EXPECT_EQ(converted<std::uint32_t>(4294967296.0), 0u);
    EXPECT_EQ(converted<std::uint64_t>(-1.0), 0xFFFFFFFFFFFFFFFFu);
    EXPECT_EQ(converted<std::uint64_t>(1.5e19), 15000000000000000000u);
    EXPECT_EQ(converted<std::uint64_t>(1e30), 0x8000000000000000u);
    EXPECT_EQ(converted<std::uint64_t>(std::numeric_limits<double>::infinity()), 0x8000000000000000u);
    EXPECT_EQ(converted<std::int64_t>(-1e30), std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(converted<std::uint32_t>(std::int8_t{-1}), 0xFFFFFFFFu);
    EXPECT_EQ(converted<std::uint64_t>(std::int8_t{-1}), 0xFFFFFFFFFFFFFFFFu);
    EXPECT_EQ(converted<float>(std::int8_t{-1}), -1.0f);
    EXPECT_EQ(converted<double>(std::uint64_t{0xFFFFFFFFFFFFFFFFu}), 18446744073709551616.0);
    EXPECT_EQ(converted<double>((std::int64_t{1} << 53) + 1), 9007199254740992.0);
    EXPECT_EQ(converted<double>((std::int64_t{1} << 53) + 3), 9007199254740996.0);
    EXPECT_EQ(converted<float>(0.1), 0.1f);
    EXPECT_EQ(converted<float>(1e39), std::numeric_limits<float>::infinity());
    EXPECT_EQ(converted<float>(1e-45), std::numeric_limits<float>::denorm_min());
    EXPECT_EQ(converted<float>(1e-46), 0.0f);
}

// Random bit patterns, with the exponents of the second operand pulled near those of the first half of the time.
template <class F, class Bits>
void compare_with_processor() {
    std::mt19937_64 random(1);
    for (int i = 0; i < 100000; ++i) {
        const auto a = static_cast<Bits>(random());
        auto b = static_cast<Bits>(random());
        if (i % 2 == 0) b = static_cast<Bits>(a ^ (b & ((Bits{1} << (sizeof(Bits) * 6)) - 1)));
        const value_t x{type_of<F>, a}, y{type_of<F>, b};
        const F p = x.as<F>(), q = y.as<F>();
        ASSERT_EQ(compute('+', x, y), value(p + q)) << x << " + " << y;
        ASSERT_EQ(compute('-', x, y), value(p - q)) << x << " - " << y;
        ASSERT_EQ(compute('*', x, y), value(p * q)) << x << " * " << y;
        ASSERT_EQ(compute('/', x, y), value(p / q)) << x << " / " << y;
        ASSERT_EQ(less(x, y), p < q) << x << " < " << y;
        ASSERT_EQ(equal(x, y), p == q) << x << " = " << y;
    }
}

TEST(SlowMath, FloatsAgreeWithTheProcessor) {
    compare_with_processor<double, std::uint64_t>();
    compare_with_processor<float, std::uint32_t>();
}

TEST(SlowMath, FloatEdgesAgreeWithTheProcessor) {
    for (const value_t& x : edge_values(type_flt64))
        for (const value_t& y : edge_values(type_flt64)) {
            const double p = x.as<double>(), q = y.as<double>();
            EXPECT_EQ(compute('+', x, y), value(p + q)) << x << " + " << y;
            EXPECT_EQ(compute('-', x, y), value(p - q)) << x << " - " << y;
            EXPECT_EQ(compute('*', x, y), value(p * q)) << x << " * " << y;
            EXPECT_EQ(compute('/', x, y), value(p / q)) << x << " / " << y;
        }
}

TEST(SlowMath, CommonTypes) {
    EXPECT_EQ(common_type(type_bool, type_bool), type_int32);
    EXPECT_EQ(common_type(type_int8, type_uint16), type_int32);
    EXPECT_EQ(common_type(type_int32, type_uint32), type_uint32);
    EXPECT_EQ(common_type(type_uint32, type_int64), type_int64);
    EXPECT_EQ(common_type(type_uint64, type_flt32), type_flt32);
    EXPECT_EQ(common_type(type_flt32, type_flt64), type_flt64);
}

}  // namespace
}  // namespace tessel::test
