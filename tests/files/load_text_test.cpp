// Loading of texts that are in memory.
#include <gtest/gtest.h>

#include <map>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <system_error>

#include "core/var.h"
#include "files/ids.h"
#include "files/load.h"
#include "tests/files/loader.h"

namespace tessel::json {
namespace {

/// Files in memory.
class Texts final : public Source {
public:
    std::string_view reference(std::string_view path) override {
        asked.emplace_back(path);
        const auto found = texts.find(std::string(path));
        if (found == texts.end()) throw std::runtime_error("no text '" + std::string(path) + "'");
        return padded(found->second);
    }
    std::vector<std::uint64_t> fresh_ids(std::string_view path, std::span<const std::uint64_t> old_ids) override {
        return from_path ? ids.ids_from_path(path, old_ids) : Source::fresh_ids(path, old_ids);
    }

    /// The text with readable bytes behind it, which are no blanks: nobody may take them for the model's.
    std::string_view padded(std::string_view text) {
        room_ = std::string(text) + std::string(padding, '}');
        return std::string_view(room_).substr(0, text.size());
    }

    std::map<std::string, std::string> texts;
    std::vector<std::string> asked;
    PathIds ids;
    bool from_path = true;

private:
    std::string room_;
};

struct LoadTextTest : testing::Test, test::Loader {
    result_t load_text(std::string_view text) {
        Texts main;
        return json::load_text(*model, main.padded(text), source);
    }
    Texts source;
};

constexpr const char* main_text = R"({
    "blocks": [{"abs": {"name": "A", "id": 1}}, {"refsys": {"name": "R", "id": 9, "path": "part"}},
               {"refsys": {"name": "S", "id": 10, "path": "none"}}],
    "links": [{"srcId": 1, "dstId": 9}], "model": {"ts": 0.5}})";
constexpr const char* part_text = R"({"blocks": [
    {"constant": {"name": "X", "id": 101, "expression": "101"}}, {"abs": {"name": "Y", "id": 102}}],
    "links": [{"srcId": 101, "dstId": 102}]})";

TEST_F(LoadTextTest, AsksForEachReferenceOnceAndGoesOnWhereThereIsNone) {
    source.texts["part"] = part_text;
    EXPECT_EQ(load_text(main_text), result_ok);
    EXPECT_EQ(names(), "mainsys A X Y R S");
    EXPECT_EQ(source.asked, (std::vector<std::string>{"part", "none"}));
    EXPECT_EQ(console.texts, std::vector<std::string>{"no text 'none'"});
    EXPECT_EQ(properties->get("ts").payload<double>(), 0.5);
    ASSERT_EQ(properties->links.size(), 2u);
    EXPECT_EQ(properties->links[0].srcId, named("X")->id());
}

TEST_F(LoadTextTest, IdsAreThoseOfTheSource) {
    source.texts["part"] = part_text;
    EXPECT_EQ(load_text(main_text), result_ok);
    const auto ids = PathIds().ids_from_path("part", std::vector<std::uint64_t>{101, 102});
    EXPECT_EQ(named("X")->id(), ids[0]);
    EXPECT_EQ(named("Y")->id(), ids[1]);
    EXPECT_EQ(named("X")->param("expression").text(), std::to_string(ids[0]));
}

TEST_F(LoadTextTest, ShortIdsNeverTouchFreshOnes) {
    nlohmann::json part;
    for (int i = 10; i < 30; ++i) part["blocks"].push_back({{"abs", {{"name", "b"}, {"id", i}}}});
    for (int i = 10; i < 29; ++i) part["links"].push_back({{"srcId", i}, {"dstId", i + 1}});
    source.texts["part"] = part.dump();
    for (const bool from_path : {false, true}) {
        source.from_path = from_path;
        properties->links.clear();
        ASSERT_EQ(load_text(main_text), result_ok);
        ASSERT_EQ(properties->links.size(), 20u);
        for (std::ptrdiff_t i = 0; i < 19; ++i) {
            const auto block = model->begin() + 2 + i;
            EXPECT_EQ(properties->links[static_cast<std::size_t>(i)].srcId, block[0]->id());
            EXPECT_EQ(properties->links[static_cast<std::size_t>(i)].dstId, block[1]->id());
        }
    }
}

TEST_F(LoadTextTest, AReferenceThatIsNoModelIsToldAndTheLoadGoesOn) {
    source.texts["part"] = "{";
    source.texts["none"] = "{}";
    EXPECT_EQ(load_text(main_text), result_ok);
    EXPECT_EQ(names(), "mainsys A R S");
    ASSERT_EQ(console.texts.size(), 1u);
    EXPECT_TRUE(console.texts[0].starts_with("[json.exception.parse_error.101]"));
}

TEST_F(LoadTextTest, ATextThatIsNoModelFailsAsAFileDoes) {
    EXPECT_EQ(load_text("{"), result_failure);
    const auto told = console.texts;
    console.texts.clear();
    EXPECT_EQ(load("{"), result_failure);
    EXPECT_EQ(told, console.texts);
    EXPECT_EQ(load_text(R"({"blocks": [{"gain": {}}]})"), result_failure);
    EXPECT_EQ(console.texts.back(), "Class 'gain' not recognized");
    EXPECT_EQ(names(), "mainsys");
}

TEST_F(LoadTextTest, BlocksOfBeforeGo) {
    EXPECT_EQ(load_text(R"({"blocks": [{"abs": {"name": "a"}}]})"), result_ok);
    EXPECT_EQ(load_text("nonsense"), result_failure);
    EXPECT_EQ(names(), "");
}

TEST_F(LoadTextTest, AFileIsReadWithBlanksBehindIt) {
    const std::string text = read_padded(temp.write("main.json", "{}").string());
    EXPECT_EQ(text, "{}" + std::string(padding, ' '));
    EXPECT_THROW(read_padded(temp.path().string()), std::system_error);
}

}  // namespace
}  // namespace tessel::json
