#include <gtest/gtest.h>

#include "tests/support/block_test.h"

namespace tessel::test {
namespace {

TEST(Add, NarrowIntegersWrap) {
    EXPECT_EQ((run_once<std::int8_t>("add", std::int8_t{100}, std::int8_t{100})), -56);
    EXPECT_EQ((run_once<std::uint8_t>("add", std::uint8_t{200}, std::uint8_t{100})), 44);
    EXPECT_EQ((run_once<std::int8_t>("add", std::int8_t{127}, true)), -128);
}

TEST(Add, WritesOneOperandALineInC) {
    Bench bench("add", {type_flt64, type_flt64});
    bench.typed().set_tier(1);
    EXPECT_EQ(bench.step_c(),
              "        p_model->Blk_42.port0 = \n"
              "            p_model->In0_100.port0 +\n"
              "            p_model->In1_101.port1;\n");
    EXPECT_EQ(bench.code_result(), result_ok);
}

}  // namespace
}  // namespace tessel::test
