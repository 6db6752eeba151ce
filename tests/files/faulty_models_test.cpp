// Model files with one fault each: how far they come, with which code, and which blocks are marked.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "core/literal_bridge.h"
#include "tests/files/loader.h"

namespace tessel {
namespace {

const std::filesystem::path folder = std::filesystem::path(BLOCKS_TEST_DATA) / "vectors/bad";

std::vector<std::string> model_names() {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        if (const std::string file = entry.path().filename().string(); !file.ends_with(".expect.json"))
            names.push_back(entry.path().stem().string());
    std::ranges::sort(names);
    return names;
}

class FaultyModel : public testing::TestWithParam<std::string> {};

TEST_P(FaultyModel, EndsAsExpected) {
    const auto want = nlohmann::json::parse(std::ifstream(folder / (GetParam() + ".expect.json")));
    const test::Console console;
    auto model = create_empty_meta_model();
    model->set_properties(std::make_shared<PropertiesModel>());

    std::string stage = "load";
    result_t result = json::load(model.get(), (folder / (GetParam() + ".json")).string());
    if (result == result_ok) {
        stage = "compile";
        result = model->compile();
    }
    std::vector<std::uint64_t> failed;
    for (auto block = model->begin(); block != model->end(); ++block)
        if (*block != nullptr && (*block)->failed()) failed.push_back((*block)->id());
    std::ranges::sort(failed);

    EXPECT_EQ(stage, want["stage"]);
    EXPECT_EQ(int{result}, want["result"].get<int>());
    EXPECT_EQ(failed, want["failed"].get<std::vector<std::uint64_t>>());
}

INSTANTIATE_TEST_SUITE_P(Files, FaultyModel, testing::ValuesIn(model_names()),
                         [](const auto& model) { return model.param; });

}  // namespace
}  // namespace tessel
