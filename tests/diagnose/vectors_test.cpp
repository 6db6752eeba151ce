// Models with known answers: none of the good ones is told an error, each of the bad ones is when the library refuses
// it, and what is said of blocks that never run agrees with what ran.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <set>

#include "host/diagnose/explain.h"
#include "models.h"

namespace zarn {
namespace {

using nlohmann::json;

std::vector<std::filesystem::path> models_in(const char* folder) {
    std::vector<std::filesystem::path> models;
    for (const auto& entry :
         std::filesystem::directory_iterator(std::filesystem::path(BLOCKS_TEST_DATA) / "vectors" / folder))
        if (entry.path().extension() == ".json" && entry.path().stem().extension().empty())
            models.push_back(entry.path());
    std::ranges::sort(models);
    return models;
}

json answer(const std::filesystem::path& model, const char* kind) {
    std::filesystem::path path = model;
    path.replace_extension(kind);
    return std::filesystem::exists(path) ? json::parse(read_text(path)) : json();
}

TEST(Vectors, GoodModelsHaveNoErrors) {
    std::size_t seen = 0;
    for (const char* folder : {"typed", "nested", "dynamic"}) {
        for (const auto& model : models_in(folder)) {
            const auto findings = diagnose(model, {.final_bridge = false, .settings = {}, .confirm = true});
            EXPECT_FALSE(has_errors(findings)) << model << "\n" << printed(findings);
            ++seen;
        }
    }
    EXPECT_GE(seen, 12u);
}

TEST(Vectors, BadModelsHaveErrorsWhenTheLibraryRefusesThem) {
    std::size_t seen = 0;
    for (const auto& model : models_in("bad")) {
        const json expected = answer(model, ".expect.json");
        ASSERT_FALSE(expected.is_null()) << model;
        const auto findings = diagnose(model, {.final_bridge = true, .settings = {}, .confirm = true});
        EXPECT_EQ(has_errors(findings), expected["result"] != 0) << model << "\n" << printed(findings);
        ++seen;
    }
    EXPECT_GE(seen, 30u);
}

// With literal values alone a model says in full what it is.
TEST(Vectors, OrderAgreesWithTheLibrarysAnswers) {
    std::size_t compared = 0;
    for (const char* folder : {"typed", "nested", "dynamic"}) {
        for (const auto& model : models_in(folder)) {
            const json inspected = answer(model, ".inspect.json");
            const Explanation explanation(model, {});
            const auto& findings = explanation.findings();
            if (inspected.is_null() || std::ranges::any_of(findings, [](auto& f) { return f.code == "Z402"; }))
                continue;
            std::map<std::uint64_t, json> blocks;
            for (const json& block : inspected["blocks"]) blocks[block["id"]] = block;
            ASSERT_EQ(blocks.size(), explanation.order().size()) << model;
            for (const stepped_t& block : explanation.order()) {
                const json& known = blocks[block.id];
                EXPECT_EQ(block.zone, known["zone"].get<std::int32_t>()) << model << block.path;
                EXPECT_EQ(block.tier, known["tier"].get<std::int32_t>()) << model << block.path;
                EXPECT_EQ(block.path, known["path"].get<std::string>()) << model;
                for (std::size_t i = 0; i < block.inputs.size(); ++i) {
                    EXPECT_EQ(block.inputs[i].type, known["inputs"][i]["type"].get<std::string>()) << block.path;
                    const json& source = known["inputs"][i]["source"];
                    EXPECT_EQ(block.inputs[i].source_id, source.is_null() ? 0 : source.get<std::uint64_t>());
                }
                if (!block.raises.empty()) {
                    EXPECT_EQ(block.raises.back().zone, block.zone) << block.path;
                }
                ++compared;
            }
        }
    }
    EXPECT_GE(compared, 150u);  // those that need a workspace are compared through the command
}

TEST(Vectors, BlocksThatNeverRunAreThoseWithoutASample) {
    std::size_t never = 0;
    for (const auto& model : models_in("nested")) {
        const json run = answer(model, ".run.json");
        if (run.is_null()) continue;
        const Explanation explanation(model, {});
        for (const stepped_t& block : explanation.order()) {
            if (!block.never || block.block_class == "constant") continue;
            ++never;
            for (const auto& [key, series] : run["series"].items())
                if (key.starts_with(std::to_string(block.id) + ":")) {
                    EXPECT_TRUE(series["t"].empty()) << model << " " << block.path;
                }
        }
    }
    EXPECT_GE(never, 5u);
}

TEST(Examples, HaveNoErrors) {
    for (const auto& entry : std::filesystem::recursive_directory_iterator(BLOCKS_EXAMPLES)) {
        if (entry.path().extension() != ".json") continue;
        const auto findings = diagnose(entry.path(), {});
        EXPECT_FALSE(has_errors(findings)) << entry.path() << "\n" << printed(findings);
    }
}

}  // namespace
}  // namespace zarn
