#include <gmock/gmock.h>

#include "tests/support/ExecBuilder.h"

namespace tessel::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

constexpr std::uint64_t source = 1, enable = 10, gated = 20, inner = 11;

/// A source that is 1 in the steps of `on`, 0 in the others; five steps at 0, 1, 2, 3, 4.
class Enable : public testing::TestWithParam<engine_t>, protected ExecBuilder {
protected:
    Enable() {
        model.set_engine(GetParam());
        times(0.0, 4.0, 1.0);
    }
    TestExec& pulse(std::uint64_t id, std::vector<double> on) {
        TestExec& block = add(id, 0, 1);
        block.on_step = [on = std::move(on)](TestExec& b) {
            b.out() = std::ranges::find(on, b.times.back()) != on.end() ? 1.0 : 0.0;
        };
        return block;
    }
};
INSTANTIATE_TEST_SUITE_P(Engines, Enable, testing::Values(engine_t::objects, engine_t::plan),
                         [](const auto& engine) { return engine.param == engine_t::objects ? "objects" : "plan"; });

TEST_P(Enable, ObjectBehindItsEnableBlockSeesTheFlagOfTheStep) {
    pulse(source, {1, 2, 4});
    TestExec& flag = add_enable(enable);
    TestExec& block = add(gated, 0, 1, enable);
    link(source, enable);
    run();
    EXPECT_THAT(block.times, ElementsAre(1.0, 2.0, 4.0));
    EXPECT_EQ(block.gate, &flag.flag());
    EXPECT_THAT(model.enable_blocks, UnorderedElementsAre(&flag));
    EXPECT_THAT(flag.times, ElementsAre(0.0, 1.0, 2.0, 3.0, 4.0)) << "nothing gates it, so it always runs";
}

TEST_P(Enable, ObjectBeforeItsEnableBlockNeverRuns) {
    TestExec& early = add(gated, 0, 1, enable);
    pulse(source, {0, 1, 2, 3, 4});
    add_enable(enable);
    link(source, enable);
    run();
    EXPECT_THAT(early.times, IsEmpty());
    EXPECT_EQ(early.starts, 1) << "start and finish ignore the flag";
    EXPECT_EQ(early.finishes, 1);
}

TEST_P(Enable, EveryNumberButZeroIsTrue) {
    TestExec& number = add(source, 0, 1);
    number.on_step = [](TestExec& b) { b.out() = b.times.back() - 2.0; };
    add_enable(enable);
    TestExec& block = add(gated, 0, 1, enable);
    link(source, enable);
    run();
    EXPECT_THAT(block.times, ElementsAre(0.0, 1.0, 3.0, 4.0));
}

TEST_P(Enable, DisabledObjectKeepsItsOutputsAndOthersReadThem) {
    pulse(source, {1, 2});
    add_enable(enable);
    TestExec& block = add(gated, 0, 1, enable);
    block.on_step = [](TestExec& b) { b.out() = 10.0 + b.times.back(); };
    TestExec& reader = add(30, 1, 0);
    std::vector<double> seen;
    reader.on_step = [&seen](TestExec& b) { seen.push_back(b.in(0)); };
    link(source, enable).link(gated, 30);
    run();
    EXPECT_THAT(seen, ElementsAre(0.0, 11.0, 12.0, 12.0, 12.0));
}

TEST_P(Enable, DisabledObjectLearnsNoTime) {
    pulse(source, {1});
    add_enable(enable);
    std::vector<std::string> calls;
    add(gated, 1, 0, enable).calls = &calls;
    link(source, enable);
    run();
    EXPECT_THAT(calls, ElementsAre("20.set_enable", "20.set_time(0)", "20.start",           //
                                   "20.enabled",                                            //
                                   "20.enabled", "20.set_time(1)", "20.sample", "20.step",  //
                                   "20.enabled", "20.enabled", "20.enabled", "20.finish"));
}

TEST_P(Enable, FlagIsResetAtTheHeadOfEveryStep) {
    TestExec& flag = add_enable(enable);
    flag.flag() = true;  // unfed: what stands there is what the reset leaves
    TestExec& block = add(gated, 0, 1, enable);
    run();
    EXPECT_THAT(block.times, IsEmpty());
    EXPECT_FALSE(flag.flag());
}

TEST_P(Enable, EnableBlockThatGatesNothingIsNotReset) {
    TestExec& flag = add_enable(enable);
    flag.flag() = true;
    TestExec& block = add(gated, 0, 1);
    run();
    EXPECT_THAT(model.enable_blocks, IsEmpty());
    EXPECT_TRUE(flag.flag());
    EXPECT_EQ(block.times.size(), 5u);
    EXPECT_TRUE(*block.gate);
}

TEST_P(Enable, NestedEnableStaysOffWhileTheOuterOneIsOff) {
    pulse(source, {1, 2});
    pulse(2, {0, 2, 3});
    add_enable(enable);
    TestExec& nested = add_enable(inner, enable);
    TestExec& outside = add(20, 0, 1, enable);
    TestExec& block = add(21, 0, 1, inner);
    link(source, enable).link(2, inner);
    run();
    EXPECT_THAT(nested.times, ElementsAre(1.0, 2.0));
    EXPECT_THAT(outside.times, ElementsAre(1.0, 2.0));
    EXPECT_THAT(block.times, ElementsAre(2.0)) << "the inner flag was reset in the steps that the outer one skipped";
    EXPECT_FALSE(nested.flag());
    EXPECT_THAT(model.enable_blocks.size(), 2u);
}

TEST_P(Enable, OnlyTheSecondIdOfAnEntryGates) {
    pulse(source, {});
    add_enable(enable);
    TestExec& block = add(gated, 0, 1);
    properties->enable_map[gated] = {enable, 0};
    link(source, enable);
    run();
    EXPECT_EQ(block.times.size(), 5u);
}

TEST_P(Enable, GateThatHasNoObjectGatesNothing) {
    TestExec& block = add(gated, 0, 1, 99);
    run();
    EXPECT_EQ(block.times.size(), 5u);
}

TEST_P(Enable, SecondRunGathersTheFlagsAnew) {
    pulse(source, {1});
    add_enable(enable);
    TestExec& block = add(gated, 0, 1, enable);
    link(source, enable);
    run();
    EXPECT_EQ(block.times.size(), 1u);
    properties->enable_map[gated] = {0, 0};
    run();
    EXPECT_THAT(model.enable_blocks, IsEmpty());
    EXPECT_EQ(block.times.size(), 6u);
}

}  // namespace
}  // namespace tessel::test
