#include "host/diagnose/source.h"

#include <gtest/gtest.h>

#include "host/diagnose/nearest.h"

namespace zarn {
namespace {

TEST(Places, OfValuesByPointer) {
    const std::string text = "{\n  \"a\": [1,\n    {\"b/c\": \"x\\\"]\"}, true],\n  \"\\u0064~\": -2.5e3\n}";
    const auto places = places_of(text, {"", "/a", "/a/1", "/a/1/b~1c", "/a/2", "/d~0", "/missing"});
    EXPECT_EQ(places.at("").line, 1u);
    EXPECT_EQ(places.at("/a").line, 2u);
    EXPECT_EQ(places.at("/a").column, 8u);
    EXPECT_EQ(places.at("/a/1").line, 3u);
    EXPECT_EQ(places.at("/a/1/b~1c").column, 13u);
    EXPECT_EQ(places.at("/a/2").column, 22u);
    EXPECT_EQ(places.at("/d~0").line, 4u);
    EXPECT_EQ(places.at("/d~0").column, 14u);
    EXPECT_FALSE(places.contains("/missing"));
}

TEST(Places, DeepTextNeedsNoDeepStack) {
    const std::size_t depth = 200000;
    std::string text(depth, '[');
    text.append(depth, ']');
    std::size_t opened = 0;
    scan(text, [&](const std::string& pointer, token_t, std::size_t, std::size_t) {
        ++opened;
        EXPECT_EQ(pointer.size(), 2 * (opened - 1));
    });
    EXPECT_EQ(opened, depth);
}

TEST(Places, OfABytes) {
    EXPECT_EQ(place_at("ab\ncd", 0).line, 1u);
    EXPECT_EQ(place_at("ab\ncd", 4).line, 2u);
    EXPECT_EQ(place_at("ab\ncd", 4).column, 2u);
    EXPECT_EQ(place_at("ab\ncd", 99).column, 3u);
}

TEST(Names, NearestOfTheKnown) {
    const std::vector<std::string> known{"add", "abs", "constant"};
    EXPECT_EQ(nearest_name("Constant", known), "constant");
    EXPECT_EQ(nearest_name("constnat", known), "constant");
    EXPECT_EQ(nearest_name("ads", known), "add");
    EXPECT_EQ(nearest_name("display", known), "");
    EXPECT_EQ(nearest_name("", known), "");
    const std::string giant(std::size_t{1} << 20, 'x');
    EXPECT_EQ(nearest_name(giant, {giant + "y"}), "");
    EXPECT_EQ(edit_distance("wire", "wires", 3), 1u);
    EXPECT_EQ(edit_distance("wire", "block", 3), 3u);
}

TEST(Texts, PrintableHoldsNothingThatATerminalObeys) {
    EXPECT_EQ(printable("a\n\tb \xC3\xA4"), "a  b \xC3\xA4");
    EXPECT_EQ(printable("\x1B[31m\x07\x7F"), " [31m  ");
    EXPECT_EQ(printable("d\xFF.\xC3"), "d\xEF\xBF\xBD.\xEF\xBF\xBD");
    EXPECT_EQ(printable(std::string_view("a\0b", 3)), "a b");
}

TEST(Texts, InQuotesKeepsWholeCharacters) {
    std::string text;
    for (int i = 0; i < 40; ++i) text += "\xC3\xA4";
    const std::string shown = in_quotes("x" + text);
    EXPECT_EQ(shown.substr(shown.size() - 4), "...'");
    EXPECT_EQ((shown.size() - 6) % 2, 0u) << "no half of a character";
    EXPECT_EQ(in_quotes("a\nb"), "'a b'");
}

}  // namespace
}  // namespace zarn
