#include <gmock/gmock.h>

#include <limits>

#include "core/python.h"
#include "tests/support/ExecBuilder.h"
#include "tests/support/LogCapture.h"

namespace tessel::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr double nan64 = std::numeric_limits<double>::quiet_NaN();

/// Tests that hold for both engines.
class Run : public testing::TestWithParam<engine_t>, protected ExecBuilder {
protected:
    Run() {
        model.set_engine(GetParam());
        times(0.0, 2.0, 1.0);
    }
};
INSTANTIATE_TEST_SUITE_P(Engines, Run, testing::Values(engine_t::objects, engine_t::plan),
                         [](const auto& engine) { return engine.param == engine_t::objects ? "objects" : "plan"; });

TEST(ExecModel, IsCreatedEmptyAndWithoutProperties) {
    const auto created = create_empty_exec_model();
    auto& model = static_cast<ExecModel&>(*created);
    EXPECT_EQ(model.begin(), model.end());
    EXPECT_THAT(model.enable_blocks, IsEmpty());
    EXPECT_EQ(model.properties, nullptr);
}

TEST(ExecModel, TakesAddedBlocksOverAndFindsTheFirstOfAnId) {
    ExecModel model;
    std::unique_ptr<ExecBlock> first = std::make_unique<TestExec>(5, 0, 0, 1);
    std::unique_ptr<ExecBlock> second = std::make_unique<TestExec>(5, 0, 0, 1);
    std::unique_ptr<ExecBlock> nothing;
    const ExecBlock* address = first.get();
    model.add_block(nothing);
    model.add_block(first);
    model.add_block(second);
    EXPECT_EQ(first, nullptr);
    EXPECT_EQ(model.end() - model.begin(), 3);
    EXPECT_EQ(model.find_block(5), address);
    EXPECT_EQ(model.find_block(6), nullptr);
}

TEST(ExecModel, ClearKeepsTheProperties) {
    ExecBuilder b;
    b.add_enable(1);
    b.add(2, 0, 1, 1);
    b.run();
    ASSERT_EQ(b.model.enable_blocks.size(), 1u);
    b.model.clear();
    EXPECT_EQ(b.model.begin(), b.model.end());
    EXPECT_THAT(b.model.enable_blocks, IsEmpty());
    EXPECT_EQ(b.model.properties, b.properties);
    EXPECT_EQ(b.run(), result_ok);
}

TEST(ExecModel, AttachedObjectsFollowTheFirstOfAnId) {
    ExecBuilder b;
    b.add(1, 0, 1);
    b.add(2, 1, 0);
    b.add(1, 0, 1);
    b.properties->enable_map[2] = {0, 7};
    std::vector<attachment_t> attachments;
    std::vector<ExecBlock*> objects;
    for (const std::uint64_t behind : {2u, 0u, 1u, 2u, 99u}) {
        attachments.push_back({behind, std::make_unique<TestExec>(0, 0, 1, 0)});
        objects.push_back(attachments.back().block.get());
    }
    b.model.attach(std::move(attachments));
    ASSERT_EQ(b.model.blocks.size(), 7u);
    EXPECT_EQ(b.model.blocks[1].get(), objects[2]);
    EXPECT_EQ(b.model.blocks[3].get(), objects[0]);
    EXPECT_EQ(b.model.blocks[4].get(), objects[3]);
    EXPECT_EQ(b.model.blocks[6].get(), objects[1]);
    EXPECT_NE(objects[0]->id(), objects[3]->id());
    EXPECT_EQ(b.properties->enables_of(objects[0]->id()).second, 7u);
    EXPECT_EQ(b.properties->enables_of(objects[1]->id()).second, 0u);
}

TEST(ExecModel, WhatFollowsAllIsBehindTheHighestZone) {
    for (const std::size_t more : {std::size_t{0}, ExecModel::parallel_objects}) {
        ExecBuilder b;
        b.add(1, 0, 1, 0, 5);
        for (std::uint64_t id = 2; id < more + 3; ++id) b.add(id, 1, 0, 0, 3);  // lists need not be in zone order
        std::vector<attachment_t> attachments;
        for (const std::uint64_t behind : {0u, 1u})
            attachments.push_back({behind, std::make_unique<TestExec>(0, 0, 1, 0)});
        const ExecBlock &last = *attachments[0].block, &probe = *attachments[1].block;
        b.model.attach(std::move(attachments));
        EXPECT_GT(last.zone(), b.model.blocks[0]->zone());
        EXPECT_GT(last.zone(), probe.zone());
        EXPECT_GE(probe.zone(), b.model.blocks[0]->zone());
    }
}

