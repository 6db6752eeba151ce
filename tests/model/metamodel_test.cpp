#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "ExecBlock.h"
#include "IExecModel.h"
#include "tests/support/ModelBuilder.h"

namespace tessel::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(MetaModel, IsCreatedEmptyAndWithoutProperties) {
    const auto model = create_empty_meta_model();
    EXPECT_EQ(model->begin(), model->end());
    EXPECT_EQ(static_cast<MetaModel&>(*model).properties, nullptr);
    EXPECT_THAT(static_cast<MetaModel&>(*model).subsystems, IsEmpty());
    EXPECT_EQ(model->tier_count(), 0u);
    EXPECT_EQ(model->zone_count(), 0u);
    EXPECT_EQ(model->find_block(0), nullptr);
}

TEST(MetaModel, SettingsGoToTheProperties) {
    ModelBuilder b;
    b.model.set("ts", var_t(0.125));
    EXPECT_EQ(b.properties->get("ts").payload<double>(), 0.125);
    EXPECT_EQ(&b.model.get("ts"), &b.properties->get("ts"));
    const auto other = std::make_shared<PropertiesModel>();
    b.model.set_properties(other);
    EXPECT_EQ(b.model.get("ts").payload<double>(), 1.0);
    EXPECT_EQ(other.use_count(), 2);
    EXPECT_EQ(b.properties.use_count(), 1);
}

TEST(MetaModel, AddedBlockIsTakenOver) {
    ModelBuilder b;
    std::unique_ptr<IMetaBlock> block = std::make_unique<TestBlock>("abs", std::make_shared<PropertiesBlock>());
    const IMetaBlock* address = block.get();
    b.model.add_block(std::move(block));
    EXPECT_EQ(block, nullptr);
    EXPECT_EQ(b.model.begin()->get(), address);
}

TEST(MetaModel, ClearDropsBlocksAndSubsystemsAndKeepsTheProperties) {
    ModelBuilder b;
    b.root();
    b.add("constant", 1);
    b.add("abs", 2);
    b.link(1, 2);
    b.model.create_links();
    ASSERT_EQ(b.model.subsystems.size(), 1u);
    b.model.clear();
    EXPECT_THAT(b.model.blocks, IsEmpty());
    EXPECT_THAT(b.model.subsystems, IsEmpty());
    EXPECT_EQ(b.model.properties, b.properties);
    EXPECT_EQ(b.properties->links.size(), 1u);
}

TEST(MetaModel, CountsDistinctTiersAndZones) {
    ModelBuilder b;
    for (std::uint64_t id = 1; id <= 4; ++id) b.add("abs", id);
    EXPECT_EQ(b.model.tier_count(), 1u) << "-1 everywhere before compile";
    EXPECT_EQ(b.model.zone_count(), 1u);
    b.add_null();
    b.at(1).set_tier(0);
    b.at(2).set_tier(0);
    b.at(3).set_tier(2);
    b.at(1).set_zone(1001);
    EXPECT_EQ(b.model.tier_count(), 3u);
    EXPECT_EQ(b.model.zone_count(), 2u);
}

TEST(MetaModel, FindBlockTakesTheFirstMatch) {
    ModelBuilder b;
    b.add_null();
    TestBlock& first = b.add("abs", 7);
    b.add("add", 7);
    EXPECT_EQ(b.model.find_block(7), &first);
    EXPECT_EQ(b.model.find_block(8), nullptr);
}

TEST(MetaModel, FindInportAndOutport) {
    ModelBuilder b;
    b.add_null();
    TestBlock& in = b.port("inport", 1, 10, 3);
    b.port("inport", 2, 10, 3);
    TestBlock& out = b.port("outport", 3, 10, 3);
    b.port("inport", 4, 10, -1);
    TestBlock& last = b.port("outport", 5, 10, -1);
    TestBlock& enable = b.add("enable", 6, 10);
    b.add("enable", 7, 10);
    TestBlock& wide = b.port("inport", 8, 20, 0x10005);
    EXPECT_EQ(b.model.find_inport(10, 3), &in);
    EXPECT_EQ(b.model.find_outport(10, 3), &out);
    EXPECT_EQ(b.model.find_inport(10, -1), &enable);
    EXPECT_EQ(b.model.find_outport(10, -1), &last) << "-1 is a number like any other there";
    EXPECT_EQ(b.model.find_inport(20, 5), &wide);
    EXPECT_EQ(b.model.find_inport(20, 3), nullptr);
    EXPECT_EQ(b.model.find_inport(20, -1), nullptr);
    EXPECT_EQ(b.model.find_outport(20, 5), nullptr);
}

