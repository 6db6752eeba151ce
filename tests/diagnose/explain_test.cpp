// The order of stepping and what is said about it.

#include "host/diagnose/explain.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "models.h"

namespace zarn {
namespace {

using testing::HasSubstr;

const stepped_t& block_at(const Explanation& explanation, const std::string& path) {
    const auto found = explanation.at(path);
    EXPECT_EQ(found.size(), 1u) << path;
    return *found.at(0);
}

// A constant in the root feeds a subsystem; inside, an add takes it from the inport and from a memory.
constexpr const char* nested = R"({
  "blocks": [
    {"time": {"name": "t", "id": 101}},
    {"subsys": {"name": "sub", "id": 110, "inportCount": 1}},
    {"inport": {"name": "in", "id": 111, "parent": 110, "portNumber": 0}},
    {"memory": {"name": "m", "id": 112, "parent": 110}},
    {"add": {"name": "s", "id": 113, "parent": 110, "inportCount": 2}},
    {"outport": {"name": "out", "id": 114, "parent": 110, "portNumber": 0}},
    {"cast": {"name": "k", "id": 115, "parent": 110, "type": "flt64"}},
    {"display": {"name": "d", "id": 102}}],
  "links": [
    {"srcId": 101, "dstId": 110}, {"srcId": 111, "dstId": 113}, {"srcId": 112, "dstId": 113, "dstPort": 1},
    {"srcId": 113, "dstId": 115}, {"srcId": 115, "dstId": 112}, {"srcId": 113, "dstId": 114},
    {"srcId": 110, "dstId": 102}]})";

TEST(Explain, ZonesAndWhoRaisedThem) {
    const TempModel model(nested);
    const Explanation explanation(model.path(), {});
    std::vector<std::string> order;
    for (const stepped_t& block : explanation.order()) order.push_back(block.path);
    EXPECT_THAT(order, testing::ElementsAre("mainsys.sub.m", "mainsys.t", "mainsys.sub.in", "mainsys.sub.s",
                                            "mainsys.sub.out", "mainsys.d"));
    const stepped_t& in = block_at(explanation, "mainsys.sub.in");
    EXPECT_EQ(in.zone, 1001);
    EXPECT_EQ(in.tier, 1);
    ASSERT_EQ(in.raises.size(), 1u);
    EXPECT_EQ(in.raises[0].source, "mainsys.t");
    EXPECT_EQ(in.raises[0].by, 1001);
    const stepped_t& s = block_at(explanation, "sub.s");
    ASSERT_EQ(s.raises.size(), 2u);
    EXPECT_EQ(s.raises[0].by, 1);
    EXPECT_EQ(s.raises[1].source, "mainsys.sub.m");
    EXPECT_EQ(s.raises[1].by, 0) << "the memory has zone 0, below";
    const stepped_t& m = block_at(explanation, "sub.m");
    EXPECT_TRUE(m.fixed_zone);
    EXPECT_EQ(m.zone, 0);
    EXPECT_EQ(block_at(explanation, "d").zone, 2004);
}

TEST(Explain, ValuesThatComeOneStepLate) {
    const TempModel model(nested);
    const Explanation explanation(model.path(), {});
    EXPECT_TRUE(block_at(explanation, "sub.m").inputs[0].late);
    EXPECT_EQ(block_at(explanation, "sub.m").inputs[0].source, "mainsys.sub.s") << "the cast is gone";
    EXPECT_FALSE(block_at(explanation, "sub.s").inputs[0].late);
    EXPECT_FALSE(block_at(explanation, "sub.s").inputs[1].late) << "the memory is stepped first";
    std::ostringstream table;
    explanation.print_table(table);
    EXPECT_THAT(table.str(),
                HasSubstr("one step late:\n  input 0 of mainsys.sub.m (memory) from mainsys.sub.s: a memory "
                          "reads what its source left in the step before\n"));
}

