#include "files/links.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>

#include "PropertiesModel.h"
#include "files/sections.h"

namespace tessel::json {
namespace {

/// Links as one text each, to compare.
std::vector<std::string> shown(const std::vector<link_t>& links) {
    std::vector<std::string> all;
    for (const link_t& link : links) {
        std::string text = std::to_string(link.srcId) + ':' + std::to_string(link.srcPort) + " to " +
                           std::to_string(link.dstId) + ':' + std::to_string(link.dstPort) + " '" + link.label + '\'';
        for (const point_t& point : link.breakpoints)
            text += ' ' + std::to_string(point.x) + ',' + std::to_string(point.y);
        all.push_back(text + (link.hidden ? " hidden" : "") + (link.resolved ? " resolved" : ""));
    }
    return all;
}

/// Reads a list as it stands in a file.
std::optional<std::vector<link_t>> read(const std::string& list) {
    const std::string file = R"({"blocks": [], "links": )" + list + '}';
    const std::string padded = file + std::string(padding, ' ');
    const auto sections = cut(std::string_view(padded).substr(0, file.size()));
    return sections ? read_links(sections->links) : std::nullopt;
}

TEST(Links, AreThoseOfTheDocument) {
    for (const char* list :
         {"[]", "[ {} ]", R"([{"srcId": 1, "dstId": 2, "srcPort": 0, "dstPort": -1}])",
          R"([{"dstPort": 3, "label": "a#\"\u00e4", "srcPort": 65537, "dstId": 18446744073709551615, "srcId": 0},
              {"srcId": 7, "breakpoints": [], "dstId": 8}, {"breakpoints": null}])",
          R"([{"breakpoints": [{"x": -5, "y": 2147483647}, {}, {"y": 1, "z": true}], "srcId": 4, "label": ""}])",
          R"([{"other": 1, "another": "text", "third": null, "fourth": 2.5, "fifth": -3, "other": false, "srcId": 9}])",
          R"([{"srcId": 1, "srcPort": -2147483648, "dstPort": 2147483647}])", R"([{"x": 1, "x": 2, "y": 1e300}])",
          R"([{"src\u0049d": 5, "label": "\ud83d\ude00\u0000\\\"}]", "dstId": 9223372036854775808}, {"srcPort": -0}])",
          R"([{"breakpoints": [{"srcId": 1.5, "x": -2147483648}], "dstPort": -0}])"}) {
        PropertiesModel document;
        document.import_json({{"links", nlohmann::json::parse(list)}}, false);
        const auto links = read(list);
        ASSERT_TRUE(links) << list;
        EXPECT_EQ(shown(*links), shown(document.links)) << list;
    }
}

TEST(Links, AnythingUnusualIsLeftToTheDocument) {
    for (const char* list : {"",
                             "[",
                             "[}",
                             "[{]",
                             "{}",
                             "7",
                             "[7]",
                             "[null]",
                             "[[]]",
                             "[-1]",
                             "[true]",
                             R"(["a"])",
                             "[{}] 1",
                             "[{},]",
                             R"([{"srcId": -1}])",
                             R"([{"srcId": 1.0}])",
                             R"([{"srcId": "1"}])",
                             R"([{"srcId": null}])",
                             R"([{"srcId": []}])",
                             R"([{"srcId": {}}])",
                             R"([{"srcId": true}])",
                             R"([{"srcPort": 2147483648}])",
                             R"([{"dstPort": -2147483649}])",
                             R"([{"dstPort": 1e3}])",
                             R"([{"label": null}])",
                             R"([{"label": 1}])",
                             R"([{"label": []}])",
                             R"([{"srcId": 1, "srcId": 1}])",
                             R"([{"label": "a", "label": "b"}])",
                             R"([{"breakpoints": {}}])",
                             R"([{"breakpoints": 1}])",
                             R"([{"breakpoints": [1]}])",
                             R"([{"breakpoints": [[]]}])",
                             R"([{"breakpoints": [{"x": 1}, 5]}])",
                             R"([{"breakpoints": [{"x": "1"}]}])",
                             R"([{"breakpoints": [{"x": 1, "x": 2}]}])",
                             R"([{"breakpoints": [{"x": 3000000000}]}])",
                             R"([{"breakpoints": [{"x": {}}]}])",
                             R"([{"breakpoints": [], "breakpoints": []}])",
                             R"([{"breakpoints": [{"x": 1}], "srcId": 1, "breakpoints": null}])",
                             R"([{"other": []}])",
                             R"([{"other": {}}])",
                             R"([{"srcId": 18446744073709551616}])",
                             R"([{"label": "\ud800"}])"})
        EXPECT_FALSE(read(list)) << list;
}

// A list of many links keeps no more than they need.
TEST(Links, LabelsKeepNoRoomOfLongerTexts) {
    const std::string text(1000, 'x');
    const auto links = read("[{\"other\": \"" + text + "\", \"label\": \"a\"}]");
    ASSERT_TRUE(links);
    EXPECT_EQ(links->front().label, "a");
    EXPECT_LT(links->front().label.capacity(), 100U);
}

}  // namespace
}  // namespace tessel::json