TEST(MetaModel, FindEnableAnswersTheEnableOfTheOwnSubsystem) {
    ModelBuilder b;
    b.root();
    b.add("subsys", 10);
    TestBlock& enable = b.add("enable", 11, 10);
    b.add("subsys", 20, 10);
    b.add("abs", 21, 20);
    b.model.build_enable_map();
    EXPECT_EQ(b.model.find_enable(11), &enable);
    EXPECT_EQ(b.model.find_enable(20), &enable);
    EXPECT_EQ(b.model.find_enable(21), nullptr) << "gated from further out, but not by its own subsystem";
    EXPECT_EQ(b.model.find_enable(0), nullptr);
    b.properties->enable_map[5] = {99, 0};
    EXPECT_EQ(b.model.find_enable(5), nullptr) << "an enable block that is gone";
}

TEST(MetaModelDeathTest, FindEnableOfAnUnknownIdEndsTheProcess) {
    ModelBuilder b;
    EXPECT_DEATH(b.model.find_enable(1), "invalid unordered_map<K, T> key");
}

TEST(MetaModel, ExportAppendsLinksAndSettings) {
    ModelBuilder b;
    b.add("abs", 1);
    b.link(1, 0, 1, 0, "wire");
    nlohmann::json out = nlohmann::json::array({"before"});
    b.model.export_json(out);
    ASSERT_EQ(out.size(), 2u);
    EXPECT_EQ(out[1]["links"][0]["label"], "wire");
    EXPECT_EQ(out[1]["model"]["tf"], 10.0);
    EXPECT_FALSE(out[1].contains("blocks"));
}

TEST(MetaModel, ImportGoesToTheProperties) {
    const auto in = nlohmann::json::parse(R"({"links": [{"srcId": 1, "dstId": 2}], "model": {"ts": 0.5}})");
    ModelBuilder b;
    b.model.import_json(in, true);
    EXPECT_EQ(b.properties->links.size(), 1u);
    EXPECT_TRUE(b.properties->links[0].hidden);
    EXPECT_EQ(b.model.get("ts").payload<double>(), 1.0);
    b.model.import_json(in, false);
    EXPECT_EQ(b.model.get("ts").payload<double>(), 0.5);
    EXPECT_FALSE(b.properties->links[1].hidden);
}

/// What build_exec hands to a runnable model.
class Receiver final : public IExecModel {
public:
    void clear() noexcept override { calls.emplace_back("clear"); }
    void set_properties(std::shared_ptr<PropertiesModel> given) noexcept override {
        calls.emplace_back("set_properties");
        properties = std::move(given);
    }
    void add_block(std::unique_ptr<ExecBlock>& block) override {
        calls.emplace_back(block != nullptr ? "add " + std::to_string(block->id()) : "add nothing");
        list.push_back(std::move(block));
    }
    ExecBlock* find_block(std::uint64_t) const noexcept override { return nullptr; }
    iterator begin() noexcept override { return list.begin(); }
    iterator end() noexcept override { return list.end(); }
    result_t run() noexcept override { return result_ok; }

    std::vector<std::string> calls;
    std::vector<std::unique_ptr<ExecBlock>> list;
    std::shared_ptr<PropertiesModel> properties;
};

class NoPorts final : public ExecBlock {
public:
    using ExecBlock::ExecBlock;
    ExecPort* input(std::int16_t) noexcept override { return nullptr; }
    const ExecPort* input(std::int16_t) const noexcept override { return nullptr; }
    ExecPort* output(std::int16_t) noexcept override { return nullptr; }
    const ExecPort* output(std::int16_t) const noexcept override { return nullptr; }
    void sample() noexcept override {}
    void step() noexcept override {}
};

TEST(MetaModel, BuildExecSortsAndHandsOverWhatTheBlocksMake) {
    ModelBuilder b;
    const auto runnable = [](TestBlock& block) -> std::unique_ptr<ExecBlock> {
        return std::make_unique<NoPorts>(block.id(), block.zone());
    };
    b.add("abs", 1).set_zone(2);
    b.at(1).exec_maker = runnable;
    b.add("abs", 2).set_zone(1);  // without a runnable form
    b.add_null();
    b.add("inport", 3).set_zone(0);
    b.at(3).exec_maker = runnable;
    Receiver exec;
    b.model.build_exec(&exec);
    EXPECT_THAT(exec.calls, ElementsAre("clear", "set_properties", "add 3", "add nothing", "add 1", "add nothing"));
    EXPECT_EQ(exec.properties, b.properties);
    EXPECT_EQ(exec.list[0]->zone(), 0);
    EXPECT_THAT(b.ids(), ElementsAre(3, 2, 1, -1));
    EXPECT_EQ((*b.model.begin())->id(), 3u);
}

}  // namespace
}  // namespace tessel::test
