#include "host/diagnose/source.h"

#include <gtest/gtest.h>

#include "host/diagnose/nearest.h"

namespace zarn {
namespace {

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

TEST(Texts, JsonHoldsNothingThatATerminalObeys) {
    EXPECT_EQ(plain_json("\"a\xC2\x9B\x7F\xE2\x80\xAE\xC3\xA4\\n\""), "\"a\\u009b\\u007f\\u202e\xC3\xA4\\n\"");
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
