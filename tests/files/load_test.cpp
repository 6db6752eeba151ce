// Loading of a main file.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "core/var.h"
#include "port.h"
#include "tests/files/loader.h"

namespace tessel {
namespace {

using namespace std::string_literals;

struct LoadTest : testing::Test, test::Loader {
    void expect_failure(std::string_view text, const std::string& message) {
        console.texts.clear();
        EXPECT_EQ(load(text), result_failure) << text;
        EXPECT_EQ(console.texts, std::vector{message}) << text;
    }
};

constexpr const char* no_key = "[json.exception.invalid_iterator.207] cannot use key() for non-object iterators";
constexpr const char* no_value = "[json.exception.type_error.306] cannot use value() with ";
constexpr const char* wrong_type = "[json.exception.type_error.302] type must be ";

TEST_F(LoadTest, AWholeModel) {
    ASSERT_EQ(load(R"({
        "blocks": [
            {"constant": {"name": "c1", "id": 101, "parent": 0, "inportCount": 0, "outportCount": 1,
                          "geometry": {"x": 40.0, "y": 60.0, "width": 30.0, "height": 20.0, "rotation": 0.0},
                          "bg": {"red": 1.0, "green": 1.0, "blue": 1.0, "alpha": 1.0}, "expression": "2.5"}},
            {"display": {"name": "d1", "id": 102, "parent": 0, "inportCount": 1, "outportCount": 0}}
        ],
        "links": [{"srcId": 101, "dstId": 102, "srcPort": 0, "dstPort": 0, "label": "", "breakpoints": null}],
        "model": {"ti": 0.0, "tf": 10.0, "ts": 0.1},
        "metadata": {"utc.save": 1, "version.hexcode": 1575936, "version.major": 24, "version.minor": 12,
                     "version.patch": 0}
    })"),
              result_ok);
    EXPECT_TRUE(console.texts.empty());
    EXPECT_EQ(names(), "mainsys c1 d1");
    const IMetaBlock& root = **model->begin();
    EXPECT_EQ(root.id(), 0u);
    EXPECT_EQ(root.parent_id(), 0u);
    EXPECT_STREQ(root.class_name(), "subsys");
    EXPECT_EQ(root.input_count(), 0u);
    EXPECT_STREQ(named("c1")->class_name(), "constant");
    EXPECT_EQ(named("c1")->id(), 101u);
    EXPECT_STREQ(named("c1")->param("expression").text(), "2.5");
    EXPECT_EQ(named("c1")->geometry()[2], 30.0f);
    EXPECT_EQ(named("c1")->colors()[3], 1.0f);
    ASSERT_EQ(properties->links.size(), 1u);
    EXPECT_EQ(properties->links[0].dstId, 102u);
    EXPECT_FALSE(properties->links[0].hidden);
    EXPECT_EQ(properties->get("ts").payload<double>(), 0.1);
}

TEST_F(LoadTest, AnEmptyBlocksArrayGivesTheRootAlone) {
    EXPECT_EQ(load(R"({"blocks": []})"), result_ok);
    EXPECT_EQ(names(), "mainsys");
    EXPECT_TRUE(console.texts.empty());
}

TEST_F(LoadTest, WithoutBlocksThereIsNoRootButLinksAndSettingsAreTaken) {
    EXPECT_EQ(load(R"({"links": [{"srcId": 1, "dstId": 2}], "model": {"ts": 0.5}})"), result_ok);
    EXPECT_EQ(model->begin(), model->end());
    EXPECT_EQ(properties->links.size(), 1u);
    EXPECT_EQ(properties->get("ts").payload<double>(), 0.5);
    EXPECT_TRUE(console.texts.empty());
}

TEST_F(LoadTest, FilesThatAreNoObjectAreAccepted) {
    for (const char* text : {"[]", "[1, {\"blocks\": []}]", "5", "null", "\"blocks\"", "true", "-0.5e3", " {} "}) {
        EXPECT_EQ(load(text), result_ok) << text;
        EXPECT_EQ(model->begin(), model->end()) << text;
    }
    EXPECT_TRUE(console.texts.empty());
}

TEST_F(LoadTest, FurtherKeysAtTheTopAreIgnored) {
    EXPECT_EQ(load(R"({"blocks": [], "view": {"zoom": 2}, "metadata": 5})"), result_ok);
    EXPECT_EQ(names(), "mainsys");
}

TEST_F(LoadTest, LoadingClearsTheBlocksAndKeepsTheProperties) {
    const char* text = R"({"blocks": [{"abs": {"name": "a", "id": 5}}], "links": [{"srcId": 1, "dstId": 2}]})";
    EXPECT_EQ(load(text), result_ok);
    EXPECT_EQ(load(text), result_ok);
    EXPECT_EQ(names(), "mainsys a");
    EXPECT_EQ(properties->links.size(), 2u);
}

TEST_F(LoadTest, AFileThatCannotBeOpenedClearsTheModelAndFails) {
    EXPECT_EQ(load(R"({"blocks": []})"), result_ok);
    const std::string path = (temp.path() / "absent.json").string();
    EXPECT_EQ(json::load(model.get(), path), result_failure);
    EXPECT_EQ(model->begin(), model->end());
    EXPECT_EQ(console.texts, std::vector{"cannot open '" + path + "': No such file or directory"});
}

TEST_F(LoadTest, AFolderOrAnEmptyPathFails) {
    EXPECT_EQ(json::load(model.get(), temp.path().string()), result_failure);
    EXPECT_EQ(json::load(model.get(), ""), result_failure);
    ASSERT_EQ(console.texts.size(), 2u);
    EXPECT_EQ(console.texts[0], "cannot read '" + temp.path().string() + "': Is a directory");
    EXPECT_EQ(console.texts[1], "cannot open '': No such file or directory");
}

TEST_F(LoadTest, TextThatIsNotJson) {
    for (const std::string& text :
         {std::string(), std::string("{"), std::string("{\"blocks\": [}"), std::string("[1,]"), std::string("{} {}"),
          std::string("{'blocks': []}"), std::string("// x\n{}"), std::string("{\"a\0b\": 1}", 10), std::string("nul"),
          std::string("{\"model\": {\"ts\": NaN}}"), std::string("{\"a\": \"\xFF\"}"), std::string("{\"a\": \"\xC3\"}"),
          std::string("{\"a\": \"\\ud800\"}"), std::string("\xFF\xFE{\0}\0", 6)}) {
        console.texts.clear();
        EXPECT_EQ(load(text), result_failure) << text;
        ASSERT_EQ(console.texts.size(), 1u) << text;
        EXPECT_TRUE(console.texts[0].starts_with("[json.exception.parse_error.101] parse error at line "))
            << console.texts[0];
    }
    console.texts.clear();
    EXPECT_EQ(load("{\"model\": {\"ts\": 1e999}}"), result_failure);
    EXPECT_EQ(console.texts,
              std::vector<std::string>{"[json.exception.out_of_range.406] number overflow parsing '1e999'"});
}

TEST_F(LoadTest, AByteOrderMarkIsSkipped) {
    EXPECT_EQ(load("\xEF\xBB\xBF{\"blocks\": []}"), result_ok);
    EXPECT_EQ(names(), "mainsys");
}

TEST_F(LoadTest, AZeroByteEndsTheText) {
    EXPECT_EQ(load(std::string_view("{\"blocks\": []}\0 and more", 25)), result_ok);
    EXPECT_EQ(names(), "mainsys");
}

TEST_F(LoadTest, AZeroByteOrAByteOrderMarkAmongTheBlocksIsNoJson) {
    for (const std::string& text :
         {"{\"blocks\": [{\"abs\": {}}\0 and more]}"s, "{\"blocks\": [{\"abs\": {}}\0, {\"abs\": {}}]}"s,
          "{\"blocks\": [\xEF\xBB\xBF{\"abs\": {}}]}"s}) {
        console.texts.clear();
        EXPECT_EQ(load(text), result_failure) << text;
        EXPECT_EQ(names(), "");
        ASSERT_EQ(console.texts.size(), 1u) << text;
        EXPECT_TRUE(console.texts[0].starts_with("[json.exception.parse_error.101]")) << console.texts[0];
    }
}

TEST_F(LoadTest, LineEndsOfEveryKindAndTextBeyondAscii) {
    EXPECT_EQ(load("{\r\n\"blocks\":\r[\n{\"abs\":{\"name\":\n\"\xC3\xA4 \\u00e4\"}}]}"), result_ok);
    EXPECT_EQ(names(), "mainsys \xC3\xA4 \xC3\xA4");
}

TEST_F(LoadTest, TheLastOfEqualKeysCounts) {
    EXPECT_EQ(load(R"({"blocks": [{"abs": {"name": "a"}}],
                       "blocks": [{"abs": {"name": "b", "id": 1, "id": 2}, "abs": {"name": "c", "id": 3}}]})"),
              result_ok);
    EXPECT_EQ(names(), "mainsys c");
    EXPECT_EQ(named("c")->id(), 3u);
}