TEST_P(Run, CallsTheObjectsInTheirOrder) {
    std::vector<std::string> calls;
    add(1, 0, 1).calls = &calls;
    add(2, 1, 0).calls = &calls;
    link(1, 2);
    times(0.5, 1.0, 0.5);
    EXPECT_EQ(run(), result_ok);
    EXPECT_THAT(calls, ElementsAre("1.set_enable", "2.set_enable",                              //
                                   "1.set_time(0.5)", "1.start", "2.set_time(0.5)", "2.start",  //
                                   "1.enabled", "1.set_time(0.5)", "1.sample", "1.step",        //
                                   "2.enabled", "2.set_time(0.5)", "2.sample", "2.step",        //
                                   "1.enabled", "1.set_time(1)", "1.sample", "1.step",          //
                                   "2.enabled", "2.set_time(1)", "2.sample", "2.step",          //
                                   "1.finish", "2.finish"));
}

TEST_P(Run, ValuesTravelAlongTheLinks) {
    add(1, 0, 2).on_step = [](TestExec& b) {
        b.out(0) = 10 * b.times.back();
        b.out(1) = -b.times.back();
    };
    TestExec& sum = add(2, 2, 1);
    sum.on_step = [](TestExec& b) { b.out() = b.in(0) + b.in(1); };
    TestExec& last = add(3, 2, 0);
    link(1, 0, 2, 0).link(1, 1, 2, 1).link(2, 0, 3, 1);
    run();
    EXPECT_EQ(last.in(1), 18.0);
    EXPECT_EQ(last.in(0), 0.0) << "an unfed input stays 0";
}

TEST_P(Run, NothingIsSaidOfWhatIsUnfedOrPassedOver) {
    TestExec& block = add(1, 2, 1);
    std::unique_ptr<ExecBlock> nothing;
    model.add_block(nothing);
    link(99, 1).link(1, 7, 1, 0);
    const LogCapture log;
    std::string console;
    auto before = python::set_console([&console](std::string_view text) { console += text; });
    EXPECT_EQ(run(), result_ok);
    python::set_console(std::move(before));
    EXPECT_EQ(block.in(0), 0.0);
    EXPECT_EQ(block.times.size(), 3u);
    EXPECT_THAT(log.lines, IsEmpty());
    EXPECT_EQ(console, "");
}

TEST_P(Run, ObjectBehindItsReaderIsReadAStepLate) {
    TestExec& reader = add(2, 1, 0);
    add(1, 0, 1).on_step = [](TestExec& b) { b.out() = 1.0 + b.times.back(); };
    link(1, 2);
    std::vector<double> seen;
    reader.on_step = [&seen](TestExec& b) { seen.push_back(b.in(0)); };
    run();
    EXPECT_THAT(seen, ElementsAre(0.0, 1.0, 2.0));
}

TEST_P(Run, TimeAdvancesByRepeatedAddition) {
    TestExec& block = add(1, 0, 1);
    times(0.0, 1.0, 0.1).run();
    std::vector<double> expected;
    for (double t = 0.0; 1.0 >= t; t += 0.1) expected.push_back(t);
    EXPECT_EQ(block.times, expected);
    ASSERT_EQ(block.times.size(), 11u);
    EXPECT_LT(block.times.back(), 1.0);
}

TEST_P(Run, LastStepMayFallShortOfTheFinalTime) {
    TestExec& block = add(1, 0, 1);
    times(0.0, 0.3, 0.1).run();
    EXPECT_EQ(block.times.size(), 3u) << "0.1 + 0.1 + 0.1 is above 0.3";
}

TEST_P(Run, FinalTimeItselfIsAStep) {
    TestExec& block = add(1, 0, 1);
    times(-1.0, 0.0, 0.25).run();
    EXPECT_THAT(block.times, ElementsAre(-1.0, -0.75, -0.5, -0.25, 0.0));
}

