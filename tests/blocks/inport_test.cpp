#include <gtest/gtest.h>

#include "core/var.h"
#include "tests/support/block_test.h"
#include "tests/support/diagram.h"

namespace tessel::test {
namespace {

TEST(Inport, PassesEveryValueTypeUnchanged) {
    const auto rows = accepted("inport");
    ASSERT_EQ(rows.size(), 11u);
    for (const signature_t& row : rows) {
        ASSERT_EQ(row.types[0], row.types[1]);
        Bench bench("inport", {row.types[0]});
        bench.typed();
        EXPECT_EQ(bench.output_type(), row.types[0]);
        Runnable run(bench);
        ASSERT_TRUE(run);
        value_t u{row.types[0], 0xfff4567890abcd01u};  // the float64 pattern is a signalling not-a-number
        if (const auto size = size_of(u.type); size < 8) u.bits &= (1ull << (8 * size)) - 1;
        if (u.type == type_bool) u.bits = 1;
        run.set(0, u).step();
        EXPECT_EQ(run.output().bits, u.bits) << short_name(u.type);
        run.step_lowered({u});
        EXPECT_EQ(run.output().bits, u.bits) << short_name(u.type);
    }
}

TEST(Inport, HasNoRunnableFormForText) {
    Bench bench("inport", {type_cstr});
    EXPECT_FALSE(Runnable(bench.typed()));
    Bench mixed("inport", {type_flt64});
    EXPECT_FALSE(Runnable(mixed.forced({type_flt64, type_flt32})));
}

TEST(Inport, NeedsASourceOnlyInsideASubsystem) {
    Bench open("inport", {});
    EXPECT_TRUE(open.block().has_all_sources());
    open.block().set_parent_id(7);
    EXPECT_FALSE(open.block().has_all_sources());
    Bench fed("inport", {type_int8});
    fed.block().set_parent_id(7);
    EXPECT_TRUE(fed.block().has_all_sources());
}

TEST(Inport, IsFlt64WithoutASourceAndKeepsPresetTypes) {
    Bench open("inport", {});
    open.typed();
    EXPECT_EQ(open.input_type(0), type_flt64);
    EXPECT_EQ(open.output_type(), type_flt64);
    Bench preset("inport", {});
    preset.block().output(0)->set_type(type_int16);
    preset.typed();
    EXPECT_EQ(preset.input_type(0), type_flt64);
    EXPECT_EQ(preset.output_type(), type_int16);
}

TEST(Inport, ZoneIsZeroWithoutASourceElseBehindIt) {
    Bench open("inport", {});
    EXPECT_EQ(open.block().calculate_zone(), 0);
    EXPECT_EQ(open.block().zone(), 0);

    Bench fed("inport", {type_flt64});
    fed.source(0).set_zone(-1);
    EXPECT_EQ(fed.block().calculate_zone(), -1);
    EXPECT_EQ(fed.block().zone(), -1);
    fed.source(0).set_zone(4);
    fed.source(0).set_tier(0);
    fed.set_tier(1);
    EXPECT_EQ(fed.block().calculate_zone(), 0);
    EXPECT_EQ(fed.block().zone(), 1005);
}

TEST(Inport, AtTheTopLevelHoldsWhatTheHostWrote) {
    Diagram diagram;
    diagram.add("inport", "u", 5);
    diagram.add("display", "d", 6);
    diagram.link(5, 6);
    ASSERT_EQ(diagram.compile(), result_ok);
    const auto exec = diagram.build();
    double start = -1.0;
    exec->find_block(5)->input(0)->to_flt64(&start);
    EXPECT_EQ(start, 0.0);
    *static_cast<double*>(exec->find_block(5)->input(0)->value_ptr()) = 2.5;
    ASSERT_EQ(exec->run(), result_ok);
    double shown = 0.0;
    exec->find_block(6)->input(0)->to_flt64(&shown);
    EXPECT_EQ(shown, 2.5);
}

TEST(Inport, WithoutALinkInsideASubsystemFailsTheCompile) {
    Diagram diagram;
    diagram.add("subsys", "sub", 7, 0, {1, 0});
    diagram.add_port("inport", "u", 5, 7, 0);
    diagram.add("display", "d", 6, 7);
    diagram.link(5, 6);
    EXPECT_EQ(diagram.compile(), result_source_missing);
}

TEST(Inport, StructuresHoldThePortAndTheColumn) {
    Bench bench("inport", {type_uint16});
    bench.typed();
    EXPECT_EQ(bench.struct_c(),
              "typedef struct\n{\n    unsigned short port0;\n    unsigned int index;\n} inport_uint16_t;\n\n");
    EXPECT_EQ(bench.struct_py(),
              "class inport_t:\n"
              "    def __init__(self):\n"
              "        self.port0 = 0\n"
              "        self.index = 0\n\n");
}

TEST(Inport, InitLooksTheColumnUpByTheBlocksName) {
    Bench bench("inport", {type_flt64});
    bench.typed().set_tier(3);
    EXPECT_EQ(bench.init_c(),
              "    p_model->Blk_42.index = find_token(FILE_INPUT_TOKENS, \"Blk\");\n"
              "    if (p_model->Blk_42.index == 0)\n"
              "    {\n"
              "        return -1;\n"
              "    }\n");
    EXPECT_EQ(bench.init_py(),
              "        try:\n"
              "            self.Blk_42.index = header_input.index(\"Blk\")\n"
              "        except:\n"
              "            self.Blk_42.index = 0\n");
}

TEST(Inport, StepReadsTheColumnInsideASubsystemToo) {
    Bench bench("inport", {type_flt64});
    bench.typed().set_tier(0);
    EXPECT_EQ(bench.step_c(), "    p_model->Blk_42.port0 = strtod(FILE_INPUT_TOKENS[p_model->Blk_42.index], NULL);\n");
    bench.set_tier(2);
    bench.block().set_parent_id(7);
    EXPECT_EQ(bench.step_c(),
              "            p_model->Blk_42.port0 = strtod(FILE_INPUT_TOKENS[p_model->Blk_42.index], NULL);\n");
    EXPECT_EQ(bench.step_py(), "                self.Blk_42.port0 = float(buffer_input[self.Blk_42.index])\n");
}

}  // namespace
}  // namespace tessel::test