TEST_F(LoadTest, OnlyTheFirstKeyInSortedOrderCounts) {
    EXPECT_EQ(load(R"({"blocks": [{"zzz": 5, "cos": {"name": "c"}, "sin": {"name": "s"}}]})"), result_ok);
    EXPECT_EQ(names(), "mainsys c");
}

TEST_F(LoadTest, AnUnknownClassStopsTheLoad) {
    EXPECT_EQ(load(R"({"blocks": [{"abs": {"name": "a"}}, {"gain": {"name": "g"}}, {"cos": {"name": "c"}}],
                       "links": [{"srcId": 1}], "model": {"ts": 0.5}})"),
              result_failure);
    EXPECT_EQ(console.texts, std::vector<std::string>{"Class 'gain' not recognized"});
    EXPECT_EQ(names(), "mainsys a");
    EXPECT_TRUE(properties->links.empty());
    EXPECT_EQ(properties->get("ts").payload<double>(), 1.0);
    expect_failure(R"({"blocks": [{"": {}}]})", "Class '' not recognized");
    expect_failure(R"({"blocks": [{"Add": {}}]})", "Class 'Add' not recognized");
    expect_failure(R"({"blocks": [{"{:d}": {}}]})", "Class '{:d}' not recognized");
}

TEST_F(LoadTest, ElementsThatAreNoObject) {
    for (const char* element : {"5", "null", "\"abs\"", "true", "[]", "[{\"abs\": {}}]", "1.5"})
        expect_failure(std::string("{\"blocks\": [{\"cos\": {\"name\": \"c\"}}, ") + element + "]}", no_key);
    EXPECT_EQ(names(), "mainsys c");
}

