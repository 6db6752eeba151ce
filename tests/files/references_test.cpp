// Files that a model refers to.
#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <set>

#include "core/var.h"
#include "tests/files/loader.h"

namespace tessel {
namespace {

struct ReferenceTest : testing::Test, test::Loader {
    /// A main file of block A, a reference to the text's file under id 9000000000000009, and block B.
    std::string main_with(std::string_view reference) const {
        nlohmann::json file;
        file["blocks"] = {
            {{"abs", {{"name", "A"}, {"id", 9000000000000001}}}},
            {{"refsys",
              {{"name", "R"}, {"id", 9000000000000009}, {"path", temp.write("part.json", reference).string()}}}},
            {{"abs", {{"name", "B"}, {"id", 9000000000000002}}}},
        };
        file["model"] = {{"ti", 1.0}, {"tf", 2.0}, {"ts", 0.25}};
        return file.dump();
    }

    std::set<std::uint64_t> ids() const {
        std::set<std::uint64_t> all;
        for (auto block = model->begin(); block != model->end(); ++block) all.insert((*block)->id());
        return all;
    }
};

constexpr std::uint64_t refsys_id = 9000000000000009;

// X at the top, a subsystem S with Y inside, Z whose parent is in another file
constexpr const char* part = R"({
    "blocks": [
        {"abs": {"name": "X", "id": 8100000000000001, "parent": 0}},
        {"subsys": {"name": "S", "id": 8100000000000002}},
        {"abs": {"name": "Y", "id": 8100000000000003, "parent": 8100000000000002}},
        {"abs": {"name": "Z", "id": 8100000000000004, "parent": 9000000000000001}}
    ],
    "links": [{"srcId": 8100000000000001, "dstId": 8100000000000004, "label": "inner"},
              {"srcId": 8100000000000003, "dstId": 5}],
    "model": {"ti": 7.0, "tf": 8.0, "ts": 9.0}
})";

TEST_F(ReferenceTest, TheContentStandsBeforeItsBlock) {
    EXPECT_EQ(load(main_with(part)), result_ok);
    EXPECT_EQ(names(), "mainsys A X S Y Z R B");
    EXPECT_TRUE(console.texts.empty());
}

