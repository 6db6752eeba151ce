#include <gtest/gtest.h>

#include <utility>

#include "exec/lowering.h"
#include "tests/support/block_test.h"

namespace tessel::test {
namespace {

TEST(Display, HoldsWhatItSamples) {
    Bench bench("display", {type_uint64});
    Runnable run(bench.typed());
    ASSERT_TRUE(run);
    const auto feed = make_feed(type_uint64);
    Runnable::write(feed->output(0), value(std::uint64_t{0xfedcba9876543210u}));
    run->input(0)->connect(*feed, 0);
    run.step();
    EXPECT_EQ(run.input(), value(std::uint64_t{0xfedcba9876543210u}));
    EXPECT_EQ(run->output(0), nullptr);
}

TEST(Display, RunsWithElevenInputTypes) {
    EXPECT_EQ(accepted("display").size(), 11u);
    for (const signature_t& row : accepted("display")) {
        Bench bench("display", {row.types[0]});
        EXPECT_TRUE(Runnable(bench.typed())) << short_name(row.types[0]);
    }
    Bench text("display", {type_cstr});
    EXPECT_FALSE(Runnable(text.typed()));
}

TEST(Display, LoweredStepDoesNothing) {
    Bench bench("display", {type_flt64});
    Runnable run(bench.typed());
    ASSERT_NE(run->lowering(), nullptr);
    EXPECT_EQ(run->lowering()->run, nullptr);
}

TEST(Display, PrintsWithTheLetterOfTheType) {
    const std::pair<type_t, char> letters[] = {
        {type_bool, 'd'},   {type_int8, 'd'},  {type_uint8, 'u'},  {type_int16, 'd'},
        {type_uint16, 'u'}, {type_int32, 'd'}, {type_uint32, 'u'}, {type_int64, 'd'},
        {type_uint64, 'u'}, {type_flt32, 'g'}, {type_flt64, 'g'},  {type_cstr, 's'},
    };
    for (const auto& [type, letter] : letters) {
        Bench bench("display", {type});
        bench.typed().set_tier(1);
        EXPECT_EQ(bench.step_c(),
                  std::string("        printf(\"Blk = %") + letter + "\\n\", p_model->In0_100.port0);\n")
            << short_name(type);
    }
}

TEST(Display, PrintsInPython) {
    Bench bench("display", {type_bool});
    bench.typed().set_tier(0);
    EXPECT_EQ(bench.step_py(), "        print(\"Blk = \", self.In0_100.port0)\n");
}

}  // namespace
}  // namespace tessel::test