// Of two memories in a row the one listed first is stepped first: the second passes its value on at once.
TEST(Explain, MemoryThatDelaysNothing) {
    const TempModel model(R"({
      "blocks": [{"time": {"name": "t", "id": 101}}, {"memory": {"name": "m1", "id": 102}},
                 {"memory": {"name": "m2", "id": 103}}, {"display": {"name": "d", "id": 104}}],
      "links": [{"srcId": 101, "dstId": 102}, {"srcId": 102, "dstId": 103}, {"srcId": 103, "dstId": 104}]})");
    const Explanation explanation(model.path(), {});
    EXPECT_TRUE(block_at(explanation, "m1").inputs[0].late);
    EXPECT_FALSE(block_at(explanation, "m2").inputs[0].late);
    std::ostringstream table;
    explanation.print_table(table);
    EXPECT_THAT(table.str(), HasSubstr("mainsys.m2 (memory) delays nothing: mainsys.m1 is stepped before it\n"));
}

// A constant has its value before the first step.
TEST(Explain, ConstantIsNeverLate) {
    const TempModel model(R"({
      "blocks": [{"constant": {"name": "c", "id": 101}}, {"memory": {"name": "m", "id": 102}},
                 {"display": {"name": "d", "id": 103}}],
      "links": [{"srcId": 101, "dstId": 102}, {"srcId": 102, "dstId": 103}]})");
    const Explanation explanation(model.path(), {});
    std::ostringstream table;
    explanation.print_table(table);
    EXPECT_THAT(table.str(), HasSubstr("no value is a step late\n"));
}

TEST(Explain, GatesAndBlocksThatNeverRun) {
    const Explanation explanation(checks_folder() / "Z409_bad.json", {});
    const stepped_t& wave = block_at(explanation, "sub.wave");
    EXPECT_EQ(wave.gate, "mainsys.sub.en");
    EXPECT_TRUE(wave.never);
    EXPECT_FALSE(block_at(explanation, "sub.en").never);
    std::ostringstream text;
    explanation.print_block(wave, text);
    EXPECT_THAT(text.str(), HasSubstr("gate      mainsys.sub.en, which opens only behind it: the block never runs\n"));
}

TEST(Explain, OneBlockInDetail) {
    const TempModel model(nested);
    const Explanation explanation(model.path(), {});
    std::ostringstream text;
    explanation.print_block(block_at(explanation, "sub.s"), text);
    EXPECT_EQ(text.str(),
              "mainsys.sub.s (add), id 113\n"
              "  position  3 of 6\n"
              "  tier      1\n"
              "  zone      1002\n"
              "            input 0: mainsys.sub.in has zone 1001, +1: 1002\n"
              "            input 1: mainsys.sub.m has zone 0, below 1002: no change\n"
              "  gate      none\n"
              "  input 0   flt64 from output 0 of mainsys.sub.in\n"
              "  input 1   flt64 from output 0 of mainsys.sub.m\n"
              "  output 0  flt64\n"
              "  formula   y = u0 + u1\n"
              "  read by   input 0 of mainsys.sub.m (memory), at position 0, one step late\n"
              "  read by   input 0 of mainsys.sub.out (outport), at position 4\n"
              "  within a zone blocks stand in the order of the hashes of their classes, then of the file\n");
}

TEST(Explain, PathsOfSubsystemsAndOfNothing) {
    const TempModel model(nested);
    const Explanation explanation(model.path(), {});
    EXPECT_EQ(explanation.at("sub").size(), 4u);
    EXPECT_TRUE(explanation.at("sub.k").empty()) << "a cast does not run";
    EXPECT_EQ(explanation.nearest_path("sub.ot"), "mainsys.sub.out");
}

TEST(Explain, JsonHoldsOrderAndLateness) {
    const TempModel model(nested);
    const Explanation explanation(model.path(), {});
    std::vector<const stepped_t*> all;
    for (const stepped_t& block : explanation.order()) all.push_back(&block);
    const auto whole = nlohmann::json::parse(explanation.json("model.json", all));
    ASSERT_EQ(whole["order"].size(), 6u);
    EXPECT_EQ(whole["order"][2]["path"], "mainsys.sub.in");
    EXPECT_EQ(whole["order"][2]["raisedBy"][0]["by"], 1001);
    EXPECT_TRUE(whole["order"][2]["gate"].is_null());
    ASSERT_EQ(whole["late"].size(), 1u);
    EXPECT_EQ(whole["late"][0]["path"], "mainsys.sub.m");
}

TEST(Explain, ModelWithErrorsHasNoOrder) {
    const Explanation explanation(checks_folder() / "Z217_bad.json", {});
    EXPECT_TRUE(explanation.order().empty());
    EXPECT_TRUE(has_errors(explanation.findings()));
}

}  // namespace
}  // namespace zarn
