#include "files/sections.h"

#include <gtest/gtest.h>

#include <string>

namespace tessel::json {
namespace {

using namespace std::string_view_literals;
using pieces_t = std::vector<std::string_view>;

TEST(Sections, ListsAreCutAndTheRestIsKept) {
    const auto cut_up =
        cut(R"( {"a": [1, {"blocks": [2]}], "blocks": [{"x": "],}\"["}, [3, 4]], "links":[7] , "m": {}} )");
    ASSERT_TRUE(cut_up);
    EXPECT_EQ(cut_up->blocks, (pieces_t{R"({"x": "],}\"["})", " [3, 4]"}));
    EXPECT_EQ(cut_up->links, (pieces_t{"7"}));
    EXPECT_EQ(cut_up->rest, R"( {"a": [1, {"blocks": [2]}], "blocks": [], "links":[] , "m": {}} )");
}

TEST(Sections, EmptyListsHaveNoElements) {
    const auto cut_up = cut(R"({"blocks": [ ], "links": []})");
    ASSERT_TRUE(cut_up);
    EXPECT_TRUE(cut_up->blocks.empty());
    EXPECT_TRUE(cut_up->links.empty());
    EXPECT_TRUE(cut(R"({"blocks": []})")->links.empty());
}

TEST(Sections, AStringEndsAtTheQuoteBehindAnEvenNumberOfBackslashes) {
    const auto cut_up =
        cut(R"({"blocks": ["", "\"", "\\", "\\\"]", "a\\", "\u0022,"], "links": ["\\\\",{"\"":"\\"}]})");
    ASSERT_TRUE(cut_up);
    EXPECT_EQ(cut_up->blocks, (pieces_t{R"("")", R"( "\"")", R"( "\\")", R"( "\\\"]")", R"( "a\\")", R"( "\u0022,")"}));
    EXPECT_EQ(cut_up->links, (pieces_t{R"("\\\\")", R"({"\"":"\\"})"}));
    EXPECT_FALSE(cut(R"({"blocks": ["\"]})"));
    EXPECT_FALSE(cut(R"({"blocks": ["\\\"]})"));
}

TEST(Sections, WhatIsNoJsonStaysInAPieceOrInTheRest) {
    const auto trailing = cut(R"({"blocks": [1,]})");
    ASSERT_TRUE(trailing);
    EXPECT_EQ(trailing->blocks, (pieces_t{"1", ""}));
    const auto behind = cut(R"({"blocks": []} {)");
    ASSERT_TRUE(behind);
    EXPECT_EQ(behind->rest, R"({"blocks": []} {)");
}

TEST(Sections, OtherDocumentsAreLeftWhole) {
    for (const char* text : {"",
                             " ",
                             "[]",
                             "{",
                             "{}",
                             R"({"links": []})",
                             R"({"blocks": {}})",
                             R"({"blocks": 1})",
                             R"({"blocks": []x})",
                             R"({"blocks": [])",
                             R"({"blocks": [] )",
                             R"({"blocks": [],)",
                             R"({"blocks": [], "links")",
                             R"({"blocks": [], "blocks": []})",
                             R"({"blocks": [], "links": {}})",
                             R"({"blo\u0063ks": []})",
                             R"({"blocks": [}])",
                             R"({"blocks": ["a)",
                             R"({"blocks": ["\)",
                             R"({"blocks" [])",
                             R"({"blocks": [1)"})
        EXPECT_FALSE(cut(text)) << text;
}

// At the edges of a text the JSON library takes a zero byte for its end and passes over a byte order mark.
TEST(Sections, WhatOnlyAPieceWouldHideIsLeftWhole) {
    EXPECT_FALSE(cut("{\"blocks\": [1\0 2]}"sv));
    EXPECT_FALSE(cut("{\"blocks\": [1], \"a\": 2\0}"sv));
    EXPECT_FALSE(cut("{\"blocks\": [\xEF\xBB\xBF 1]}"));
    EXPECT_FALSE(cut("{\"blocks\": [1,\xEF\xBB\xBF{}]}"));
    EXPECT_TRUE(cut("{\"blocks\": [\"\xEF\xBB\xBF\"]}"));
}

}  // namespace
}  // namespace tessel::json
