#include "core/literal_bridge.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "tests/support/console.h"

namespace python {
namespace {

using tessel::result_failure;
using tessel::result_ok;
using tessel::var_t;

/// A bridge of its own and the console's texts.
class LiteralBridgeTest : public testing::Test {
protected:
    /// Type and text of a value ("int32 5"), "refused" with one line on the console.
    std::string read(std::string_view text) {
        var_t value;
        console.clear();
        const auto result = bridge.evaluate("mainsys.sub.block_initial", text, &value);
        if (result == result_ok && console.empty()) return short_name(value.type()) + (" " + value.to_string());
        EXPECT_EQ(result, result_failure);
        EXPECT_EQ(console.size(), 1u);
        EXPECT_EQ(value.type(), tessel::type_unknown);
        return "refused";
    }

    /// Dimensions and elements of a list ("2x1: int32 1, int32 2"), "refused" with dimensions 0 and 0.
    std::string list(std::string_view text) {
        var_array_t array{{var_t(1)}, {7, 7}};
        console.clear();
        const auto result = bridge.evaluate_array("mainsys.table_bp1", text, array);
        if (result == result_ok && console.empty()) {
            std::string shown = std::to_string(array.dimensions[0]) + "x" + std::to_string(array.dimensions[1]) + ":";
            for (const var_t& v : array.values) shown += std::string(" ") + short_name(v.type()) + " " + v.to_string();
            return shown;
        }
        EXPECT_EQ(result, result_failure);
        EXPECT_EQ(console.size(), 1u);
        EXPECT_TRUE(array.values.empty());
        EXPECT_EQ(array.dimensions, (std::array<std::uint64_t, 2>{0, 0}));
        return "refused";
    }