TEST_P(Run, NotANumberEndsTheLoop) {
    const std::pair<std::array<double, 3>, std::size_t> cases[]{
        {{nan64, 1.0, 1.0}, 0}, {{0.0, nan64, 1.0}, 0}, {{0.0, 1.0, nan64}, 1}, {{2.0, 1.0, 1.0}, 0}};
    for (const auto& [settings, steps] : cases) {
        ExecBuilder b;
        b.model.set_engine(GetParam());
        TestExec& block = b.add(1, 0, 1);
        b.times(settings[0], settings[1], settings[2]);
        EXPECT_EQ(b.run(), result_ok);
        EXPECT_EQ(block.times.size(), steps);
        EXPECT_EQ(block.starts, 1);
        EXPECT_EQ(block.finishes, 1);
    }
}

TEST_P(Run, SettingsAreReadAsDoublePayloadWhateverTheTag) {
    TestExec& block = add(1, 0, 1);
    properties->set("tf", var_t(3));  // the bits of the integer 3 are a tiny positive double
    run();
    EXPECT_THAT(block.times, ElementsAre(0.0));
}

TEST_P(Run, EmptyModelRuns) { EXPECT_EQ(run(), result_ok); }

TEST_P(Run, EmptyEntriesArePassedOver) {
    std::unique_ptr<ExecBlock> nothing;
    model.add_block(nothing);
    TestExec& block = add(1, 0, 1);
    nothing.reset();
    model.add_block(nothing);
    EXPECT_EQ(run(), result_ok);
    EXPECT_EQ(block.times.size(), 3u);
    EXPECT_EQ(block.finishes, 1);
}

TEST_P(Run, LinksWithoutTheirEndsArePassedOver) {
    TestExec& source = add(1, 0, 1);
    source.on_step = [](TestExec& b) { b.out() = 5.0; };
    TestExec& block = add(2, 1, 1);
    link(1, 2).link(99, 2).link(1, 99);
    link(1, 0, 2, 1).link(1, 0, 2, -1).link(1, 0, 2, 7);   // an output, the port before the first, behind the last
    link(1, 1, 2, 0).link(1, -1, 2, 0).link(2, -1, 2, 0);  // no such outputs
    run();
    EXPECT_EQ(block.in(0), 5.0) << "still fed by its one good link";
    EXPECT_EQ(block.output(0)->source(), nullptr);
}

TEST_P(Run, LaterLinkIntoOneInputWins) {
    add(1, 0, 1).on_step = [](TestExec& b) { b.out() = 1.0; };
    add(2, 0, 1).on_step = [](TestExec& b) { b.out() = 2.0; };
    TestExec& block = add(3, 1, 0);
    link(2, 3).link(1, 3);
    run();
    EXPECT_EQ(block.in(0), 1.0);
}

TEST_P(Run, SecondRunStartsAnewAndKeepsTheObjects) {
    TestExec& source = add(1, 0, 1);
    source.on_step = [](TestExec& b) { b.out() += 1.0; };
    TestExec& block = add(2, 1, 0);
    link(1, 2);
    run();
    EXPECT_EQ(block.in(0), 3.0);
    properties->links.clear();
    add(3, 0, 1).on_step = [](TestExec& b) { b.out() = 7.0; };
    link(3, 2);
    run();
    EXPECT_EQ(source.out(), 6.0) << "nothing resets an object but its own start";
    EXPECT_EQ(source.starts, 2);
    EXPECT_EQ(source.finishes, 2);
    run();
    EXPECT_EQ(block.in(0), 7.0);
}

/// Ends a run after some steps.
class Stopper final : public RunMonitor {
public:
    explicit Stopper(std::size_t steps) : left_(steps) {}
    bool step_done(double t) noexcept override {
        times.push_back(t);
        return --left_ != 0;
    }
    std::vector<double> times;

private:
    std::size_t left_;
};

TEST_P(Run, MonitorSeesEveryStepAndCanEndTheRun) {
    TestExec& block = add(1, 0, 1);
    Stopper stopper(2);
    model.set_monitor(&stopper);
    run();
    EXPECT_THAT(stopper.times, ElementsAre(0.0, 1.0));
    EXPECT_EQ(block.times.size(), 2u);
    EXPECT_EQ(block.finishes, 1);
    model.set_monitor(nullptr);
    run();
    EXPECT_EQ(block.times.size(), 5u);
}

using RunDeathTest = Run;
INSTANTIATE_TEST_SUITE_P(Engines, RunDeathTest, testing::Values(engine_t::objects, engine_t::plan));

TEST_P(RunDeathTest, MissingEnableEntryEndsTheProcess) {
    add(1, 0, 1);
    properties->enable_map.erase(1);
    EXPECT_DEATH(run(), "invalid unordered_map<K, T> key");
}

}  // namespace
}  // namespace tessel::test