TEST_F(LoadTest, AnElementWithoutAKey) {
    expect_failure(R"({"blocks": [{}]})", "an element of \"blocks\" has no class name");
    EXPECT_EQ(names(), "mainsys");
}

TEST_F(LoadTest, BlocksThatAreNoArray) {
    EXPECT_EQ(load(R"({"blocks": null})"), result_ok);
    EXPECT_EQ(names(), "mainsys");
    EXPECT_EQ(load(R"({"blocks": {}})"), result_ok);
    EXPECT_EQ(names(), "mainsys");
    EXPECT_EQ(load(R"({"blocks": {"b": {"sin": {"name": "s"}}, "a": {"cos": {"name": "c"}}}})"), result_ok);
    EXPECT_EQ(names(), "mainsys c s");
    for (const char* value : {"5", "\"abs\"", "true"})
        expect_failure(std::string("{\"blocks\": ") + value + "}", no_key);
}

TEST_F(LoadTest, WrongTypesInABlock) {
    const std::pair<const char*, std::string> rows[] = {
        {"5", std::string(no_value) + "number"},
        {"null", std::string(no_value) + "null"},
        {"[]", std::string(no_value) + "array"},
        {R"({"name": 5})", std::string(wrong_type) + "string, but is number"},
        {R"({"id": "7"})", std::string(wrong_type) + "number, but is string"},
        {R"({"parent": null})", std::string(wrong_type) + "number, but is null"},
        {R"({"inportCount": []})", std::string(wrong_type) + "number, but is array"},
        {R"({"geometry": 5})", std::string(no_value) + "number"},
        {R"({"expression": true})", std::string(wrong_type) + "string, but is boolean"},
    };
    for (const auto& [value, message] : rows)
        expect_failure(std::string("{\"blocks\": [{\"constant\": ") + value + "}]}", message);
    EXPECT_EQ(names(), "mainsys");
}

