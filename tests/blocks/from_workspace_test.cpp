#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/literal_bridge.h"
#include "tests/support/block_test.h"

namespace tessel::test {
namespace {

class FromWorkspace : public testing::Test {
protected:
    FromWorkspace() {
        python::literal_bridge().clear();
        console_ = python::set_console([this](std::string_view text) { told_ += text; });
    }
    ~FromWorkspace() override {
        python::set_console(console_);
        python::literal_bridge().clear();
    }

    static Bench named(const char* expression, type_t type = type_unknown) {
        Bench bench("from_workspace", {});
        bench.set_param("expression", expression);
        bench.block().output(0)->set_type(type);
        return bench;
    }
    /// The output at each of these times, of one object.
    static std::vector<double> play(Runnable& run, std::initializer_list<double> times) {
        std::vector<double> seen;
        for (const double t : times) seen.push_back(run.step(t).out<double>());
        return seen;
    }

    std::string told_;

private:
    python::console_t console_;
};

TEST_F(FromWorkspace, GivesTheFirstSampleAtOrAfterTheTime) {
    python::literal_bridge().set_series("s", {0.0, 1.0, 2.0}, {10.0, 20.0, 30.0});
    Bench bench = named("s");
    Runnable run(bench.typed());
    ASSERT_TRUE(run);
    EXPECT_EQ(play(run, {-1.0, 0.0, 0.5, 1.0, 1.5, 2.0}), (std::vector<double>{10, 10, 20, 20, 30, 30}));
}

TEST_F(FromWorkspace, HoldsTheLastValuePastTheEnd) {
    python::literal_bridge().set_series("s", {0.0, 1.0}, {10.0, 20.0});
    Bench bench = named("s");
    Runnable run(bench.typed());
    EXPECT_EQ(play(run, {1.5, 2.0, 1e9}), (std::vector<double>{20, 20, 20}));
}

TEST_F(FromWorkspace, SkipsSamplesOfOneTime) {
    python::literal_bridge().set_series("s", {0.0, 0.0, 1.0, 1.0}, {1.0, 2.0, 3.0, 4.0});
    Bench bench = named("s");
    Runnable run(bench.typed());
    EXPECT_EQ(play(run, {0.0, 0.5, 1.0, 1.25}), (std::vector<double>{1, 3, 3, 4}));
}

TEST_F(FromWorkspace, ASecondRunBeginsWhereTheFirstEnded) {
    python::literal_bridge().set_series("s", {0.0, 1.0, 2.0}, {10.0, 20.0, 30.0});
    Bench bench = named("s");
    Runnable run(bench.typed());
    EXPECT_EQ(play(run, {0.0, 1.0}), (std::vector<double>{10, 20}));
    run.start(0.0);
    EXPECT_EQ(play(run, {0.0}), (std::vector<double>{20}));
}

TEST_F(FromWorkspace, AnEmptySeriesReadsTheFirstPositionOfItsValues) {
    python::literal_bridge().set_series("s", {}, {});
    Bench bench = named("s");
    bench.typed();
    EXPECT_EQ(bench.output_type(), type_flt64);
    Runnable run(bench);
    ASSERT_TRUE(run);
    EXPECT_EQ(play(run, {0.0, 1.0, 2.0}), (std::vector<double>{0, 0, 0}));

    python::literal_bridge().set_series("v", {}, {7.0});
    Bench values = named("v");
    Runnable first(values.typed());
    EXPECT_EQ(play(first, {0.0, 5.0}), (std::vector<double>{7, 7}));
}

TEST_F(FromWorkspace, ReadsTheWorkspaceOnceInTheLifeOfTheBlock) {
    python::literal_bridge().set_series("s", {0.0, 1.0}, {1.0, 2.0});
    Bench bench = named("s");
    Runnable first(bench.typed());
    python::literal_bridge().set_series("s", {0.0, 1.0}, {5.0, 6.0});
    Runnable second(bench);
    EXPECT_EQ(play(second, {0.0, 1.0}), (std::vector<double>{1, 2}));
    python::literal_bridge().clear();
    EXPECT_EQ(bench.block().calculate_type(), result_ok);
}

TEST_F(FromWorkspace, AnEmptySeriesIsAskedForAgain) {
    python::literal_bridge().set_series("s", {}, {});
    Bench bench = named("s");
    Runnable first(bench.typed());
    python::literal_bridge().set_series("s", {0.0}, {3.0});
    Runnable second(bench);
    EXPECT_EQ(play(second, {0.0}), (std::vector<double>{3}));
}

TEST_F(FromWorkspace, ASeriesThatIsGoneWhenTheObjectIsMadeGivesZero) {
    python::literal_bridge().set_series("s", {0.0, 1.0}, {1.0, 2.0});
    Bench bench = named("s");
    bench.typed();
    python::literal_bridge().clear();
    Runnable run(bench);
    ASSERT_TRUE(run);
    EXPECT_EQ(play(run, {0.0, 0.5, 2.0}), (std::vector<double>{0, 0, 0}));
    EXPECT_NE(told_.find("'s'"), std::string::npos);
}

TEST_F(FromWorkspace, OutlivesItsDesignBlockAndTheWorkspace) {
    python::literal_bridge().set_series("s", {0.0, 1.0}, {1.0, 2.0});
    std::unique_ptr<Runnable> run;
    {
        Bench bench = named("s");
        run = std::make_unique<Runnable>(bench.typed());
    }
    python::literal_bridge().clear();
    EXPECT_EQ(play(*run, {0.0, 0.5}), (std::vector<double>{1, 2}));
}

TEST_F(FromWorkspace, AnUnknownSeriesFailsTheTypeRule) {
    Bench bench = named("nothing");
    EXPECT_EQ(bench.block().calculate_type(), result_bad_parameter);
    EXPECT_TRUE(bench.block().failed());
    EXPECT_EQ(bench.output_type(), type_unknown);
    EXPECT_NE(told_.find("nothing"), std::string::npos);
}

TEST_F(FromWorkspace, ConvertsToItsOutputType) {
    python::literal_bridge().set_series("s", {0.0, 1.0, 2.0, 3.0}, {300.7, -1.0, 1.5e19, 0.25});
    Bench narrow = named("s", type_uint8);
    Runnable run(narrow.typed());
    EXPECT_EQ(run.step(0.0).out<std::uint8_t>(), 44);
    EXPECT_EQ(run.step(1.0).out<std::uint8_t>(), 255);
    Bench wide = named("s", type_uint64);
    Runnable top(wide.typed());
    EXPECT_EQ(top.step(2.0).out<std::uint64_t>(), 15000000000000000000u);
    Bench flag = named("s", type_bool);
    Runnable set(flag.typed());
    EXPECT_TRUE(set.step(3.0).out<bool>());
}

TEST_F(FromWorkspace, RunsWithElevenOutputTypes) {
    EXPECT_EQ(accepted("from_workspace").size(), 11u);
    python::literal_bridge().set_series("s", {0.0}, {1.0});
    Bench text = named("s", type_cstr);
    EXPECT_FALSE(Runnable(text.typed()));
}

TEST_F(FromWorkspace, LoweredStepReadsTheSameSeries) {
    python::literal_bridge().set_series("s", {0.0, 1.0}, {1.0, 2.0});
    Bench bench = named("s");
    Runnable run(bench.typed());
    EXPECT_EQ(run.step_lowered({}, 0.0).out<double>(), 1.0);
    EXPECT_EQ(run.step_lowered({}, 0.5).out<double>(), 2.0);
}

TEST_F(FromWorkspace, IsASourceThatWritesNoCode) {
    Bench bench = named("s");
    EXPECT_EQ(bench.block().calculate_zone(), 0);
    EXPECT_EQ(bench.block().zone(), 0);
    EXPECT_EQ(bench.init_c(), "    // no initialization is required\n");
    EXPECT_EQ(bench.step_c(), "    // no code generated\n");
    EXPECT_EQ(bench.step_py(), "        # no code generated\n");
}

}  // namespace
}  // namespace tessel::test