TEST_F(ReferenceTest, IdsAreFresh) {
    EXPECT_EQ(load(main_with(part)), result_ok);
    EXPECT_EQ(ids().size(), 8u);
    for (const char* name : {"X", "S", "Y", "Z"}) {
        const std::uint64_t id = named(name)->id();
        EXPECT_GE(id, 1'000'000'000'000'000u);
        EXPECT_LT(id, 1ull << 53);
        EXPECT_TRUE(id < 8100000000000001 || id > 8100000000000004);
    }
    EXPECT_EQ(named("R")->id(), refsys_id);
}

TEST_F(ReferenceTest, ParentsFollowOrBecomeTheReference) {
    EXPECT_EQ(load(main_with(part)), result_ok);
    EXPECT_EQ(named("Y")->parent_id(), named("S")->id());
    for (const char* name : {"X", "S", "Z"}) EXPECT_EQ(named(name)->parent_id(), refsys_id) << name;
    EXPECT_EQ(named("A")->parent_id(), 0u);
    EXPECT_EQ(named("R")->parent_id(), 0u);
}

TEST_F(ReferenceTest, LinksFollowAndAreHidden) {
    EXPECT_EQ(load(main_with(part)), result_ok);
    ASSERT_EQ(properties->links.size(), 2u);
    EXPECT_EQ(properties->links[0].srcId, named("X")->id());
    EXPECT_EQ(properties->links[0].dstId, named("Z")->id());
    EXPECT_EQ(properties->links[0].label, "inner");
    EXPECT_EQ(properties->links[1].srcId, named("Y")->id());
    EXPECT_EQ(properties->links[1].dstId, 5u);
    for (const link_t& link : properties->links) EXPECT_TRUE(link.hidden);
    nlohmann::json out;
    properties->export_json(out);
    EXPECT_FALSE(out.contains("links"));
}

TEST_F(ReferenceTest, LinksStandBeforeThoseOfTheMainFile) {
    auto file = nlohmann::json::parse(main_with(part));
    file["links"] = {{{"srcId", 9000000000000001}, {"dstId", 9000000000000002}, {"label", "outer"}}};
    EXPECT_EQ(load(file.dump()), result_ok);
    ASSERT_EQ(properties->links.size(), 3u);
    EXPECT_EQ(properties->links[2].label, "outer");
    EXPECT_FALSE(properties->links[2].hidden);
    nlohmann::json out;
    properties->export_json(out);
    ASSERT_EQ(out["links"].size(), 1u);
    EXPECT_EQ(out["links"][0]["label"], "outer");
}

TEST_F(ReferenceTest, TheOuterSettingsRule) {
    EXPECT_EQ(load(main_with(part)), result_ok);
    EXPECT_EQ(properties->get("ti").payload<double>(), 1.0);
    EXPECT_EQ(properties->get("tf").payload<double>(), 2.0);
    EXPECT_EQ(properties->get("ts").payload<double>(), 0.25);
}

TEST_F(ReferenceTest, AFileReferredToTwiceGivesIndependentCopies) {
    const std::string path = temp.write("part.json", part).string();
    nlohmann::json file;
    for (const int i : {1, 2})
        file["blocks"].push_back(
            {{"refsys", {{"name", "R" + std::to_string(i)}, {"id", 9000000000000000 + i}, {"path", path}}}});
    EXPECT_EQ(load(file.dump()), result_ok);
    EXPECT_EQ(names(), "mainsys X S Y Z R1 X S Y Z R2");
    EXPECT_EQ(ids().size(), 11u);
    EXPECT_EQ(properties->links.size(), 4u);
    EXPECT_EQ((*(model->begin() + 1))->parent_id(), 9000000000000001u);
    EXPECT_EQ((*(model->begin() + 6))->parent_id(), 9000000000000002u);
}

TEST_F(ReferenceTest, AReferenceInsideAReferenceIsNotRead) {
    const std::string path = temp.write("deep.json", part).string();
    const nlohmann::json inner = {
        {"blocks", {{{"refsys", {{"name", "I"}, {"id", 8200000000000001}, {"path", path}}}}}}};
    EXPECT_EQ(load(main_with(inner.dump())), result_ok);
    EXPECT_EQ(names(), "mainsys A I R B");
    EXPECT_EQ(named("I")->param("path").text(), path);
}

TEST_F(ReferenceTest, AFileThatRefersToItselfEnds) {
    const std::string path = (temp.path() / "main.json").string();
    const nlohmann::json file = {{"blocks", {{{"refsys", {{"name", "R"}, {"id", 9000000000000009}, {"path", path}}}}}}};
    EXPECT_EQ(load(file.dump()), result_ok);
    EXPECT_EQ(names(), "mainsys R R");
}

TEST_F(ReferenceTest, AnEmptyPathLeavesTheBlockEmptyAndTheLoadGoesOn) {
    EXPECT_EQ(load(R"({"blocks": [{"refsys": {"name": "R", "id": 9000000000000009}}, {"abs": {"name": "B"}}],
                       "links": [{"srcId": 1}]})"),
              result_ok);
    EXPECT_EQ(names(), "mainsys R B");
    EXPECT_EQ(console.texts, std::vector<std::string>{"cannot open '': No such file or directory"});
    EXPECT_EQ(properties->links.size(), 1u);
}

TEST_F(ReferenceTest, APathThatIsANumberIsNoPath) {
    EXPECT_EQ(load(R"({"blocks": [{"refsys": {"name": "R", "id": 9000000000000009, "path": 5}}]})"), result_ok);
    EXPECT_EQ(console.texts, std::vector<std::string>{"cannot open '': No such file or directory"});
}

TEST_F(ReferenceTest, AMissingFileLeavesItsMessageAndTheLoadGoesOn) {
    std::string text = main_with(part);
    std::filesystem::remove(temp.path() / "part.json");
    EXPECT_EQ(load(text), result_ok);
    EXPECT_EQ(names(), "mainsys A R B");
    EXPECT_EQ(console.texts,
              std::vector{"cannot open '" + (temp.path() / "part.json").string() + "': No such file or directory"});
}

