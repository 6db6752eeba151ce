#include <gtest/gtest.h>

#include "tests/support/block_test.h"

namespace tessel::test {
namespace {

TEST(Enable, IsBoolUnlessTyped) {
    Bench bench("enable", {type_flt64});
    bench.typed();
    EXPECT_EQ(bench.input_type(0), type_bool);
    Bench typed("enable", {type_flt64});
    typed.block().input(0)->set_type(type_int32);
    typed.typed();
    EXPECT_EQ(typed.input_type(0), type_int32);
}

TEST(Enable, SamplesItsInputAndComputesNothing) {
    Bench bench("enable", {type_flt64});
    Runnable run(bench.typed());
    ASSERT_TRUE(run);
    const auto feed = make_feed(type_flt64);
    Runnable::write(feed->output(0), value(-0.5));
    run->input(0)->connect(*feed, 0);
    run.step();
    EXPECT_EQ(run.input(), value(true));
    EXPECT_EQ(run->input(1), nullptr);
    EXPECT_EQ(run->output(0), nullptr);
}

TEST(Enable, RunsWithElevenInputTypesAndNoOutput) {
    const auto rows = accepted("enable");
    ASSERT_EQ(rows.size(), 11u);
    for (const signature_t& row : rows) {
        EXPECT_EQ(row.inputs, 1);
        EXPECT_EQ(row.outputs, 0);
    }
    Bench text("enable", {type_cstr});
    EXPECT_FALSE(Runnable(text.forced({type_cstr})));
}

TEST(Enable, WritesNoCodeOfItsOwn) {
    Bench bench("enable", {type_bool});
    bench.typed().set_tier(0);
    EXPECT_EQ(bench.init_c(), "    // no initialization is required\n");
    EXPECT_EQ(bench.init_py(), "        # no initialization is required\n");
    EXPECT_EQ(bench.step_c(), "    // no code generated\n");
    EXPECT_EQ(bench.step_py(), "        # no code generated\n");
}

TEST(Enable, AtTheRootWritesAtTheMargin) {
    Bench bench("enable", {type_bool});
    bench.set_tier(-1);
    EXPECT_EQ(bench.step_c(), "// no code generated\n");
    EXPECT_EQ(bench.step_py(), "    # no code generated\n");
}

TEST(Enable, NamesTheTypesOfOutputsThatTheFileGave) {
    Bench bench("enable", {type_bool});
    bench.block().resize_ports(1, 2);
    bench.forced({type_bool, type_flt64, type_bool});
    EXPECT_EQ(bench.block().struct_name(), "enable_flt64bool_t");
    EXPECT_FALSE(Runnable(bench));
}

}  // namespace
}  // namespace tessel::test
