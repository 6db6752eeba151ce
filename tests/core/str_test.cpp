#include "core/str.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <random>

namespace tessel::str {
namespace {

std::string replaced(std::string subject, const std::string& from, const std::string& to) {
    replace_all(subject, from, to);
    return subject;
}

TEST(ReplaceAll, EveryOccurrenceFromTheLeft) {
    EXPECT_EQ(replaced("a-b-c", "-", "+"), "a+b+c");
    EXPECT_EQ(replaced("12 123 412", "12", "9999"), "9999 99993 49999");
    EXPECT_EQ(replaced("long long", "long", "s"), "s s");
    EXPECT_EQ(replaced("aaa", "aa", "b"), "ba");
    EXPECT_EQ(replaced("aaa", "aa", "xy"), "xya");
    EXPECT_EQ(replaced("x", "x", ""), "");
}

TEST(ReplaceAll, ReplacedTextIsNotReadAgain) {
    EXPECT_EQ(replaced("a", "a", "aa"), "aa");
    EXPECT_EQ(replaced("abab", "ab", "ba"), "baba");
    EXPECT_EQ(replaced("aab", "ab", "a"), "aa");
}

TEST(ReplaceAll, NothingToReplace) {
    EXPECT_EQ(replaced("abc", "d", "e"), "abc");
    EXPECT_EQ(replaced("", "d", "e"), "");
    EXPECT_EQ(replaced("abc", "", "e"), "abc");
    EXPECT_EQ(replaced("ab", "abc", "e"), "ab");
}

TEST(ReplaceAll, ZeroBytesAreBytes) { EXPECT_EQ(replaced(std::string("a\0b", 3), std::string("\0", 1), "0"), "a0b"); }

TEST(Sanitize, Identifiers) {
    EXPECT_EQ(sanitize_identifier(""), "_");
    EXPECT_EQ(sanitize_identifier("gain"), "gain");
    EXPECT_EQ(sanitize_identifier("my gain-2"), "my_gain_2");
    EXPECT_EQ(sanitize_identifier("2nd"), "_2nd");
    EXPECT_EQ(sanitize_identifier("{a}[b]~@z`Z"), "_a__b___z_Z");
    EXPECT_EQ(sanitize_identifier("a.b"), "a_b");
    EXPECT_EQ(sanitize_identifier("a\r\n\"b\""), "ab");
    EXPECT_EQ(sanitize_identifier("\"\n"), "");
    EXPECT_EQ(sanitize_identifier("\n1"), "_1");
    EXPECT_EQ(sanitize_identifier("\xC3\xA4"), "__");
}

TEST(Sanitize, PathsKeepTheirDots) {
    EXPECT_EQ(sanitize_path("mainsys.motor.a b"), "mainsys.motor.a_b");
    EXPECT_EQ(sanitize_path(".a"), "_a");
    EXPECT_EQ(sanitize_path(""), "_");
}

TEST(Shortest, FixedFormInTheMiddleAndExponentsOutside) {
    EXPECT_EQ(shortest(0.0), "0.0");
    EXPECT_EQ(shortest(-0.0), "-0.0");
    EXPECT_EQ(shortest(0.1), "0.1");
    EXPECT_EQ(shortest(100000.0), "100000.0");
    EXPECT_EQ(shortest(-1234.5), "-1234.5");
    EXPECT_EQ(shortest(1e15), "1000000000000000.0");
    EXPECT_EQ(shortest(1e16), "1e+16");
    EXPECT_EQ(shortest(0.0001), "0.0001");
    EXPECT_EQ(shortest(0.00001), "1e-05");
    EXPECT_EQ(shortest(1.5e300), "1.5e+300");
    EXPECT_EQ(shortest(0.1f), "0.1");
    EXPECT_EQ(shortest(16777216.0f), "16777216.0");
}

TEST(Shortest, WhatIsNotFinite) {
    EXPECT_EQ(shortest(std::numeric_limits<double>::quiet_NaN()), "nan");
    EXPECT_EQ(shortest(std::numeric_limits<double>::infinity()), "inf");
    EXPECT_EQ(shortest(-std::numeric_limits<float>::infinity()), "-inf");
}

TEST(Shortest, ReadsBackExactlyAndStaysBelow32Bytes) {
    std::mt19937_64 random(3);
    for (int i = 0; i < 100'000; ++i) {
        const auto v = std::bit_cast<double>(random());
        const auto f = std::bit_cast<float>(static_cast<std::uint32_t>(random()));
        if (!std::isfinite(v) || !std::isfinite(f)) continue;
        const std::string text = shortest(v), short_text = shortest(f);
        ASSERT_EQ(std::strtod(text.c_str(), nullptr), v) << text;
        ASSERT_EQ(std::strtof(short_text.c_str(), nullptr), f) << short_text;
        ASSERT_NE(text.find_first_of(".e"), std::string::npos) << text;
        ASSERT_LT(text.size(), 32u);
    }
}

TEST(ToDouble, NumbersOfEveryForm) {
    EXPECT_EQ(to_double("0"), 0.0);
    EXPECT_EQ(to_double("0.00e99999"), 0.0);
    EXPECT_EQ(to_double("-12"), -12.0);
    EXPECT_EQ(to_double("+1.5"), 1.5);
    EXPECT_EQ(to_double(".5"), 0.5);
    EXPECT_EQ(to_double("5."), 5.0);
    EXPECT_EQ(to_double("1e3"), 1000.0);
    EXPECT_EQ(to_double("1.E-2"), 0.01);
    EXPECT_EQ(to_double("1e+2"), 100.0);
    EXPECT_EQ(to_double("4.9e-324"), 4.9e-324);
}

TEST(ToDouble, OutOfRangeGoesToInfinityOrZero) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    EXPECT_EQ(to_double("1e400"), infinity);
    EXPECT_EQ(to_double("1E+400"), infinity);
    EXPECT_EQ(to_double("-1e400"), -infinity);
    EXPECT_EQ(to_double("1e-400"), 0.0);
    EXPECT_EQ(to_double("1" + std::string(400, '0')), infinity);
    EXPECT_EQ(to_double("0." + std::string(400, '0') + "1"), 0.0);
    EXPECT_EQ(to_double("0." + std::string(400, '0') + "1e401"), 1.0);
    EXPECT_EQ(to_double("1e99999999999999999999"), infinity);
    EXPECT_EQ(to_double("1e-99999999999999999999"), 0.0);
    EXPECT_EQ(to_double("0e99999999999999999999"), 0.0);
}

TEST(ToDouble, AnythingElseIsRefused) {
    for (const char* text : {"",    "+",   "-",   ".",   "e3",  "1e",   "1e+",      "1x",   " 1",    "1 ",
                             "1,5", "--1", "+-1", "nan", "inf", "-inf", "infinity", "0x10", "1e3.5", "1.2.3"})
        EXPECT_FALSE(to_double(text).has_value()) << text;
}

}  // namespace
}  // namespace tessel::str