TEST_F(ReferenceTest, AFolderLeavesItsMessageAndTheLoadGoesOn) {
    const nlohmann::json file = {
        {"blocks", {{{"refsys", {{"name", "R"}, {"path", temp.path().string()}}}}, {{"abs", {{"name", "B"}}}}}}};
    EXPECT_EQ(load(file.dump()), result_ok);
    EXPECT_EQ(names(), "mainsys R B");
    EXPECT_EQ(console.texts, std::vector{"cannot read '" + temp.path().string() + "': Is a directory"});
}

TEST_F(ReferenceTest, AFileThatTellsNoSizeIsEmpty) {
    constexpr const char* endless = "/proc/self/pagemap";
    if (!std::filesystem::exists(endless)) GTEST_SKIP() << "no file without an end";
    const nlohmann::json file = {{"blocks", {{{"refsys", {{"name", "R"}, {"path", endless}}}}}}};
    EXPECT_EQ(load(file.dump()), result_ok);
    EXPECT_EQ(names(), "mainsys R");
    ASSERT_EQ(console.texts.size(), 1u);
    EXPECT_TRUE(console.texts[0].starts_with("[json.exception.parse_error.101]"));
}

TEST_F(ReferenceTest, AFileThatIsNotJsonLeavesItsMessageAndTheLoadGoesOn) {
    EXPECT_EQ(load(main_with("{")), result_ok);
    EXPECT_EQ(names(), "mainsys A R B");
    ASSERT_EQ(console.texts.size(), 1u);
    EXPECT_TRUE(console.texts[0].starts_with("[json.exception.parse_error.101]"));
}

TEST_F(ReferenceTest, AFileWithoutBlocksFailsSilentlyAndGivesNothing) {
    for (const char* text : {"{}", R"({"links": [{"srcId": 1}]})", "5", "[]", "null"})
        EXPECT_EQ(load_reference(text, 5), result_failure) << text;
    EXPECT_TRUE(console.texts.empty());
    EXPECT_TRUE(properties->links.empty());
    EXPECT_EQ(load(main_with("{}")), result_ok);
    EXPECT_EQ(names(), "mainsys A R B");
}

TEST_F(ReferenceTest, AnUnknownClassIsAnEmptyEntryWithoutAWord) {
    EXPECT_EQ(load_reference(R"({"blocks": [{"gain": {"name": "g", "id": 8100000000000001}}, {"abs": {"name": "a"}}],
                                 "links": [{"srcId": 8100000000000001}]})",
                             5),
              result_ok);
    EXPECT_EQ(names(), "- a");
    EXPECT_EQ(properties->links.size(), 1u);
    EXPECT_TRUE(console.texts.empty());
}

TEST_F(ReferenceTest, AFailureKeepsWhatWasInserted) {
    EXPECT_EQ(
        load_reference(R"({"blocks": [{"abs": {"name": "a"}}, {"abs": {"name": 5}}, {"abs": {"name": "c"}}]})", 5),
        result_failure);
    EXPECT_EQ(names(), "a");
    EXPECT_EQ(console.texts,
              std::vector<std::string>{"[json.exception.type_error.302] type must be string, but is number"});
}

TEST_F(ReferenceTest, FaultyElements) {
    const std::pair<const char*, const char*> rows[] = {
        {"5", "[json.exception.type_error.306] cannot use value() with number"},
        {"\"abs\"", "[json.exception.type_error.306] cannot use value() with string"},
        {"null", "[json.exception.invalid_iterator.214] cannot get value"},
        {"[]", "[json.exception.invalid_iterator.207] cannot use key() for non-object iterators"},
        {"[{}]", "[json.exception.invalid_iterator.207] cannot use key() for non-object iterators"},
        {"{}", "an element of \"blocks\" has no class name"},
        {"{\"abs\": 5}", "[json.exception.type_error.306] cannot use value() with number"},
        {"{\"abs\": []}", "[json.exception.type_error.306] cannot use value() with array"},
        {"{\"abs\": {\"parent\": \"x\"}}", "[json.exception.type_error.302] type must be number, but is string"},
        {"{\"abs\": {\"id\": \"8100000000000001\"}}",
         "[json.exception.type_error.302] type must be number, but is string"},
        {"{\"abs\": {\"inportCount\": -1}}", "a block cannot have more than 1048576 inputs or outputs"},
    };
    for (const auto& [element, message] : rows) {
        console.texts.clear();
        EXPECT_EQ(load_reference(std::string("{\"blocks\": [") + element + "]}", 5), result_failure) << element;
        EXPECT_EQ(console.texts, std::vector<std::string>{message}) << element;
    }
    EXPECT_EQ(model->begin(), model->end());
}

