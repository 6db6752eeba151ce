#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>

#include "tests/support/block_test.h"
#include "tests/support/scripted_bridge.h"
#include "tests/support/slow_math.h"
#include "tests/support/walk.h"

namespace tessel::test {
namespace {

const double nan = std::numeric_limits<double>::quiet_NaN();
const double inf = std::numeric_limits<double>::infinity();

value_t op(char c, const value_t& a, const value_t& b) { return compute(c, a, b); }

// ---- lut1d
Bench lut1d(const char* bp, const char* out, type_t source = type_flt64) {
    Bench bench("lut1d", {source});
    bench.set_param("bp1", bp);
    bench.set_param("out", out);
    return bench;
}

double looked_up(Bench& bench, double u) {
    Runnable run(bench);
    return run.put(u).step().out<double>();
}

TEST(Lut1d, InterpolatesAndClips) {
    Bench bench = lut1d("[0.0, 1.0, 3.0]", "[10.0, 20.0, -20.0]");
    bench.typed();
    for (const auto& [u, y] : {std::pair(0.0, 10.0),
                               {0.25, 12.5},
                               {1.0, 20.0},
                               {2.0, 0.0},
                               {3.0, -20.0},
                               {-5.0, 10.0},
                               {99.0, -20.0},
                               {-inf, 10.0},
                               {inf, -20.0}})
        EXPECT_EQ(looked_up(bench, u), y) << u;
    EXPECT_TRUE(std::isnan(looked_up(bench, nan)));
}

TEST(Lut1d, InterpolatesOverAllTypes) {
    const std::vector<double> bp{-100.0, 0.0, 0.1, 2.0, 70000.0}, out{-7.5, 1.0, 300.7, -40.0, 3e10};
    walk_t what{"lut1d", {}};
    what.prepare = [](Bench& bench, const signature_t& row) {
        bench.set_param("bp1", "[-100.0, 0.0, 0.1, 2.0, 70000.0]");
        bench.set_param("out", "[-7.5, 1.0, 300.7, -40.0, 3e10]");
        bench.typed().forced_as(row);
    };
    what.expected = [&](std::span<const value_t> u, type_t type) {
        const value_t x = convert_to(type_flt64, u[0]);
        if (is_nan(x)) return convert_to(type, x);
        if (!less(value(bp.front()), x)) return convert_to(type, value(out.front()));
        if (!less(x, value(bp.back()))) return convert_to(type, value(out.back()));
        std::size_t i = 0;
        while (!less(x, value(bp[i]))) ++i;
        const value_t share = op('/', op('-', x, value(bp[i - 1])), op('-', value(bp[i]), value(bp[i - 1])));
        const value_t rise = op('*', share, op('-', value(out[i]), value(out[i - 1])));
        return convert_to(type, op('+', rise, value(out[i - 1])));
    };
    walk(what);
}

TEST(Lut1d, OfOnePointIsConstant) {
    Bench bench = lut1d("[5.0]", "[7.0]");
    bench.typed();
    for (const double u : {-1.0, 5.0, 9.0}) EXPECT_EQ(looked_up(bench, u), 7.0);
    EXPECT_TRUE(std::isnan(looked_up(bench, nan)));
}

TEST(Lut1d, MismatchedLengthsFail) {
    Bench bench = lut1d("[0.0, 1.0]", "[0.0, 1.0, 2.0]");
    EXPECT_EQ(bench.block().calculate_type(), result_table_mismatch);
    EXPECT_TRUE(bench.block().failed());
    EXPECT_EQ(bench.output_type(), type_unknown);
    bench.set_param("bp1", "[0.0, 1.0, 2.0]");
    EXPECT_EQ(bench.block().calculate_type(), result_ok);
    EXPECT_FALSE(bench.block().failed());
}

TEST(Lut1d, IsTypedByItsFirstTableValue) {
    Bench whole = lut1d("[0.0, 1.5]", "[10, 20.0]");
    whole.typed();
    EXPECT_EQ(whole.input_type(0), type_int32);
    EXPECT_EQ(whole.output_type(), type_int32);
    Runnable run(whole);
    EXPECT_EQ(run.put(std::int32_t{1}).step().out<std::int32_t>(), 16);

    Bench real = lut1d("[0, 1]", "[10.0, 20]", type_int8);
    real.typed();
    EXPECT_EQ(real.input_type(0), type_flt64);
    EXPECT_EQ(real.output_type(), type_flt64);
}

TEST(Lut1d, IsTypedFlt64WhenTheTableIsThereAlready) {
    Bench bench = lut1d("[0, 1]", "[10, 20]");
    bench.typed();
    bench.forced({type_unknown, type_unknown});
    bench.typed();
    EXPECT_EQ(bench.input_type(0), type_flt64);
    EXPECT_EQ(bench.output_type(), type_flt64);
}

TEST(Lut1d, KeepsTypesThatStand) {
    Bench bench = lut1d("[0, 1]", "[10, 20]");
    bench.forced({type_uint8, type_uint8});
    bench.typed();
    EXPECT_EQ(bench.output_type(), type_uint8);
    Runnable run(bench);
    EXPECT_EQ(run.put(std::uint8_t{1}).step().out<std::uint8_t>(), 20);
}

// A bridge that answers empty lists without a failure still leaves a block that can be stepped.
TEST(Lut1d, WithoutPointsIsZero) {
    ScriptedBridge bridge;
    bridge.lists["[]"] = {result_ok, {}};
    Bench bench = lut1d("[]", "[]");
    bench.typed();
    EXPECT_EQ(bench.output_type(), type_flt64);
    EXPECT_EQ(looked_up(bench, 3.0), 0.0);
    EXPECT_EQ(bench.init_c(), "");
}

TEST(Lut1d, ReadsOnlyPointsThatBothListsHave) {
    ScriptedBridge bridge;
    python::var_array_t two, three;
    two.values = {var_t(0.0), var_t(1.0)};
    three.values = {var_t(5.0), var_t(6.0), var_t(7.0)};
    bridge.lists["two"] = {result_ok, two};
    bridge.lists["three"] = {result_ok, three};
    Bench bench = lut1d("two", "three");
    bench.typed();
    EXPECT_EQ(looked_up(bench, 9.0), 6.0);
}

// Equal tables lie in memory once, as long as somebody uses them.
TEST(Lut1d, HasItsOwnTableBesideOthers) {
    Bench one = lut1d("[0.0, 1.0]", "[0.0, 2.0]"), same = lut1d("[0.0, 1.0]", "[0.0, 2.0]");
    Bench other_points = lut1d("[0.0, 2.0]", "[0.0, 2.0]"), other_values = lut1d("[0.0, 1.0]", "[0.0, 3.0]");
    Bench longer = lut1d("[0.0, 1.0, 2.0]", "[0.0, 2.0, 4.0]"), negative_zero = lut1d("[0.0, 1.0]", "[-0.0, 2.0]");
    for (Bench* bench : {&one, &same, &other_points, &other_values, &longer, &negative_zero}) bench->typed();
    auto first = std::make_unique<Runnable>(one);
    Runnable second(same);
    EXPECT_EQ(first->put(0.5).step().out<double>(), 1.0);
    first.reset();
    EXPECT_EQ(second.put(0.5).step().out<double>(), 1.0);
    EXPECT_EQ(looked_up(other_points, 0.5), 0.5);
    EXPECT_EQ(looked_up(other_values, 0.5), 1.5);
    EXPECT_EQ(looked_up(same, 2.0), 2.0);
    EXPECT_EQ(looked_up(longer, 2.0), 4.0);
    EXPECT_EQ(looked_up(one, 2.0), 2.0);
    EXPECT_FALSE(std::signbit(looked_up(one, -1.0)));
    EXPECT_TRUE(std::signbit(looked_up(negative_zero, -1.0)));
}

TEST(Lut1d, Texts) {
    Bench bench = lut1d("[0.0, 1.5]", "[1e6, -2]");
    bench.set_tier(1);
    bench.typed();
    EXPECT_EQ(bench.struct_c(),
              "typedef struct\n"
              "{\n"
              "    double port0;\n"
              "    double bp[2];\n"
              "    double out[2];\n"
              "} lut1d_flt64_t;\n"
              "\n");
    EXPECT_EQ(bench.struct_py(),
              "class lut1d_t:\n"
              "    def __init__(self):\n"
              "        self.port0 = 0\n"
              "        self.bp = [0.0, 1.5]\n"
              "        self.out = [1e6, -2]\n"
              "\n");
    EXPECT_EQ(bench.init_c(),
              "    p_model->Blk_42.bp[0] = 0;\n"
              "    p_model->Blk_42.out[0] = 1e+06;\n"
              "    p_model->Blk_42.bp[1] = 1.5;\n"
              "    p_model->Blk_42.out[1] = -2;\n");
    EXPECT_EQ(bench.init_py(),
              "        self.Blk_42.bp = [0.0, 1.5]\n"
              "        self.Blk_42.out = [1e6, -2]\n");
    EXPECT_EQ(bench.step_c(),
              "        p_model->Blk_42.port0 = (double) interpolate1d(p_model->In0_100.port0, p_model->Blk_42.bp, "
              "p_model->Blk_42.out, 2);\n");
    EXPECT_EQ(bench.step_py(),
              "            self.Blk_42.port0 = coder.interpolate1d(self.In0_100.port0, self.Blk_42.bp, "
              "self.Blk_42.out)\n");
}

TEST(Lut1d, TextsNameTheTypeOfTheOutput) {
    Bench bench = lut1d("[0]", "[1]");
    bench.typed();
    EXPECT_EQ(bench.struct_c(),
              "typedef struct\n{\n    int port0;\n    double bp[1];\n    double out[1];\n} lut1d_int32_t;\n\n");
    EXPECT_EQ(bench.step_c(),
              "    p_model->Blk_42.port0 = (int) interpolate1d(p_model->In0_100.port0, p_model->Blk_42.bp, "
              "p_model->Blk_42.out, 1);\n");
}

// ---- lut2d
Bench lut2d(const char* bp1, const char* bp2, const char* out) {
    Bench bench("lut2d", {type_flt64, type_flt64});
    bench.set_param("bp1", bp1);
    bench.set_param("bp2", bp2);
    bench.set_param("out", out);
    return bench;
}

double looked_up(Bench& bench, double u0, double u1) {
    Runnable run(bench);
    return run.put(u0, u1).step().out<double>();
}

TEST(Lut2d, InterpolatesAndClips) {
    Bench bench = lut2d("[0.0, 2.0]", "[0.0, 1.0, 3.0]", "[[0.0, 10.0, 20.0],[100.0, 110.0, 140.0]]");
    bench.typed();
    struct case_t {
        double u0, u1, y;
    };
    for (const auto& [u0, u1, y] : {case_t{0.0, 0.0, 0.0},
                                    {2.0, 3.0, 140.0},
                                    {0.0, 2.0, 15.0},
                                    {2.0, 2.0, 125.0},
                                    {1.0, 0.0, 50.0},
                                    {1.0, 2.0, 70.0},
                                    {0.5, 0.5, 30.0},
                                    {-9.0, 2.0, 15.0},
                                    {9.0, 9.0, 140.0},
                                    {inf, -inf, 100.0}})
        EXPECT_EQ(looked_up(bench, u0, u1), y) << u0 << ", " << u1;
    EXPECT_TRUE(std::isnan(looked_up(bench, nan, 0.0)));
    EXPECT_TRUE(std::isnan(looked_up(bench, 0.0, nan)));
}

/// Clipped bilinear interpolation, one operation after the other.
value_t bilinear(const std::vector<double>& bp1, const std::vector<double>& bp2, const std::vector<double>& out,
                 value_t x1, value_t x2) {
    struct axis_t {
        std::size_t first, second;
        value_t weight;
    };
    const auto bracket = [](const std::vector<double>& bp, value_t x) {
        if (less(x, value(bp.front()))) x = value(bp.front());
        if (less(value(bp.back()), x)) x = value(bp.back());
        std::size_t i = 1;
        while (i + 1 < bp.size() && !less(x, value(bp[i]))) ++i;
        return axis_t{i - 1, i, op('/', op('-', x, value(bp[i - 1])), op('-', value(bp[i]), value(bp[i - 1])))};
    };
    const axis_t a = bracket(bp1, x1), b = bracket(bp2, x2);
    const auto cell = [&](std::size_t r, std::size_t c) { return value(out[r * bp2.size() + c]); };
    const auto mix = [](const value_t& w, const value_t& lower, const value_t& upper) {
        return op('+', op('*', op('-', value(1.0), w), lower), op('*', w, upper));
    };
    return mix(a.weight, mix(b.weight, cell(a.first, b.first), cell(a.first, b.second)),
               mix(b.weight, cell(a.second, b.first), cell(a.second, b.second)));
}

TEST(Lut2d, InterpolatesOverAllTypes) {
    const std::vector<double> bp1{-2.5, 0.0, 0.3}, bp2{0.0, 1.0, 7.0, 70000.0},
        out{1, 2, 3, 4.5, -5, 6.25, 7, 800, 9e9, 10, -11.75, 12};
    walk_t what{"lut2d", {}};
    what.prepare = [](Bench& bench, const signature_t& row) {
        bench.set_param("bp1", "[-2.5, 0.0, 0.3]");
        bench.set_param("bp2", "[0.0, 1.0, 7.0, 70000.0]");
        bench.set_param("out", "[[1, 2, 3, 4.5], [-5, 6.25, 7, 800], [9e9, 10, -11.75, 12]]");
        bench.typed().forced_as(row);
    };
    what.expected = [&](std::span<const value_t> u, type_t type) {
        const value_t x1 = convert_to(type_flt64, u[0]), x2 = convert_to(type_flt64, u[1]);
        if (is_nan(x1)) return convert_to(type, x1);
        if (is_nan(x2)) return convert_to(type, x2);
        return convert_to(type, bilinear(bp1, bp2, out, x1, x2));
    };
    what.few = true;
    ASSERT_EQ(accepted("lut2d").size(), 121u);
    walk(what);
}

TEST(Lut2d, OfOneBreakpointIsConstantAlongThatAxis) {
    Bench column = lut2d("[0.0, 2.0]", "[5.0]", "[[10.0],[20.0]]");
    column.typed();
    Bench row = lut2d("[5.0]", "[0.0, 2.0]", "[[10.0, 20.0]]");
    row.typed();
    Bench point = lut2d("[5.0]", "[5.0]", "[[10.0]]");
    point.typed();
    for (const double u : {-9.0, 5.0, 5.5, 1e300, inf}) {
        EXPECT_EQ(looked_up(column, 1.0, u), 15.0) << u;
        EXPECT_EQ(looked_up(row, u, 1.0), 15.0) << u;
        EXPECT_EQ(looked_up(point, u, -u), 10.0) << u;
    }
    EXPECT_TRUE(std::isnan(looked_up(point, nan, 0.0)));
}

// A flat list is one column.
TEST(Lut2d, TakesAFlatTableForOneColumn) {
    Bench bench = lut2d("[0.0, 2.0]", "[5.0]", "[10.0, 20.0]");
    bench.typed();
    EXPECT_EQ(looked_up(bench, 0.5, 0.0), 12.5);
}

TEST(Lut2d, IsAllFlt64WhateverItsTableHolds) {
    Bench bench("lut2d", {type_int8, type_uint16});
    bench.set_param("out", "[[0, 1, 2],[3, 4, 5]]");
    bench.typed();
    EXPECT_EQ(bench.input_type(0), type_flt64);
    EXPECT_EQ(bench.input_type(1), type_flt64);
    EXPECT_EQ(bench.output_type(), type_flt64);
}

TEST(Lut2d, WithoutPointsIsZero) {
    ScriptedBridge bridge;
    bridge.lists["[]"] = {result_ok, {}};
    Bench bench = lut2d("[]", "[]", "[]");
    bench.typed();
    EXPECT_EQ(looked_up(bench, 3.0, 4.0), 0.0);
}

TEST(Lut2d, WithFewerValuesThanItsDimensionsSayIsZero) {
    ScriptedBridge bridge;
    python::var_array_t bp, out;
    bp.values = {var_t(0.0), var_t(1.0)};
    bp.dimensions = {2, 1};
    out.values = {var_t(5.0)};
    out.dimensions = {2, 2};
    bridge.lists["bp"] = {result_ok, bp};
    bridge.lists["out"] = {result_ok, out};
    Bench bench = lut2d("bp", "bp", "out");
    bench.typed();
    EXPECT_EQ(looked_up(bench, 1.0, 1.0), 0.0);
}

TEST(Lut2d, Texts) {
    Bench bench = lut2d("[0.0, 2.0]", "[0.0, 1.0, 3.0]", "[[0.0, 10.0, 20.0],[100.0, 110.0, 1234567.0]]");
    bench.set_tier(1);
    bench.typed();
    EXPECT_EQ(bench.struct_c(),
              "typedef struct\n"
              "{\n"
              "    double port0;\n"
              "    double bp1[2];\n"
              "    double bp2[3];\n"
              "    double out[6];\n"
              "} lut2d_flt64_t;\n"
              "\n");
    EXPECT_EQ(bench.struct_py(),
              "class lut2d_t:\n"
              "    def __init__(self):\n"
              "        self.port0 = 0\n"
              "        self.bp1 = [0.0, 2.0]\n"
              "        self.bp2 = [0.0, 1.0, 3.0]\n"
              "        self.out = [[0.0, 10.0, 20.0],[100.0, 110.0, 1234567.0]]\n"
              "\n");
    EXPECT_EQ(bench.init_c(),
              "    p_model->Blk_42.bp1[0] = 0;\n"
              "    p_model->Blk_42.bp1[1] = 2;\n"
              "    p_model->Blk_42.bp2[0] = 0;\n"
              "    p_model->Blk_42.bp2[1] = 1;\n"
              "    p_model->Blk_42.bp2[2] = 3;\n"
              "    p_model->Blk_42.out[0] = 0;\n"
              "    p_model->Blk_42.out[1] = 10;\n"
              "    p_model->Blk_42.out[2] = 20;\n"
              "    p_model->Blk_42.out[3] = 100;\n"
              "    p_model->Blk_42.out[4] = 110;\n"
              "    p_model->Blk_42.out[5] = 1.23457e+06;\n");
    EXPECT_EQ(bench.init_py(),
              "        self.Blk_42.bp1 = [0.0, 2.0]\n"
              "        self.Blk_42.bp2 = [0.0, 1.0, 3.0]\n"
              "        self.Blk_42.out = [[0.0, 10.0, 20.0],[100.0, 110.0, 1234567.0]]\n");
    EXPECT_EQ(bench.step_c(),
              "        p_model->Blk_42.port0 = (double) interpolate2d(p_model->In0_100.port0, p_model->In1_101.port1, "
              "p_model->Blk_42.bp1, p_model->Blk_42.bp2, p_model->Blk_42.out, 2, 3);\n");
    EXPECT_EQ(bench.step_py(),
              "            self.Blk_42.port0 = coder.interpolate2d(self.In0_100.port0, self.In1_101.port1, "
              "self.Blk_42.bp1, self.Blk_42.bp2, self.Blk_42.out)\n");
}

}  // namespace
}  // namespace tessel::test