    LiteralBridge bridge;
    test::Console captured;
    std::vector<std::string>& console = captured.texts;
};

struct reading_t {
    const char* text;
    const char* want;
};

TEST_F(LiteralBridgeTest, Integers) {
    constexpr reading_t rows[] = {
        {"0", "int32 0"},
        {"00", "int32 0"},
        {"5", "int32 5"},
        {"+5", "int32 5"},
        {"-5", "int32 -5"},
        {"--5", "int32 5"},
        {"- 5", "int32 -5"},
        {"-0", "int32 0"},
        {" \t7\n", "int32 7"},
        {"1_000_000", "int32 1000000"},
        {"2147483647", "int32 2147483647"},
        {"2147483648", "int64 2147483648"},
        {"-2147483648", "int32 -2147483648"},
        {"-2147483649", "int64 -2147483649"},
        {"9223372036854775807", "int64 9223372036854775807"},
        {"9223372036854775808", "uint64 9223372036854775808"},
        {"18446744073709551615", "uint64 18446744073709551615"},
        {"-9223372036854775808", "int64 -9223372036854775808"},
        {"-(-9223372036854775808)", "uint64 9223372036854775808"},
        {"-(-2147483648)", "int64 2147483648"},
        {"-(2147483648)", "int32 -2147483648"},
        {"0x1F", "int32 31"},
        {"0XfF", "int32 255"},
        {"-0x10", "int32 -16"},
        {"0x_ff", "int32 255"},
        {"0x1e5", "int32 485"},
        {"0o17", "int32 15"},
        {"0O17", "int32 15"},
        {"\t\r\n17\r\n", "int32 17"},
        {"0b101", "int32 5"},
        {"0B1_0", "int32 2"},
        {"((5))", "int32 5"},
        {"( -5 )", "int32 -5"},
    };
    for (const auto& row : rows) EXPECT_EQ(read(row.text), row.want) << row.text;
}

TEST_F(LiteralBridgeTest, Floats) {
    constexpr reading_t rows[] = {
        {"1.0", "flt64 1.0"},
        {"-2.5", "flt64 -2.5"},
        {"+2.5", "flt64 2.5"},
        {".5", "flt64 0.5"},
        {"5.", "flt64 5.0"},
        {"1e3", "flt64 1000.0"},
        {"1E+3", "flt64 1000.0"},
        {"1.5e-3", "flt64 0.0015"},
        {"5.e1", "flt64 50.0"},
        {"007.5", "flt64 7.5"},
        {"-0.0", "flt64 -0.0"},
        {"1_0.2_5", "flt64 10.25"},
        {"1e1_0", "flt64 10000000000.0"},
        {"1e400", "flt64 INFINITY"},
        {"-1e400", "flt64 -INFINITY"},
        {"1e-400", "flt64 0.0"},
        {"0.1", "flt64 0.1"},
        {"(1.5)", "flt64 1.5"},
    };
    for (const auto& row : rows) EXPECT_EQ(read(row.text), row.want) << row.text;
}

TEST_F(LiteralBridgeTest, TruthValues) {
    EXPECT_EQ(read("True"), "bool 1");
    EXPECT_EQ(read(" False "), "bool 0");
    EXPECT_EQ(read("(True)"), "bool 1");
    EXPECT_EQ(read("-True"), "int32 -1");
    EXPECT_EQ(read("+True"), "int32 1");
    EXPECT_EQ(read("+False"), "int32 0");
    EXPECT_EQ(read("-False"), "int32 0");
}

TEST_F(LiteralBridgeTest, QuotedText) {
    EXPECT_EQ(read("'abc'"), "cstr \"abc\"");
    EXPECT_EQ(read("\"a'b\""), "cstr \"a'b\"");
    EXPECT_EQ(read("''"), "cstr \"\"");
    EXPECT_EQ(read(R"('a\'b\n\t\r\\\"')"), R"(cstr "a'b\n\t\r\\\"")");
}

TEST_F(LiteralBridgeTest, EveryOtherExpressionIsRefusedWithOneLine) {
    for (const char* text : {"",
                             " ",
                             "gain",
                             "math.pi",
                             "1 + 2",
                             "2*3",
                             "2**3",
                             "1 2",
                             "1,2",
                             "(1,2)",
                             "()",
                             "(1",
                             "1)",
                             "[1]",
                             "[]",
                             "{}",
                             "true",
                             "TRUE",
                             "Truely",
                             "True1",
                             "True_",
                             "None",
                             "inf",
                             "nan",
                             "float('nan')",
                             "1j",
                             "1.5.2",
                             "1e2.5",
                             "1e2e3",
                             "007",
                             "1__0",
                             "_1",
                             "1_",
                             "1_.5",
                             "1_e5",
                             "0x",
                             "0xg",
                             "1x10",
                             "1b1",
                             "-9o7",
                             "0x 1",
                             "0b12",
                             "0o8",
                             "1e",
                             "1e+",
                             ".",
                             "-",
                             "+",
                             "e5",
                             "1l",
                             "18446744073709551616",
                             "-9223372036854775809",
                             "-'a'",
                             "'abc",
                             "'a' 'b'",
                             "\"\"\"a\"\"\"",
                             "'a\\q'",
                             "b'a'",
                             "'a\nb'",
                             "'a\\",
                             "1 if True else 2",
                             "lambda: 1",
                             "__import__('os')",
                             "1;2",
                             "\xC3\xA4",
                             "1#c"})
        EXPECT_EQ(read(text), "refused") << text;
}

TEST_F(LiteralBridgeTest, DeepNestingIsRefusedAndDoesNotExhaustTheStack) {
    const std::string open(100'000, '('), close(100'000, ')');
    EXPECT_EQ(read(open + "1" + close), "refused");
    EXPECT_EQ(read(std::string(100'000, '-') + "1"), "refused");
    EXPECT_EQ(list(std::string(100'000, '[')), "refused");
}

TEST_F(LiteralBridgeTest, TheRefusalNamesScopeAndExpressionOnOneLine) {
    read("gain *\n2");
    EXPECT_EQ(
        console.at(0),
        "mainsys.sub.block_initial: 'gain * 2' is no literal value, and expressions are not evaluated without the "
        "interpreter");
    read(std::string(5000, 'x'));
    EXPECT_LT(console.at(0).size(), 300u);
    read("x" + std::string(3000, '\xBF'));
    EXPECT_LT(console.at(0).size(), 300u);
}

TEST_F(LiteralBridgeTest, FlatListsHaveDimensionsNAndOne) {
    EXPECT_EQ(list("[0.0, 1.0, 2.0]"), "3x1: flt64 0.0 flt64 1.0 flt64 2.0");
    EXPECT_EQ(list("[5]"), "1x1: int32 5");
    EXPECT_EQ(list(" [ 1 ,\n -2.5, True, ] "), "3x1: int32 1 flt64 -2.5 bool 1");
}

TEST_F(LiteralBridgeTest, ListsOfListsHaveRowsAndColumns) {
    EXPECT_EQ(list("[[0.0, 1.0, 2.0],[3.0, 4.0, 5.0]]"),
              "2x3: flt64 0.0 flt64 1.0 flt64 2.0 flt64 3.0 flt64 4.0 flt64 5.0");
    EXPECT_EQ(list("[[1],[2],]"), "2x1: int32 1 int32 2");
    EXPECT_EQ(list("[ [ 1 , 2 , ] ]"), "1x2: int32 1 int32 2");
}

TEST_F(LiteralBridgeTest, EmptyAndRaggedListsFailWithTheReason) {
    const std::pair<const char*, const char*> rows[] = {
        {"[]", "mainsys.table_bp1: '[]' is an empty list"},
        {"[[]]", "mainsys.table_bp1: '[[]]' is a list of empty lists"},
        {"[[],[]]", "mainsys.table_bp1: '[[],[]]' is a list of empty lists"},
        {"[[1,2],[3]]", "mainsys.table_bp1: '[[1,2],[3]]' is a list of lists of different lengths"},
        {"[[1],[]]", "mainsys.table_bp1: '[[1],[]]' is a list of lists of different lengths"},
        {"[1,[2]]", "mainsys.table_bp1: '[1,[2]]' mixes numbers and lists"},
        {"[[1],2]", "mainsys.table_bp1: '[[1],2]' mixes numbers and lists"},
    };
    for (const auto& [text, message] : rows) {
        EXPECT_EQ(list(text), "refused") << text;
        EXPECT_EQ(console.at(0), message);
    }
}

TEST_F(LiteralBridgeTest, WhatIsNoListOfNumbersIsRefused) {
    for (const char* text : {"", "1", "[1", "1]", "[1]]", "[,]", "[1,,2]", "[1 2]", "['a']", "[x]", "[1+2]", "(1,2)",
                             "[[[1]]]", "[[1][2]]", "[1] + [2]", "range(3)", "[1],[2]", "[[1,],"})
        EXPECT_EQ(list(text), "refused") << text;
}

TEST_F(LiteralBridgeTest, AListOfAHundredThousand) {
    std::string text = "[";
    for (int i = 0; i < 100'000; ++i) text += std::to_string(i) + ".5,";
    var_array_t array;
    ASSERT_EQ(bridge.evaluate_array("x", text + "]", array), result_ok);
    ASSERT_EQ(array.dimensions[0], 100'000u);
    EXPECT_EQ(static_cast<double>(array.values.back()), 99'999.5);
}

TEST_F(LiteralBridgeTest, SetArrayTakesTheMemoryOverAndKeepsTheValues) {
    bridge.set_array("mainsys.w.ydata", new double[3]{1.0, 2.0, 3.0}, 3);
    EXPECT_EQ(bridge.array("mainsys.w.ydata"), (std::vector<double>{1.0, 2.0, 3.0}));
    bridge.set_array("mainsys.w.ydata", new double[1]{4.0}, 1);
    EXPECT_EQ(bridge.array("mainsys.w.ydata"), (std::vector<double>{4.0}));
    bridge.set_array("mainsys.w.ydata", nullptr, 0);
    EXPECT_TRUE(bridge.array("mainsys.w.ydata").empty());
    bridge.set_array("odd", new double[1]{4.0}, -1);
    EXPECT_TRUE(bridge.array("odd").empty());
    EXPECT_TRUE(bridge.array("never set").empty());
    EXPECT_TRUE(console.empty());
}

TEST_F(LiteralBridgeTest, AssignmentsAndAttributesCanBeReadBack) {
    bridge.assign("mainsys.sub", "zarn.Result()");
    bridge.set_attribute("mainsys", "tf", 10.0);
    EXPECT_EQ(bridge.assigned("mainsys.sub"), "zarn.Result()");
    EXPECT_EQ(bridge.attribute("mainsys.tf"), 10.0);
    EXPECT_EQ(bridge.assigned("mainsys"), "");
    EXPECT_EQ(bridge.attribute("mainsys.ti"), 0.0);
    bridge.clear();
    EXPECT_EQ(bridge.assigned("mainsys.sub"), "");
    EXPECT_EQ(bridge.attribute("mainsys.tf"), 0.0);
    EXPECT_TRUE(console.empty());
}

TEST_F(LiteralBridgeTest, NamesThatBeginAlikeKeepTheirOwnTexts) {
    const std::vector<std::string> names = {"mainsys.a.b.c", "mainsys.a.b",
                                            "mainsys.a.bc",  "mainsys.ab",
                                            "mainsys",       "mainsys.a",
                                            "mainsys.a.",    "",
                                            "mainsys..b",    "."};
    for (const auto& name : names) bridge.assign(name, "1");
    for (const auto& name : names) bridge.assign(name, "<" + name + ">");
    for (const auto& name : names) EXPECT_EQ(bridge.assigned(name), "<" + name + ">");
    for (const char* name : {"mainsys.a.b.c.d", "mainsys.", "mainsys.b", "..", "a"})
        EXPECT_EQ(bridge.assigned(name), "");
}

TEST_F(LiteralBridgeTest, SubsystemsWithinEachOtherTakeTheMemoryOfTheirNames) {
    std::string path = "mainsys";
    for (int depth = 0; depth < 5'000; ++depth) bridge.assign(path += ".subsystem", "zarn.Result()");
    EXPECT_EQ(bridge.assigned(path), "zarn.Result()");
    EXPECT_EQ(bridge.assigned(path + ".subsystem"), "");
}

TEST_F(LiteralBridgeTest, SeriesThatWereSetAreFound) {
    bridge.set_series("u", {0.0, 1.0}, {5.0, 6.0});
    const auto series = bridge.find_series("u");
    ASSERT_NE(series, nullptr);
    series->load();
    const array_t times = series->time_data(), values = series->value_data();
    ASSERT_EQ(times.count, 2u);
    ASSERT_EQ(values.count, 2u);
    EXPECT_EQ(times.data[1], 1.0);
    EXPECT_EQ(values.data[0], 5.0);
    EXPECT_EQ(times.data[2], 1.0);
    EXPECT_EQ(values.data[2], 6.0);
}

TEST_F(LiteralBridgeTest, AnEmptySeriesIsPaddedWithZero) {
    bridge.set_series("u", {}, {});
    const array_t values = bridge.find_series("u")->value_data();
    EXPECT_EQ(values.count, 0u);
    EXPECT_EQ(values.data[0], 0.0);
}

TEST_F(LiteralBridgeTest, ArraysOutliveTheBridge) {
    array_t values;
    {
        LiteralBridge other;
        other.set_series("u", {0.0}, {7.0});
        values = other.find_series("u")->value_data();
    }
    EXPECT_EQ(values.data[0], 7.0);
}

TEST_F(LiteralBridgeTest, AnUnknownSeriesGivesOneLine) {
    EXPECT_EQ(bridge.find_series("data.speed"), nullptr);
    ASSERT_EQ(console.size(), 1u);
    EXPECT_EQ(console[0], "'data.speed': no such series, and expressions are not evaluated without the interpreter");
    EXPECT_EQ(bridge.find_series(nullptr), nullptr);
    EXPECT_EQ(console.size(), 2u);
}

}  // namespace
}  // namespace python
