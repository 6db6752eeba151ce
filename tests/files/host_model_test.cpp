// Loading into a model of the host's own: what the loader asks of it, and in which order.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <stdexcept>

#include "tests/files/loader.h"

namespace tessel {
namespace {

/// Notes the calls; keeps the blocks and nothing else.
class HostModel final : public IMetaModel {
public:
    void clear() noexcept override {
        calls.emplace_back("clear");
        blocks.clear();
    }
    void add_block(std::unique_ptr<IMetaBlock>&& block) override {
        calls.emplace_back(block != nullptr ? "add " + std::string(block->class_name()) : "add nothing");
        blocks.push_back(std::move(block));
    }
    iterator begin() noexcept override {
        calls.emplace_back("begin");
        return blocks.begin();
    }
    iterator end() noexcept override { return blocks.end(); }
    void import_json(const nlohmann::json& in, bool is_reference) override {
        calls.emplace_back(is_reference ? "import reference" : "import");
        imported.push_back(in);
        if (refuses) throw std::runtime_error("not in this model");
    }

    const var_t& get(std::string_view) const override { throw std::out_of_range("no settings"); }
    std::uint64_t tier_count() const override { return 0; }
    std::uint64_t zone_count() const override { return 0; }
    void set_properties(std::shared_ptr<PropertiesModel>) noexcept override { calls.emplace_back("set_properties"); }
    void set(std::string_view, var_t) override { calls.emplace_back("set"); }
    IMetaBlock* find_block(std::uint64_t) const noexcept override { return nullptr; }
    IMetaBlock* find_enable(std::uint64_t) const noexcept override { return nullptr; }
    IMetaBlock* find_inport(std::uint64_t, std::int16_t) const noexcept override { return nullptr; }
    IMetaBlock* find_outport(std::uint64_t, std::int16_t) const noexcept override { return nullptr; }
    void export_json(nlohmann::json&) override { calls.emplace_back("export"); }
    result_t compile() noexcept override { return result_failure; }
    void build_exec(IExecModel*) override { calls.emplace_back("build_exec"); }
    result_t group_by_subsystem() noexcept override { return result_failure; }
    result_t sort_by_zone() noexcept override { return result_failure; }

    std::vector<std::string> calls;
    std::vector<std::unique_ptr<IMetaBlock>> blocks;
    std::vector<nlohmann::json> imported;
    bool refuses = false;  ///< whether import_json raises
};

using calls_t = std::vector<std::string>;

struct HostModelTest : testing::Test {
    result_t load(std::string_view text) { return json::load(&model, temp.write("main.json", text).string()); }

    test::TempFolder temp;
    test::Console console;
    HostModel model;
};

TEST_F(HostModelTest, GetsTheRootTheBlocksAndTheWholeDocument) {
    const auto part = nlohmann::json::parse(R"({"blocks": [{"cos": {}}, {"gain": {}}], "links": [{"srcId": 3}]})");
    nlohmann::json file = {{"links", {{{"srcId", 1}, {"dstId", 2}}}}, {"model", {{"ts", 0.5}}}, {"view", 7}};
    file["blocks"] = {{{"abs", {{"id", 1}}}},
                      {{"refsys", {{"id", 9000000000000009}, {"path", temp.write("part.json", part.dump()).string()}}}},
                      {{"sin", {{"id", 2}}}}};
    EXPECT_EQ(load(file.dump()), result_ok);
    EXPECT_EQ(model.calls, (calls_t{"clear", "add subsys", "begin", "add abs", "add cos", "add nothing",
                                    "import reference", "add refsys", "add sin", "import"}));
    EXPECT_EQ(model.blocks.at(0)->name(), "mainsys");
    ASSERT_EQ(model.imported.size(), 2u);
    EXPECT_EQ(model.imported[0]["links"], part["links"]);
    EXPECT_EQ(model.imported[1], file);
    EXPECT_TRUE(console.texts.empty());
}

TEST_F(HostModelTest, WithoutBlocksGetsTheDocumentAlone) {
    EXPECT_EQ(load("{\"model\": {}}"), result_ok);
    EXPECT_EQ(load("5"), result_ok);
    EXPECT_EQ(model.calls, (calls_t{"clear", "import", "clear", "import"}));
    EXPECT_EQ(model.imported.back(), nlohmann::json(5));
}

TEST_F(HostModelTest, IsClearedBeforeTheFileIsLookedAt) {
    EXPECT_EQ(json::load(&model, (temp.path() / "absent.json").string()), result_failure);
    EXPECT_EQ(load("{"), result_failure);
    EXPECT_EQ(model.calls, (calls_t{"clear", "clear"}));
}

TEST_F(HostModelTest, WhatItRaisesIsToldAndFails) {
    model.refuses = true;
    EXPECT_EQ(load(R"({"blocks": [{"abs": {}}]})"), result_failure);
    EXPECT_EQ(json::load(&model, temp.write("part.json", R"({"blocks": []})").string(), 5), result_failure);
    EXPECT_EQ(console.texts, (calls_t{"not in this model", "not in this model"}));
    EXPECT_EQ(model.blocks.size(), 2u);
}

}  // namespace
}  // namespace tessel