TEST_F(LoadTest, WrongTypesInLinksAndSettings) {
    expect_failure(R"({"blocks": [{"abs": {"name": "a"}}], "links": [{"srcId": 1}, 5]})",
                   std::string(no_value) + "number");
    EXPECT_EQ(names(), "mainsys a");
    EXPECT_EQ(properties->links.size(), 1u);
    expect_failure(R"({"links": [{"dstPort": "0"}]})", std::string(wrong_type) + "number, but is string");
    expect_failure(R"({"model": []})", std::string(no_value) + "array");
    expect_failure(R"({"model": {"ts": "1"}})", std::string(wrong_type) + "number, but is string");
}

TEST_F(LoadTest, IdsAtTheEndsOfTheirRange) {
    EXPECT_EQ(load(R"({"blocks": [
        {"abs": {"name": "largest", "id": 18446744073709551615}},
        {"abs": {"name": "beyond", "id": 18446744073709551616}},
        {"abs": {"name": "negative", "id": -1}},
        {"abs": {"name": "fraction", "id": 7.9}},
        {"abs": {"name": "none"}}
    ]})"),
              result_ok);
    EXPECT_EQ(named("largest")->id(), 18446744073709551615u);
    EXPECT_EQ(named("beyond")->id(), 0x8000000000000000u);
    EXPECT_EQ(named("negative")->id(), 18446744073709551615u);
    EXPECT_EQ(named("fraction")->id(), 7u);
    EXPECT_EQ(named("none")->id(), 0u);
}

TEST_F(LoadTest, PortCountsOfFiles) {
    EXPECT_EQ(load(R"({"blocks": [{"add": {"name": "a", "inportCount": 5}}, {"cos": {"name": "c", "inportCount": 4}},
                                  {"subsys": {"name": "s", "inportCount": 2, "outportCount": 3}},
                                  {"add": {"name": "wide", "inportCount": 65545}}]})"),
              result_ok);
    EXPECT_EQ(named("a")->input_count(), 5u);
    EXPECT_EQ(named("c")->input_count(), 4u);
    EXPECT_EQ(named("s")->input_count(), 2u);
    EXPECT_EQ(named("s")->output_count(), 0u);
    EXPECT_EQ(named("wide")->input_count(), 65545u);
}

TEST_F(LoadTest, AbsurdPortCountsFailWithoutTakingTheMemory) {
    for (const char* count :
         {"-1", "-2147483648", "2147483647", "2000000000", "1e18", "1000000000000000000", "1048577"})
        expect_failure(std::string(R"({"blocks": [{"add": {"name": "a", "inportCount": )") + count + "}}]}",
                       "a block cannot have more than 1048576 inputs or outputs");
    EXPECT_EQ(names(), "mainsys");
    EXPECT_EQ(load(R"({"blocks": [{"add": {"name": "a", "outportCount": -1}}]})"), result_ok);
}

TEST_F(LoadTest, NestingOfAHundredThousandBrackets) {
    const std::string open(100'000, '['), close(100'000, ']');
    EXPECT_EQ(load(open + close), result_ok);
    EXPECT_EQ(load("{\"deep\": " + open + close + "}"), result_ok);
    EXPECT_TRUE(console.texts.empty());
    expect_failure("{\"blocks\": " + open + close + "}", no_key);
    EXPECT_EQ(load(open), result_failure);
    std::string objects;
    for (int i = 0; i < 100'000; ++i) objects += "{\"a\":";
    EXPECT_EQ(load(objects + "1" + std::string(100'000, '}')), result_ok);
}

TEST_F(LoadTest, TwentyThousandBlocksAndLinks) {
    nlohmann::json file;
    for (int i = 1; i <= 20'000; ++i) {
        file["blocks"].push_back({{"abs", {{"name", "b"}, {"id", i}}}});
        file["links"].push_back({{"srcId", i}, {"dstId", i + 1}});
    }
    EXPECT_EQ(load(file.dump()), result_ok);
    EXPECT_EQ(model->end() - model->begin(), 20'001);
    EXPECT_EQ(properties->links.size(), 20'000u);
}

}  // namespace
}  // namespace tessel
