// subsys, refsys, goto and from: blocks that a compile takes out of the model.
#include <gtest/gtest.h>

#include "tests/support/block_test.h"

namespace tessel::test {
namespace {

TEST(DrawingBlocks, HaveNoRunnableForm) {
    for (const char* name : {"subsys", "refsys", "goto", "from"}) {
        Bench bench(name, {});
        EXPECT_FALSE(Runnable(bench)) << name;
        EXPECT_TRUE(accepted(name).empty()) << name;
    }
}

TEST(DrawingBlocks, WriteTheDefaultTexts) {
    for (const char* name : {"subsys", "refsys", "goto", "from"}) {
        Bench bench(name, {});
        EXPECT_EQ(bench.init_c(), "    // no initialization is required\n") << name;
        EXPECT_EQ(bench.step_py(), "        # no code generated\n") << name;
    }
}

TEST(From, NeedsNeitherTypeNorZoneOfOthers) {
    Bench bench("from", {});
    EXPECT_EQ(bench.block().calculate_type(), result_ok);
    EXPECT_EQ(bench.output_type(), type_unknown);
    EXPECT_EQ(bench.block().calculate_zone(), 0);
    EXPECT_EQ(bench.block().zone(), 0);
}

TEST(Goto, KeepsTheDefaultRules) {
    Bench bench("goto", {type_int16});
    bench.typed();
    EXPECT_EQ(bench.input_type(0), type_int16);
    bench.source(0).set_zone(2);
    bench.source(0).set_tier(0);
    EXPECT_EQ(bench.block().calculate_zone(), 0);
    EXPECT_EQ(bench.block().zone(), 3);
}

}  // namespace
}  // namespace tessel::test
