// Conversions against a reference that works on the bits of the numbers, with integer arithmetic only.
#include "core/convert.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <type_traits>
#include <vector>

#include "core/type.h"

namespace tessel {
namespace {

constexpr std::uint64_t top64 = 0x8000000000000000u;
constexpr std::size_t random_count = 2'100'000;

// ---- the reference

/// A float taken apart: (-1)^negative * mantissa * 2^exponent.
struct parts_t {
    bool nan;
    bool infinite;
    bool negative;
    std::uint64_t mantissa;
    int exponent;
};

parts_t parts_of(double v) {
    const auto bits = std::bit_cast<std::uint64_t>(v);
    const auto field = static_cast<int>(bits >> 52 & 0x7FF);
    const std::uint64_t fraction = bits & 0xFFFFFFFFFFFFFu;
    const bool special = field == 0x7FF;
    return {special && fraction != 0, special && fraction == 0, bits >> 63 != 0,
            field != 0 ? fraction | 1ull << 52 : fraction, (field != 0 ? field : 1) - 1075};
}

parts_t parts_of(float v) {
    const auto bits = std::bit_cast<std::uint32_t>(v);
    const auto field = static_cast<int>(bits >> 23 & 0xFF);
    const std::uint64_t fraction = bits & 0x7FFFFFu;
    const bool special = field == 0xFF;
    return {special && fraction != 0, special && fraction == 0, bits >> 31 != 0,
            field != 0 ? fraction | 1u << 23 : fraction, (field != 0 ? field : 1) - 150};
}

/// The magnitude cut to an integer; `fits` is false from 2^64 on.
struct whole_t {
    bool fits;
    std::uint64_t magnitude;
};

whole_t whole_of(const parts_t& p) {
    if (p.nan || p.infinite) return {false, 0};
    if (p.exponent <= -64) return {true, 0};
    if (p.exponent < 0) return {true, p.mantissa >> -p.exponent};
    if (p.exponent > 63) return {p.mantissa == 0, 0};
    const std::uint64_t shifted = p.mantissa << p.exponent;
    return {shifted >> p.exponent == p.mantissa, shifted};
}

/// Truncation to a signed integer of `bits` bits; the lowest one for what lies outside.
std::int64_t truncated(const parts_t& p, int bits) {
    const auto lowest = static_cast<std::int64_t>(~0ull << (bits - 1));
    const whole_t whole = whole_of(p);
    const std::uint64_t limit = 1ull << (bits - 1);
    if (!whole.fits || whole.magnitude > limit || (whole.magnitude == limit && !p.negative)) return lowest;
    return static_cast<std::int64_t>(p.negative ? 0 - whole.magnitude : whole.magnitude);
}

template <class To, class From>
To float_to_integer(From v) {
    const parts_t p = parts_of(v);
    if constexpr (std::is_same_v<To, bool>) {
        return p.nan || p.infinite || p.mantissa != 0;
    } else if constexpr (std::is_same_v<To, std::int64_t>) {
        return truncated(p, 64);
    } else if constexpr (std::is_same_v<To, std::uint64_t>) {
        const whole_t whole = whole_of(p);
        const bool high = !p.nan && !p.negative && (!whole.fits || whole.magnitude >= top64);
        if (!high) return static_cast<std::uint64_t>(truncated(p, 64));
        return whole.fits ? whole.magnitude : top64;
    } else if constexpr (std::is_same_v<To, std::uint32_t>) {
        return static_cast<std::uint32_t>(static_cast<std::uint64_t>(truncated(p, 64)) & 0xFFFFFFFFu);
    } else {
        return static_cast<To>(truncated(p, 32));
    }
}

/// mantissa * 2^exponent rounded to the nearest float, ties to even.
template <class F>
F rounded(bool negative, std::uint64_t mantissa, int exponent) {
    constexpr int precision = std::numeric_limits<F>::digits;
    constexpr int least = std::numeric_limits<F>::min_exponent - precision;  // exponent of the last bit of subnormals
    const int length = static_cast<int>(std::bit_width(mantissa));
    const int cut = std::max({length - precision, least - exponent, 0});
    if (cut > 64) return negative ? -F{0} : F{0};
    if (cut > 0) {
        const std::uint64_t kept = cut < 64 ? mantissa >> cut : 0;
        const std::uint64_t rest = mantissa - (cut < 64 ? kept << cut : 0);
        const std::uint64_t half = 1ull << (cut - 1);
        mantissa = kept + (rest > half || (rest == half && (kept & 1) != 0) ? 1u : 0u);
        exponent += cut;
    }
    const F magnitude = std::ldexp(static_cast<F>(static_cast<std::int64_t>(mantissa)), exponent);
    return negative ? -magnitude : magnitude;
}

template <class To, class From>
To reference(From v) {
    if constexpr (std::is_floating_point_v<From> && std::is_floating_point_v<To>) {
        const parts_t p = parts_of(v);
        if (p.nan) return std::numeric_limits<To>::quiet_NaN();
        const To infinity = std::numeric_limits<To>::infinity();
        return p.infinite ? (p.negative ? -infinity : infinity) : rounded<To>(p.negative, p.mantissa, p.exponent);
    } else if constexpr (std::is_floating_point_v<From>) {
        return float_to_integer<To>(v);
    } else if constexpr (std::is_floating_point_v<To>) {
        const bool negative = std::is_signed_v<From> && v < From{0};
        const auto bits = static_cast<std::uint64_t>(v);
        return rounded<To>(negative, negative ? 0 - bits : bits, 0);
    } else if constexpr (std::is_same_v<To, bool>) {
        return v != From{0};
    } else {
        __extension__ using wide = __int128;  // holds every source value; its low bytes are the result
        const wide exact = v;
        return static_cast<To>(static_cast<std::make_unsigned_t<To>>(exact));
    }
}

// ---- values to try

template <class T>
std::vector<T> edges() {
    if constexpr (std::is_same_v<T, bool>) {
        return {false, true};
    } else if constexpr (std::is_integral_v<T>) {
        std::vector<T> values;
        for (int bit = 0; bit < std::numeric_limits<T>::digits + 1; ++bit)
            for (const std::uint64_t offset : {~0ull, 0ull, 1ull})
                for (const bool minus : {false, true}) {
                    const std::uint64_t v = (bit < 64 ? 1ull << bit : 0) + offset;
                    values.push_back(static_cast<T>(minus ? 0 - v : v));
                }
        return values;
    } else {
        constexpr T infinity = std::numeric_limits<T>::infinity();
        std::vector<T> values{T{0},
                              infinity,
                              std::numeric_limits<T>::quiet_NaN(),
                              std::numeric_limits<T>::denorm_min(),
                              std::numeric_limits<T>::min(),
                              std::numeric_limits<T>::max(),
                              T{0.5},
                              T{1.5},
                              T{2.5}};
        for (int power = -2; power <= 130; ++power) {
            const T center = std::ldexp(T{1}, power);
            for (const T v : {center, std::nextafter(center, T{0}), std::nextafter(center, infinity), center + T{0.5},
                              center - T{0.5}, center + T{1}, center - T{1}})
                values.push_back(v);
        }
        const std::size_t count = values.size();
        for (std::size_t i = 0; i < count; ++i) values.push_back(-values[i]);
        return values;
    }
}

/// Random bits as a T. Half of the floats get an exponent near those of integers, where the interesting cases are.
template <class T, class Random>
T random_value(Random& random) {
    const std::uint64_t bits = random();
    if constexpr (std::is_same_v<T, bool>) {
        return (bits & 1) != 0;
    } else if constexpr (std::is_integral_v<T>) {
        return static_cast<T>(bits >> random() % 64);  // all lengths alike
    } else if constexpr (std::is_same_v<T, float>) {
        const auto low = static_cast<std::uint32_t>(bits);
        if ((bits >> 63) != 0) return std::bit_cast<float>(low);
        const auto exponent = static_cast<std::uint32_t>(125 + (bits >> 40) % 70);
        return std::bit_cast<float>((low & 0x807FFFFFu) | exponent << 23);
    } else {
        if ((random() & 1) != 0) return std::bit_cast<double>(bits);
        const std::uint64_t exponent = 1021 + random() % 70;
        return std::bit_cast<double>((bits & 0x800FFFFFFFFFFFFFu) | exponent << 52);
    }
}

template <class T>
bool same(T a, T b) {
    if constexpr (std::is_floating_point_v<T>) {
        if (std::isnan(a) || std::isnan(b)) return std::isnan(a) && std::isnan(b);
        return a == b && std::signbit(a) == std::signbit(b);
    } else {
        return a == b;
    }
}

template <class To, class From>
void expect_as_reference(From v) {
    const To got = convert<To>(v);
    const To want = reference<To>(v);
    if (!same(got, want))
        FAIL() << short_name(type_of<From>) << ' ' << +v << " to " << short_name(type_of<To>) << ": " << +got
               << ", not " << +want;
}

template <class From, class To>
void compare_pair() {
    constexpr bool floats = std::is_floating_point_v<From> || std::is_floating_point_v<To>;
    for (const From v : edges<From>()) expect_as_reference<To>(v);
    std::mt19937_64 random(20240101);
    for (std::size_t i = 0; i < (floats ? random_count : 50'000) && !testing::Test::HasFailure(); ++i)
        expect_as_reference<To>(random_value<From>(random));
}

template <class From, class... To>
void compare_all(type_list<To...>) {
    (compare_pair<From, To>(), ...);
}

template <class From>
class ConvertFrom : public testing::Test {};

template <class List>
struct as_test_types;
template <class... T>
struct as_test_types<type_list<T...>> {
    using type = testing::Types<T...>;
};

struct Name {
    template <class T>
    static std::string GetName(int) {
        return short_name(type_of<T>);
    }
};

TYPED_TEST_SUITE(ConvertFrom, as_test_types<value_types>::type, Name);

TYPED_TEST(ConvertFrom, EveryTypeAsTheReference) { compare_all<TypeParam>(value_types{}); }

// ---- the native instructions against the portable form

template <class F>
void compare_truncation() {
    std::vector<F> values = edges<F>();
    std::mt19937_64 random(7);
    for (std::size_t i = 0; i < random_count; ++i) values.push_back(random_value<F>(random));
    for (const F v : values) {
        const auto wide = static_cast<double>(v);
        ASSERT_EQ(truncate64(v), exact_f64_to_i64(wide)) << v;
        ASSERT_EQ(truncate32(v), exact_f64_to_i32(wide)) << v;
        ASSERT_EQ(to_uint64(v), exact_f64_to_u64(wide)) << v;
        ASSERT_EQ(convert<std::uint32_t>(v), exact_f64_to_u32(wide)) << v;
    }
}

TEST(Convert, NativeTruncationOfFlt64IsThePortableOne) { compare_truncation<double>(); }
TEST(Convert, NativeTruncationOfFlt32IsThePortableOne) { compare_truncation<float>(); }

// ---- rule by rule

constexpr double nan64 = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity64 = std::numeric_limits<double>::infinity();

TEST(Convert, SameTypeIsACopy) {
    EXPECT_EQ(convert<std::int8_t>(std::int8_t{-7}), -7);
    EXPECT_EQ(convert<bool>(true), true);
    EXPECT_TRUE(std::signbit(convert<double>(-0.0)));
}

TEST(Convert, WideningExtendsByTheSourcesSign) {
    EXPECT_EQ(convert<std::uint64_t>(std::int8_t{-1}), 0xFFFFFFFFFFFFFFFFu);
    EXPECT_EQ(convert<std::int64_t>(std::uint8_t{255}), 255);
    EXPECT_EQ(convert<std::uint16_t>(std::int8_t{-2}), 0xFFFE);
    EXPECT_EQ(convert<std::int32_t>(true), 1);
}

TEST(Convert, NarrowingKeepsTheLowBytes) {
    EXPECT_EQ(convert<std::uint8_t>(std::int32_t{0x12345678}), 0x78);
    EXPECT_EQ(convert<std::int8_t>(std::uint8_t{200}), -56);
    EXPECT_EQ(convert<std::int32_t>(std::uint64_t{0xFFFFFFFF80000000u}), std::numeric_limits<std::int32_t>::min());
}

TEST(Convert, BoolLooksAtTheWholeValue) {
    EXPECT_TRUE(convert<bool>(std::uint64_t{1} << 40));
    EXPECT_TRUE(convert<bool>(std::int16_t{256}));
    EXPECT_FALSE(convert<bool>(std::uint32_t{0}));
}

TEST(Convert, BoolToFloat) {
    EXPECT_EQ(convert<double>(true), 1.0);
    EXPECT_EQ(convert<float>(false), 0.0f);
}

TEST(Convert, IntegersUpTo32BitsToFloat) {
    EXPECT_EQ(convert<double>(std::uint32_t{4294967295u}), 4294967295.0);
    EXPECT_EQ(convert<float>(std::uint32_t{4294967295u}), 4294967296.0f);
    EXPECT_EQ(convert<float>(std::int32_t{16777217}), 16777216.0f);
    EXPECT_EQ(convert<float>(std::int8_t{-128}), -128.0f);
}

TEST(Convert, Int64ToFloatRoundsOnce) {
    EXPECT_EQ(convert<double>(std::int64_t{9007199254740993}), 9007199254740992.0);
    // through a double this would round to a tie and then to even, one step lower
    EXPECT_EQ(convert<float>(std::int64_t{0x4000004000000001}), 0x1.000002p62f);
}

TEST(Convert, UInt64ToFloatRoundsAsATrueUnsignedConversion) {
    EXPECT_EQ(convert<double>(std::uint64_t{0xFFFFFFFFFFFFFFFFu}), 18446744073709551616.0);
    EXPECT_EQ(convert<double>(top64), 9223372036854775808.0);
    // a tie but for the lowest bit, which the halving keeps
    EXPECT_EQ(convert<double>(std::uint64_t{0x8000000000000401u}), 0x1.0000000000001p63);
    EXPECT_EQ(convert<double>(std::uint64_t{0x8000000000000400u}), 0x1p63);
    EXPECT_EQ(convert<float>(std::uint64_t{0x8000008000000001u}), 0x1.000002p63f);
}

TEST(Convert, BetweenFloats) {
    EXPECT_EQ(convert<double>(0.1f), 0.100000001490116119384765625);
    EXPECT_EQ(convert<float>(0.1), 0.1f);
    EXPECT_EQ(convert<float>(1e300), std::numeric_limits<float>::infinity());
    EXPECT_EQ(convert<float>(1e-300), 0.0f);
    EXPECT_TRUE(std::isnan(convert<float>(nan64)));
}

TEST(Convert, FloatToBool) {
    EXPECT_FALSE(convert<bool>(0.0));
    EXPECT_FALSE(convert<bool>(-0.0));
    EXPECT_TRUE(convert<bool>(nan64));
    EXPECT_TRUE(convert<bool>(1e-320));
    EXPECT_TRUE(convert<bool>(-infinity64));
}

TEST(Convert, FloatToInt64) {
    constexpr auto lowest = std::numeric_limits<std::int64_t>::min();
    EXPECT_EQ(convert<std::int64_t>(-1.9), -1);
    EXPECT_EQ(convert<std::int64_t>(nan64), lowest);
    EXPECT_EQ(convert<std::int64_t>(infinity64), lowest);
    EXPECT_EQ(convert<std::int64_t>(9223372036854775808.0), lowest);
    EXPECT_EQ(convert<std::int64_t>(-9223372036854775808.0), lowest);
    EXPECT_EQ(convert<std::int64_t>(9223372036854774784.0), 9223372036854774784);
    EXPECT_EQ(convert<std::int64_t>(1e30f), lowest);
}

TEST(Convert, FloatToInt32) {
    constexpr auto lowest = std::numeric_limits<std::int32_t>::min();
    EXPECT_EQ(convert<std::int32_t>(2147483647.9), 2147483647);
    EXPECT_EQ(convert<std::int32_t>(2147483648.0), lowest);
    EXPECT_EQ(convert<std::int32_t>(-2147483648.9), lowest);
    EXPECT_EQ(convert<std::int32_t>(-2147483647.9), -2147483647);
    EXPECT_EQ(convert<std::int32_t>(nan64), lowest);
}

TEST(Convert, FloatToUInt32KeepsTheLowHalf) {
    EXPECT_EQ(convert<std::uint32_t>(-1.0), 0xFFFFFFFFu);
    EXPECT_EQ(convert<std::uint32_t>(4294967296.0), 0u);
    EXPECT_EQ(convert<std::uint32_t>(4294967297.5), 1u);
    EXPECT_EQ(convert<std::uint32_t>(nan64), 0u);
    EXPECT_EQ(convert<std::uint32_t>(3e10), 4230196224u);
}

TEST(Convert, FloatToNarrowIntegersWraps) {
    EXPECT_EQ(convert<std::uint16_t>(70000.0), 4464);
    EXPECT_EQ(convert<std::uint16_t>(3e10), 0);
    EXPECT_EQ(convert<std::int8_t>(200.0), -56);
    EXPECT_EQ(convert<std::uint8_t>(-1.0), 255);
    EXPECT_EQ(convert<std::int16_t>(-40000.5), 25536);
    EXPECT_EQ(convert<std::int8_t>(nan64), 0);
}

TEST(Convert, FloatToUInt64) {
    EXPECT_EQ(convert<std::uint64_t>(9223372036854775808.0), top64);
    EXPECT_EQ(convert<std::uint64_t>(18446744073709549568.0), 18446744073709549568u);
    EXPECT_EQ(convert<std::uint64_t>(18446744073709551616.0), top64);
    EXPECT_EQ(convert<std::uint64_t>(infinity64), top64);
    EXPECT_EQ(convert<std::uint64_t>(-1.0), 0xFFFFFFFFFFFFFFFFu);
    EXPECT_EQ(convert<std::uint64_t>(nan64), top64);
    EXPECT_EQ(convert<std::uint64_t>(-1e30), top64);
    EXPECT_EQ(convert<std::uint64_t>(1.99f), 1u);
}

}  // namespace
}  // namespace tessel
