#include <gtest/gtest.h>

#include "tests/support/block_test.h"

namespace tessel::test {
namespace {

TEST(Outport, PassesEveryValueType) {
    const auto rows = accepted("outport");
    ASSERT_EQ(rows.size(), 11u);
    for (const signature_t& row : rows) {
        Bench bench("outport", {row.types[0]});
        Runnable run(bench.typed());
        ASSERT_TRUE(run);
        const value_t one = [&] {
            switch (row.types[0]) {
                case type_flt32: return value(1.5f);
                case type_flt64: return value(1.5);
                default: return value_t{row.types[0], 1};
            }
        }();
        run.set(0, one).step();
        EXPECT_EQ(run.output(), one);
    }
}

TEST(Outport, KeepsTheDefaultTypeAndZoneRules) {
    Bench open("outport", {});
    EXPECT_FALSE(open.block().has_all_sources());
    Bench bench("outport", {type_int8});
    bench.source(0).set_zone(3);
    bench.source(0).set_tier(0);
    EXPECT_EQ(bench.block().calculate_zone(), 0);
    EXPECT_EQ(bench.block().zone(), 4);
    EXPECT_FALSE(Runnable(bench.forced({type_cstr, type_cstr})));
}

TEST(Outport, StructuresHoldThePortTheColumnAndTheName) {
    Bench bench("outport", {type_bool});
    bench.typed();
    EXPECT_EQ(bench.struct_c(),
              "typedef struct\n{\n"
              "    bool port0;\n"
              "    unsigned int index;\n"
              "    const char *name;\n"
              "} outport_bool_t;\n\n");
    EXPECT_EQ(bench.struct_py(),
              "class outport_t:\n"
              "    def __init__(self):\n"
              "        self.port0 = 0\n"
              "        self.index = 0\n"
              "        self.name = 0\n\n");
}

TEST(Outport, InitAddsAColumn) {
    Bench bench("outport", {type_flt64});
    bench.typed().set_tier(2);
    EXPECT_EQ(bench.init_c(),
              "    p_model->Blk_42.name = \"Blk\";\n"
              "    p_model->Blk_42.index = push_token(FILE_OUTPUT_NAMES, \"Blk\");\n");
    EXPECT_EQ(bench.init_py(),
              "        self.Blk_42.name = \"Blk\"\n"
              "        self.Blk_42.index = len(header_output)\n"
              "        header_output.append(\"Blk\")\n"
              "        buffer_output.append(0)\n");
}

TEST(Outport, StepSetsThePortInPythonOnly) {
    Bench bench("outport", {type_flt64});
    bench.typed().set_tier(1);
    EXPECT_EQ(bench.step_c(), "        FILE_OUTPUT_VALUES[p_model->Blk_42.index] = p_model->In0_100.port0;\n");
    EXPECT_EQ(bench.step_py(),
              "            self.Blk_42.port0 = self.In0_100.port0\n"
              "            buffer_output[self.Blk_42.index] = str(self.In0_100.port0)\n");
}

TEST(Outport, WritesTextWithoutASource) {
    Bench bench("outport", {});
    EXPECT_EQ(bench.step_c(), "    FILE_OUTPUT_VALUES[p_model->Blk_42.index] = 0;\n");
}

}  // namespace
}  // namespace tessel::test