TEST_F(ReferenceTest, RenumberingIsTextual) {
    EXPECT_EQ(load_reference(R"({"blocks": [
        {"constant": {"name": "n8100000000000001", "id": 8100000000000001, "expression": "8100000000000001 + 1"}}]})",
                             5),
              result_ok);
    const auto id = std::to_string((*model->begin())->id());
    EXPECT_NE(id, "8100000000000001");
    EXPECT_EQ((*model->begin())->name(), "n" + id);
    EXPECT_EQ((*model->begin())->param("expression").text(), id + " + 1");
}

TEST_F(ReferenceTest, TheBlockWithoutIdKeepsNone) {
    EXPECT_EQ(
        load_reference(R"({"blocks": [{"abs": {"name": "a"}}, {"abs": {"name": "b", "id": 8100000000000001}}]})", 5),
        result_ok);
    EXPECT_EQ(named("a")->id(), 0u);
    EXPECT_EQ(named("a")->parent_id(), 5u);
    EXPECT_NE(named("b")->id(), 0u);
}

TEST_F(ReferenceTest, BlocksThatAreAnObjectGiveTheirValues) {
    EXPECT_EQ(load_reference(R"({"blocks": {"z": {"abs": {"name": "z"}}, "a": {"abs": {"name": "a"}}}})", 5),
              result_ok);
    EXPECT_EQ(names(), "a z");
}

TEST_F(ReferenceTest, OnlyTheFirstKeyInSortedOrderCounts) {
    EXPECT_EQ(load_reference(R"({"blocks": [
        {"zzz": {"id": 8100000000000001}, "cos": {"name": "c", "id": 8100000000000002}, "sin": {"name": "s"}},
        {"abs": {"name": "a", "id": 8100000000000003, "parent": 8100000000000001}}]})",
                             5),
              result_ok);
    EXPECT_EQ(names(), "c a");
    // the id under the other key is no block's
    EXPECT_EQ(named("a")->parent_id(), 5u);
}

TEST_F(ReferenceTest, ShortIdsEndBeforeTheyExhaustTheMemory) {
    nlohmann::json file;
    for (int i = 1; i <= 200; ++i) file["blocks"].push_back({{"abs", {{"name", "b"}, {"id", i}}}});
    EXPECT_EQ(load_reference(file.dump(), 5), result_failure);
    EXPECT_EQ(console.texts, std::vector<std::string>{"block ids of a referenced file are too short to be told apart"});
    EXPECT_EQ(model->begin(), model->end());
}

TEST_F(ReferenceTest, OneShortIdIsFine) {
    EXPECT_EQ(
        load_reference(R"({"blocks": [{"abs": {"name": "a", "id": 7}}], "links": [{"srcId": 7, "dstId": 0}]})", 5),
        result_ok);
    EXPECT_EQ(properties->links.at(0).srcId, named("a")->id());
}

TEST_F(ReferenceTest, AThousandBlocks) {
    nlohmann::json file;
    for (std::uint64_t i = 0; i < 1000; ++i) {
        const std::uint64_t id = 8100000000000000 + i * 7919;
        file["blocks"].push_back({{"abs", {{"name", "b"}, {"id", id}}}});
        file["links"].push_back({{"srcId", id}, {"dstId", 8100000000000000}});
    }
    EXPECT_EQ(load_reference(file.dump(), 5), result_ok);
    EXPECT_EQ(ids().size(), 1000u);
    const std::uint64_t first = (*model->begin())->id();
    for (const link_t& link : properties->links) ASSERT_EQ(link.dstId, first);
}

}  // namespace
}  // namespace tessel
