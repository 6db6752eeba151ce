#include "host/document/places.h"

#include <gtest/gtest.h>

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

TEST(Places, OfTwoValuesWithOnePointerTheLastCounts) {
    EXPECT_EQ(places_of(R"({"a": 1,
"a": 2})",
                        {"/a"})
                  .at("/a")
                  .line,
              2u);
}

}  // namespace
}  // namespace zarn
