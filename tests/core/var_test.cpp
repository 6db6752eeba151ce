#include "core/var.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <utility>

namespace tessel {
namespace {

TEST(Var, DefaultIsEmpty) {
    const var_t v;
    EXPECT_EQ(v.type(), type_unknown);
    EXPECT_FALSE(v.is_text());
    EXPECT_STREQ(v.text(), "");
    EXPECT_EQ(v.payload<std::uint64_t>(), 0u);
    EXPECT_EQ(static_cast<double>(v), 0.0);
    EXPECT_EQ(v.to_string(), "");
}

template <class T>
void expect_holds(T value, type_t type) {
    const var_t v(value);
    EXPECT_EQ(v.type(), type);
    EXPECT_EQ(v.payload<T>(), value);
    EXPECT_EQ(static_cast<T>(v), value);
    EXPECT_EQ(static_cast<double>(v), static_cast<double>(value));
    const var_t copy = v;
    EXPECT_EQ(copy.type(), type);
    EXPECT_EQ(copy.payload<T>(), value);
}

TEST(Var, EachConstructorGivesItsTagAndPayload) {
    expect_holds<bool>(true, type_bool);
    expect_holds<signed char>(-5, type_int8);
    expect_holds<unsigned char>(250, type_uint8);
    expect_holds<short>(-30000, type_int16);
    expect_holds<unsigned short>(60000, type_uint16);
    expect_holds<int>(-2000000000, type_int32);
    expect_holds<unsigned int>(4000000000u, type_uint32);
    expect_holds<long>(-3, type_int64);
    expect_holds<unsigned long>(3, type_uint64);
    expect_holds<long long>(-9000000000000000000, type_int64);
    expect_holds<unsigned long long>(18000000000000000000u, type_uint64);
    expect_holds<float>(0.5f, type_flt32);
    expect_holds<double>(-0.1, type_flt64);
}

TEST(Var, TextIsACopyOfItsOwn) {
    std::string source = "[1.0, 2.0]";
    const var_t v(source.c_str());
    source = "gone";
    EXPECT_EQ(v.type(), type_cstr);
    EXPECT_TRUE(v.is_text());
    EXPECT_STREQ(v.text(), "[1.0, 2.0]");
    EXPECT_STREQ(v.payload<const char*>(), "[1.0, 2.0]");
    EXPECT_NE(v.payload<const char*>(), source.c_str());
}

TEST(Var, EmptyTextIsText) {
    const var_t v("");
    EXPECT_EQ(v.type(), type_cstr);
    EXPECT_STREQ(v.text(), "");
    EXPECT_EQ(var_t(static_cast<const char*>(nullptr)).type(), type_cstr);
}

TEST(Var, CopiesAreIndependent) {
    var_t a("one");
    var_t b = a;
    EXPECT_NE(a.text(), b.text());
    a = std::string("two");
    EXPECT_STREQ(b.text(), "one");
    b = a;
    a = 5;
    EXPECT_STREQ(b.text(), "two");
    EXPECT_EQ(a.type(), type_int32);
}

TEST(Var, MovingHandsTheTextOn) {
    var_t a("text");
    const char* address = a.text();
    var_t b = std::move(a);
    EXPECT_EQ(b.text(), address);
    var_t c(1.5);
    c = std::move(b);
    EXPECT_EQ(c.text(), address);
}

TEST(Var, AssigningToItself) {
    var_t a("text");
    var_t& same = a;
    a = same;
    EXPECT_STREQ(a.text(), "text");
    a = std::move(same);
    EXPECT_STREQ(a.text(), "text");
    a = std::string(a.text());
    EXPECT_STREQ(a.text(), "text");
}

TEST(Var, AssigningAStringMakesText) {
    var_t v(7);
    v = std::string("eq");
    EXPECT_EQ(v.type(), type_cstr);
    EXPECT_STREQ(v.text(), "eq");
    v = std::string();
    EXPECT_EQ(v.type(), type_cstr);
}

TEST(Var, ConversionsFollowTheRulesOfPorts) {
    EXPECT_EQ(static_cast<int>(var_t(-2.9)), -2);
    EXPECT_EQ(static_cast<int>(var_t(1e10)), std::numeric_limits<int>::min());
    EXPECT_EQ(static_cast<signed char>(var_t(300)), 44);
    EXPECT_EQ(static_cast<unsigned short>(var_t(70000.0)), 4464);
    EXPECT_EQ(static_cast<unsigned int>(var_t(-1.0)), 0xFFFFFFFFu);
    EXPECT_EQ(static_cast<unsigned long long>(var_t(-1)), 0xFFFFFFFFFFFFFFFFu);
    EXPECT_EQ(static_cast<float>(var_t(16777217)), 16777216.0f);
    EXPECT_EQ(static_cast<double>(var_t(0.1f)), 0.100000001490116119384765625);
    EXPECT_TRUE(static_cast<bool>(var_t(std::numeric_limits<double>::quiet_NaN())));
    EXPECT_FALSE(static_cast<bool>(var_t(-0.0)));
    EXPECT_EQ(static_cast<long>(var_t(true)), 1);
    EXPECT_EQ(static_cast<unsigned char>(var_t(-1)), 255);
    EXPECT_EQ(static_cast<short>(var_t(65535u)), -1);
    EXPECT_EQ(static_cast<long long>(var_t(1e300)), std::numeric_limits<long long>::min());
}

TEST(Var, TextConvertsToTheNumberThatItSpells) {
    EXPECT_EQ(static_cast<double>(var_t("2.5")), 2.5);
    EXPECT_EQ(static_cast<double>(var_t(" -3e2 ")), -300.0);
    EXPECT_EQ(static_cast<double>(var_t("\t5\r\n")), 5.0);
    EXPECT_EQ(static_cast<int>(var_t("7.9")), 7);
    EXPECT_TRUE(static_cast<bool>(var_t("1")));
    EXPECT_EQ(static_cast<double>(var_t("")), 0.0);
    EXPECT_EQ(static_cast<double>(var_t("gain")), 0.0);
    EXPECT_EQ(static_cast<double>(var_t("1.5 + 2")), 0.0);
    EXPECT_EQ(static_cast<double>(var_t("1e999")), std::numeric_limits<double>::infinity());
}

void expect_value(const var_t& got, const var_t& want) {
    EXPECT_EQ(got.type(), want.type());
    EXPECT_EQ(got.payload<std::uint64_t>(), want.payload<std::uint64_t>());
}

TEST(Var, ArithmeticKeepsTheTypeOfEqualOperands) {
    expect_value(var_t(2) + var_t(3), var_t(5));
    expect_value(var_t(2.5) - var_t(0.5), var_t(2.0));
    expect_value(var_t(1.5f) * var_t(2.0f), var_t(3.0f));
    expect_value(var_t(7ull) * var_t(3ull), var_t(21ull));
}

TEST(Var, ArithmeticTakesTheHigherTag) {
    expect_value(var_t(static_cast<short>(2)) + var_t(3), var_t(5));
    expect_value(var_t(2) + var_t(0.5), var_t(2.5));
    expect_value(var_t(true) * var_t(static_cast<unsigned char>(9)), var_t(static_cast<unsigned char>(9)));
    expect_value(var_t(-1ll) + var_t(1.0f), var_t(0.0f));
}

TEST(Var, TextInArithmeticIsTheNumberThatItSpells) {
    expect_value(var_t("2.5") + var_t(1), var_t(3.5));
    expect_value(var_t(true) - var_t("3"), var_t(-2.0));
    expect_value(var_t("gain") * var_t("2"), var_t(0.0));
}

TEST(Var, IntegerArithmeticWraps) {
    expect_value(var_t(short{30000}) + var_t(short{10000}), var_t(short{-25536}));
    expect_value(var_t(static_cast<signed char>(100)) + var_t(static_cast<signed char>(100)),
                 var_t(static_cast<signed char>(-56)));
    expect_value(var_t(std::numeric_limits<int>::max()) + var_t(1), var_t(std::numeric_limits<int>::min()));
    expect_value(var_t(0u) - var_t(1u), var_t(0xFFFFFFFFu));
    expect_value(var_t(static_cast<unsigned short>(65535)) * var_t(static_cast<unsigned short>(65535)),
                 var_t(static_cast<unsigned short>(1)));
    expect_value(var_t(std::numeric_limits<long long>::min()) - var_t(1ll),
                 var_t(std::numeric_limits<long long>::max()));
    expect_value(var_t(std::numeric_limits<long long>::max()) * var_t(2ll), var_t(-2ll));
    expect_value(var_t(0x8000000000000000ull) + var_t(0x8000000000000000ull), var_t(0ull));
}

TEST(Var, BoolArithmeticIsNonZero) {
    expect_value(var_t(true) + var_t(true), var_t(true));
    expect_value(var_t(false) - var_t(true), var_t(true));
    expect_value(var_t(true) - var_t(true), var_t(false));
    expect_value(var_t(true) * var_t(false), var_t(false));
}

void expect_order(const var_t& low, const var_t& high) {
    EXPECT_TRUE(low < high);
    EXPECT_TRUE(low <= high);
    EXPECT_TRUE(low != high);
    EXPECT_FALSE(low == high);
    EXPECT_FALSE(low > high);
    EXPECT_FALSE(low >= high);
    EXPECT_TRUE(high > low);
    EXPECT_TRUE(high >= low);
    EXPECT_FALSE(high < low);
    EXPECT_FALSE(high <= low);
}

void expect_equal(const var_t& a, const var_t& b) {
    EXPECT_TRUE(a == b);
    EXPECT_TRUE(a <= b);
    EXPECT_TRUE(a >= b);
    EXPECT_FALSE(a != b);
    EXPECT_FALSE(a < b);
    EXPECT_FALSE(a > b);
}

void expect_unordered(const var_t& a, const var_t& b) {
    EXPECT_TRUE(a != b);
    EXPECT_FALSE(a == b);
    EXPECT_FALSE(a < b);
    EXPECT_FALSE(a <= b);
    EXPECT_FALSE(a > b);
    EXPECT_FALSE(a >= b);
}

TEST(Var, ComparisonOfLikeTags) {
    expect_order(var_t(false), var_t(true));
    expect_order(var_t(-1), var_t(0));
    expect_order(var_t(1u), var_t(0xFFFFFFFFu));
    expect_order(var_t(0x7FFFFFFFFFFFFFFFull), var_t(0x8000000000000000ull));
    expect_order(var_t(9007199254740992ll), var_t(9007199254740993ll));
    expect_order(var_t(1.0f), var_t(1.5f));
    expect_order(var_t(-std::numeric_limits<double>::infinity()), var_t(-1e308));
    expect_equal(var_t(0.0), var_t(-0.0));
    expect_equal(var_t(static_cast<signed char>(-7)), var_t(static_cast<signed char>(-7)));
}

TEST(Var, ComparisonOfUnlikeNumbersIsByValue) {
    expect_order(var_t(-1), var_t(0u));
    expect_order(var_t(-1ll), var_t(0xFFFFFFFFFFFFFFFFull));
    expect_order(var_t(true), var_t(0xFFFFFFFFFFFFFFFFull));
    expect_order(var_t(true), var_t(2ull));
    expect_order(var_t(0ull), var_t(true));
    expect_equal(var_t(true), var_t(1ull));
    expect_equal(var_t(0ll), var_t(false));
    expect_order(var_t(static_cast<signed char>(-1)), var_t(false));
    expect_order(var_t(2), var_t(2.5));
    expect_equal(var_t(true), var_t(1.0));
    expect_equal(var_t(3ull), var_t(static_cast<short>(3)));
}

TEST(Var, NotANumberIsUnordered) {
    const var_t nan(std::numeric_limits<double>::quiet_NaN());
    expect_unordered(nan, nan);
    expect_unordered(nan, var_t(1.0));
    expect_unordered(var_t(1), nan);
}

TEST(Var, ComparisonOfTexts) {
    expect_equal(var_t("and"), var_t("and"));
    expect_order(var_t("and"), var_t("or"));
    expect_order(var_t(""), var_t("a"));
    expect_unordered(var_t("1"), var_t(1));
    expect_unordered(var_t(0.0), var_t(""));
}

TEST(Var, LogicOfValuesAndBools) {
    const var_t yes(2.5), no(0);
    EXPECT_TRUE(yes && yes);
    EXPECT_FALSE(yes && no);
    EXPECT_FALSE(no && yes);
    EXPECT_TRUE(yes || no);
    EXPECT_TRUE(no || yes);
    EXPECT_FALSE(no || no);
    EXPECT_TRUE(yes && true);
    EXPECT_FALSE(yes && false);
    EXPECT_TRUE(no || true);
    EXPECT_FALSE(no || false);
}

TEST(Var, TextAsCSourceOfIntegers) {
    EXPECT_EQ(var_t(true).to_string(), "1");
    EXPECT_EQ(var_t(false).to_string(), "0");
    EXPECT_EQ(var_t(static_cast<signed char>(-128)).to_string(), "-128");
    EXPECT_EQ(var_t(static_cast<unsigned char>(65)).to_string(), "65");
    EXPECT_EQ(var_t(static_cast<short>(-5)).to_string(), "-5");
    EXPECT_EQ(var_t(static_cast<unsigned short>(65535)).to_string(), "65535");
    EXPECT_EQ(var_t(std::numeric_limits<int>::min()).to_string(), "-2147483648");
    EXPECT_EQ(var_t(4294967295u).to_string(), "4294967295");
    EXPECT_EQ(var_t(std::numeric_limits<long long>::max()).to_string(), "9223372036854775807");
    EXPECT_EQ(var_t(std::numeric_limits<long long>::min()).to_string(), "-9223372036854775808");
    EXPECT_EQ(var_t(9223372036854775807ull).to_string(), "9223372036854775807");
    EXPECT_EQ(var_t(18446744073709551615ull).to_string(), "18446744073709551615");
}

TEST(Var, TextAsCSourceOfFloats) {
    EXPECT_EQ(var_t(2.5).to_string(), "2.5");
    EXPECT_EQ(var_t(1.0).to_string(), "1.0");
    EXPECT_EQ(var_t(-0.0).to_string(), "-0.0");
    EXPECT_EQ(var_t(0.1f).to_string(), "0.1");
    EXPECT_EQ(var_t(1e100).to_string(), "1e+100");
    EXPECT_EQ(var_t(0.1 + 0.2).to_string(), "0.30000000000000004");
    EXPECT_EQ(var_t(std::numeric_limits<double>::quiet_NaN()).to_string(), "NAN");
    EXPECT_EQ(var_t(std::numeric_limits<double>::infinity()).to_string(), "INFINITY");
    EXPECT_EQ(var_t(-std::numeric_limits<float>::infinity()).to_string(), "-INFINITY");
}

TEST(Var, TextAsCSourceOfText) {
    EXPECT_EQ(var_t("abc").to_string(), R"("abc")");
    EXPECT_EQ(var_t(" \x1F~\x7F").to_string(), R"(" \037~\177")");
    EXPECT_EQ(var_t("a\"b\\c").to_string(), R"("a\"b\\c")");
    EXPECT_EQ(var_t("\n\r\t\x01"
                    "7\x7F")
                  .to_string(),
              R"("\n\r\t\0017\177")");
    EXPECT_EQ(var_t("").to_string(), R"("")");
}

}  // namespace
}  // namespace tessel
