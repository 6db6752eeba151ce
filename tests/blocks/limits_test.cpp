#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "tests/support/slow_math.h"
#include "tests/support/walk.h"

namespace tessel::test {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

struct start_t {
    type_t type;
    std::uint64_t min, max;  ///< bits that the output starts with
    const char *min_c, *max_c;
};
constexpr start_t starts[] = {
    {type_bool, 1, 0, "true", "true"},
    {type_int8, 0x7F, 0x80, "0x7F", "0x80"},
    {type_uint8, 0xFF, 0, "0xFF", "0"},
    {type_int16, 0x7FFF, 0x8000, "0x7FFF", "0x8000"},
    {type_uint16, 0xFFFF, 0, "0xFFFF", "0"},
    {type_int32, 0x7FFFFFFF, 0x80000000, "0x7FFFFFFF", "0x80000000"},
    {type_uint32, 0xFFFFFFFF, 0, "0xFFFFFFFF", "0"},
    {type_int64, 0x7FFFFFFFFFFFFFFF, 0x8000000000000000, "0x7FFFFFFFFFFFFFFF", "0x8000000000000000"},
    {type_uint64, 0xFFFFFFFFFFFFFFFF, 0, "0xFFFFFFFFFFFFFFFF", "0"},
    {type_flt32, 0x7F7FFFFF, 0x00800000, "+1e30", "-1e30"},
    {type_flt64, 0x7FEFFFFFFFFFFFFF, 0x0010000000000000, "+1e300", "-1e300"},
};

// ---- min and max
TEST(Extremes, StartValues) {
    for (const start_t& start : starts) {
        Bench min("min", {start.type}), max("max", {start.type});
        EXPECT_EQ(Runnable(min.typed()).output(), (value_t{start.type, start.min}));
        EXPECT_EQ(Runnable(max.typed()).output(), (value_t{start.type, start.max}));
    }
    EXPECT_EQ(accepted("min").size(), std::size(starts));
    EXPECT_EQ(accepted("max").size(), std::size(starts));
}

TEST(Extremes, HeadOfARunResetsNothing) {
    Bench bench("min", {type_flt64});
    Runnable run(bench.typed());
    run.put(5.0).step(0.0);
    EXPECT_EQ(run.start(1.0).out<double>(), 5.0);
}

// All edge values one after another, upwards and downwards, in every type.
TEST(Extremes, OutputKeepsTheExtreme) {
    for (const start_t& start : starts)
        for (const bool max : {false, true})
            for (const bool upwards : {false, true}) {
                SCOPED_TRACE(std::string(max ? "max " : "min ") + short_name(start.type));
                Bench bench(max ? "max" : "min", {start.type});
                bench.typed();
                Runnable run(bench), lowered(bench);
                value_t expected{start.type, max ? start.max : start.min};
                auto values = edge_values(start.type);
                if (upwards) std::ranges::sort(values, less);
                for (const value_t& u : values) {
                    if (max ? less(expected, u) : less(u, expected)) expected = u;
                    ASSERT_EQ(run.set(0, u).step().output(), expected) << u;
                    ASSERT_EQ(lowered.step_lowered({u}).output(), expected) << u;
                }
            }
}

TEST(Max, NegativeFloatsLeaveTheStartValue) {
    Bench bench("max", {type_flt64});
    Runnable run(bench.typed());
    for (int i = 0; i < 3; ++i) EXPECT_EQ(run.put(-5.0).step().out<double>(), 2.2250738585072014e-308);
}

TEST(Min, FirstStepTakesTheValue) { EXPECT_EQ(run_once<double>("min", 5.0), 5.0); }

TEST(Extremes, NotANumberLeavesTheOutput) {
    for (const char* name : {"min", "max"}) {
        Bench bench(name, {type_flt64});
        Runnable run(bench.typed());
        run.put(3.0).step();
        EXPECT_EQ(run.put(nan).step().out<double>(), 3.0) << name;
    }
}

TEST(Extremes, EqualValuesLeaveTheOutput) {
    Bench min("min", {type_flt64}), max("max", {type_flt64});
    Runnable lower(min.typed()), upper(max.typed());
    EXPECT_FALSE(std::signbit(lower.put(0.0).step().put(-0.0).step().out<double>()));
    Runnable::write(upper->output(0), value(-0.0));
    EXPECT_TRUE(std::signbit(upper.put(0.0).step().out<double>()));
}

// An unfed input holds 0: below the start value of a float max, above nothing else.
TEST(Max, UnfedStaysAtTheStartValue) {
    Bench bench("max", {});
    Runnable run(bench.forced({type_flt64, type_flt64}));
    EXPECT_EQ(run.step().out<double>(), std::numeric_limits<double>::min());
    Bench whole("max", {});
    Runnable unsigned_run(whole.forced({type_uint8, type_uint8}));
    EXPECT_EQ(unsigned_run.step().out<std::uint8_t>(), 0);
}

TEST(Extremes, InitInC) {
    for (const start_t& start : starts) {
        Bench min("min", {start.type}), max("max", {start.type});
        min.typed().set_tier(3);
        max.typed().set_tier(3);
        EXPECT_EQ(min.init_c(), std::string("    p_model->Blk_42.port0 = ") + start.min_c + ";\n");
        EXPECT_EQ(min.code_result(), result_ok);
        EXPECT_EQ(max.init_c(), std::string("    p_model->Blk_42.port0 = ") + start.max_c + ";\n");
        EXPECT_EQ(max.code_result(), result_ok);
    }
    for (const char* name : {"min", "max"})
        for (const type_t type : {type_unknown, type_cstr}) {
            Bench bench(name, {type});
            EXPECT_EQ(bench.forced({type, type}).init_c(), "") << name;
            EXPECT_EQ(bench.code_result(), result_ok);
        }
}

TEST(Extremes, InitInPython) {
    for (const type_t type : {type_bool, type_uint8, type_flt64}) {
        Bench min("min", {type}), max("max", {type});
        min.typed().set_tier(3);
        max.typed().set_tier(3);
        EXPECT_EQ(min.init_py(), "        self.Blk_42.port0 = sys.maxsize\n");
        EXPECT_EQ(min.code_result(), result_ok);
        EXPECT_EQ(max.init_py(), "        self.Blk_42.port0 = -sys.maxint - 1\n");
        EXPECT_EQ(max.code_result(), result_ok);
    }
}

TEST(Extremes, StepText) {
    Bench min("min", {type_flt64}), max("max", {type_flt64});
    min.typed();
    max.typed().set_tier(1);
    EXPECT_EQ(min.step_c(),
              "    if (p_model->In0_100.port0 < p_model->Blk_42.port0) "
              "p_model->Blk_42.port0 = p_model->In0_100.port0;\n");
    EXPECT_EQ(min.code_result(), result_ok);
    EXPECT_EQ(min.step_py(),
              "        if (self.In0_100.port0 < self.Blk_42.port0) self.Blk_42.port0 = self.In0_100.port0\n");
    EXPECT_EQ(min.code_result(), result_ok);
    EXPECT_EQ(max.step_c(),
              "        if (p_model->In0_100.port0 > p_model->Blk_42.port0) "
              "p_model->Blk_42.port0 = p_model->In0_100.port0;\n");
    EXPECT_EQ(max.step_py(),
              "            if (self.In0_100.port0 > self.Blk_42.port0) self.Blk_42.port0 = self.In0_100.port0\n");
    EXPECT_EQ(min.struct_c(), "typedef struct\n{\n    double port0;\n} min_flt64_t;\n\n");
    EXPECT_EQ(min.struct_py(), "class min_t():\n    def __init__(self):\n        self.port0 = 0\n\n");
    EXPECT_EQ(max.struct_c(), "typedef struct\n{\n    double port0;\n} max_flt64_t;\n\n");
    EXPECT_EQ(max.struct_py(), "class max_t():\n    def __init__(self):\n        self.port0 = 0\n\n");
}

// ---- clamp
TEST(Clamp, EveryCombination) {
    EXPECT_EQ(accepted("clamp").size(), 506u);
    walk({"clamp",
          [](std::span<const value_t> in, type_t output) -> std::optional<value_t> {
              EXPECT_EQ(output, in[0].type);
              EXPECT_LE(in[1].type, output);
              EXPECT_LE(in[2].type, output);
              const value_t lo = convert_to(output, in[1]), hi = convert_to(output, in[2]);
              if (less(hi, in[0])) return hi;
              if (less(in[0], lo)) return lo;
              return in[0];
          },
          {},
          true});
}

TEST(Clamp, UpperBoundWins) {
    EXPECT_EQ((run_once<std::int32_t>("clamp", 5, 10, 0)), 0);
    EXPECT_EQ((run_once<std::int32_t>("clamp", -5, 10, 0)), 10);
    EXPECT_EQ((run_once<std::int32_t>("clamp", 5, 0, 10)), 5);
    EXPECT_EQ((run_once<bool>("clamp", true, false, false)), false);
    EXPECT_EQ((run_once<bool>("clamp", false, true, true)), true);
}

TEST(Clamp, NotANumber) {
    EXPECT_TRUE(std::isnan(run_once<float>("clamp", static_cast<float>(nan), 0.0f, 1.0f)));
    EXPECT_EQ((run_once<double>("clamp", 5.0, nan, nan)), 5.0);
}

TEST(Clamp, BoundsConvertToTheTypeOfTheValue) {
    EXPECT_EQ((run_once<std::uint8_t>("clamp", std::uint8_t{7}, std::int8_t{-1}, std::uint8_t{255})), 255);
    EXPECT_EQ((run_once<float>("clamp", 1e9f, std::int32_t{0}, std::int32_t{16777217})), 16777216.0f);
}

TEST(Clamp, OutputHasTheTypeOfTheValue) {
    Bench bench("clamp", {type_int32, type_flt64, type_flt64});
    EXPECT_EQ(bench.typed().output_type(), type_int32);
    EXPECT_FALSE(Runnable(bench));
    EXPECT_FALSE(Runnable(Bench("clamp", {type_int32, type_int8, type_uint32}).typed()));
    EXPECT_TRUE(Runnable(Bench("clamp", {type_flt64, type_bool, type_int64}).typed()));
}

// The output is typed with input 0 alone; the block still waits for its bounds.
TEST(Clamp, TypesWhileABoundIsMissing) {
    Bench bench("clamp", {type_int16, type_unknown, type_int8});
    EXPECT_EQ(bench.typed().output_type(), type_int16);
    EXPECT_FALSE(bench.block().has_all_types());
    Bench waiting("clamp", {type_unknown, type_int8, type_int8});
    EXPECT_EQ(waiting.typed().output_type(), type_unknown);
}

TEST(Clamp, GeneratedText) {
    Bench bench("clamp", {type_flt64, type_flt64, type_flt64});
    bench.typed().set_tier(1);
    EXPECT_EQ(bench.step_c(),
              "        p_model->Blk_42.port0 = p_model->In0_100.port0 > p_model->In2_102.port2 ? "
              "p_model->In2_102.port2 : (p_model->In0_100.port0 < p_model->In1_101.port1 ? p_model->In1_101.port1 : "
              "p_model->In0_100.port0);\n");
    EXPECT_EQ(bench.code_result(), result_ok);
    EXPECT_EQ(bench.step_py(),
              "            self.Blk_42.port0 = max(self.In1_101.port1, min(self.In0_100.port0, "
              "self.In2_102.port2))\n");
    EXPECT_EQ(bench.code_result(), result_ok);
    EXPECT_EQ(bench.init_c(), "    // no initialization is required\n");
    EXPECT_EQ(bench.init_py(), "        # no initialization is required\n");
    EXPECT_EQ(bench.struct_c(), "typedef struct\n{\n    double port0;\n} clamp_flt64_t;\n\n");
    EXPECT_EQ(bench.struct_py(), "class clamp_t():\n    def __init__(self):\n        self.port0 = 0\n\n");
}

}  // namespace
}  // namespace tessel::test
