#include "host/edit/objects.h"

#include <gmock/gmock.h>

namespace {

using namespace zarn::edit;

std::string with(std::string text, std::string_view key, std::string_view value) {
    set_member(text, 0, key, value);
    return text;
}

std::string without(std::string text, std::string_view key) {
    remove_member(text, 0, key);
    return text;
}

TEST(Objects, ValuesAreReplacedWhereTheyStand) {
    EXPECT_EQ(with(R"({ "a" :  1.50 , "b":[1, {"a": 2}] })", "a", "7"), R"({ "a" :  7 , "b":[1, {"a": 2}] })");
    EXPECT_EQ(with(R"({"a": "x, \"}", "b": 1})", "b", "2"), R"({"a": "x, \"}", "b": 2})");
    EXPECT_EQ(with(R"({"\u0061": 1})", "a", "2"), R"({"\u0061": 2})") << "a key with escapes";
    EXPECT_EQ(with(R"({"a": 1, "a": 2})", "a", "3"), R"({"a": 1, "a": 3})") << "the last counts";
}

TEST(Objects, NewMembersTakeTheMannerOfThoseBefore) {
    EXPECT_EQ(with("{}", "a", "1"), R"({"a": 1})");
    EXPECT_EQ(with(R"({"a":1})", "b", "2"), R"({"a":1,"b":2})");
    EXPECT_EQ(with(R"({"a": 1})", "b", "2"), R"({"a": 1, "b": 2})");
    EXPECT_EQ(with("{\n  \"a\": 1\n}", "b", "2"), "{\n  \"a\": 1,\n  \"b\": 2\n}");
    EXPECT_EQ(with("{\n\t\"a\" : 1,\n\t\"b\" : 1\n}", "c", "2"), "{\n\t\"a\" : 1,\n\t\"b\" : 1,\n\t\"c\" : 2\n}");
}

TEST(Objects, MembersLeaveWithTheirComma) {
    EXPECT_EQ(without(R"({"a": 1, "b": 2, "c": 3})", "b"), R"({"a": 1, "c": 3})");
    EXPECT_EQ(without(R"({"a": 1, "b": 2})", "a"), R"({"b": 2})");
    EXPECT_EQ(without(R"({"a": 1, "b": 2})", "b"), R"({"a": 1})");
    EXPECT_EQ(without(R"({"a": 1})", "a"), "{}");
    EXPECT_EQ(without(R"({"a": 1, "b": 2, "a": 3})", "a"), R"({"b": 2})") << "each of several";
    EXPECT_EQ(without(R"({"a": 1})", "b"), R"({"a": 1})");
}

TEST(Objects, WhatIsNoObjectIsRefused) {
    for (const char* text : {"", "[1]", "{", R"({"a")", R"({"a": })", R"({"a": 1)", R"({a: 1})", R"({"a": 1,)"})
        EXPECT_FALSE(read_object(text)) << text;
    std::string list = "[1]";
    EXPECT_THROW(set_member(list, 0, "a", "1"), std::runtime_error);
}

TEST(Objects, NumbersAreWrittenAsThoseBefore) {
    EXPECT_EQ(number_like("40.0", 45), "45.0");
    EXPECT_EQ(number_like("40", 45), "45");
    EXPECT_EQ(number_like("40", 45.25), "45.25");
    EXPECT_EQ(number_like("4e1", 45), "45.0");
    EXPECT_EQ(number_like("40.0", -0.0), "0.0");
}

TEST(Objects, TheStyleOfAnObjectIsSeen) {
    const style_t spread = style_of("{\n   \"a\": {\n    \"b\": 1\n   }\n  }", "  ");
    EXPECT_TRUE(spread.spread);
    EXPECT_EQ(spread.unit, " ");
    const style_t tight = style_of(R"({"a":1,"b":2})", "");
    EXPECT_FALSE(tight.spread);
    EXPECT_EQ(tight.colon, ":");
    EXPECT_EQ(tight.comma, ",");
}

}  // namespace
