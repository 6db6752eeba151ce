#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "tests/support/slow_math.h"
#include "tests/support/walk.h"

namespace tessel::test {
namespace {

constexpr double inf = std::numeric_limits<double>::infinity();
constexpr auto lowest_int32 = std::numeric_limits<std::int32_t>::min();

struct function_t {
    const char* name;
    double (*of_double)(double);
    float (*of_float)(float);
    const char* c;
    const char* py;
};
constexpr function_t functions[] = {
    {"abs", ::fabs, ::fabsf, "std::abs", "abs"},    {"acos", ::acos, ::acosf, "acos", "math.acos"},
    {"asin", ::asin, ::asinf, "asin", "math.asin"}, {"atan", ::atan, ::atanf, "atan", "math.atan"},
    {"cos", ::cos, ::cosf, "cos", "math.cos"},      {"log", ::log, ::logf, "log", "math.log"},
    {"sin", ::sin, ::sinf, "sin", "math.sin"},      {"sqrt", ::sqrt, ::sqrtf, "std::sqrt", "math.sqrt"},
    {"tan", ::tan, ::tanf, "tan", "math.tan"},
};

TEST(Unary, EveryCombinationComputesTheFunctionOfTheCLibrary) {
    for (const function_t& f : functions) {
        EXPECT_EQ(accepted(f.name).size(), 11u) << f.name;
        walk({f.name, [&f](std::span<const value_t> in, type_t) -> std::optional<value_t> {
                  const value_t& u = in[0];
                  if (u.type == type_flt32) return value(f.of_float(u.as<float>()));
                  const double y = f.of_double(convert_to(type_flt64, u).as<double>());
                  return convert_to(u.type, value(y));
              }});
        if (HasFailure()) return;
    }
}

TEST(Unary, OutputHasTheTypeOfTheInput) {
    for (const function_t& f : functions) {
        Bench bench(f.name, {type_uint16});
        EXPECT_EQ(bench.typed().output_type(), type_uint16) << f.name;
        EXPECT_EQ(bench.block().input_count(), 1u);
        EXPECT_EQ(bench.block().output_count(), 1u);
    }
}

TEST(Unary, IntegersAreCutBack) {
    EXPECT_EQ((run_once<std::int32_t>("acos", std::int32_t{0})), 1);
    EXPECT_EQ((run_once<std::int32_t>("acos", std::int32_t{2})), lowest_int32);
    EXPECT_EQ((run_once<std::int32_t>("sqrt", std::int32_t{-1})), lowest_int32);
    EXPECT_EQ((run_once<std::uint8_t>("log", std::uint8_t{0})), 0);
    EXPECT_EQ((run_once<std::uint8_t>("tan", std::uint8_t{1})), 1);
}

TEST(Unary, FloatsOutsideTheDomain) {
    EXPECT_TRUE(std::isnan(run_once<double>("sqrt", -1.0)));
    EXPECT_TRUE(std::isnan(run_once<double>("acos", 1.5)));
    EXPECT_TRUE(std::isnan(run_once<float>("asin", -1.5f)));
    EXPECT_TRUE(std::isnan(run_once<double>("log", -1.0)));
    EXPECT_EQ(run_once<double>("log", 0.0), -inf);
}

TEST(Unary, BoolIsWhetherTheResultDiffersFromZero) {
    EXPECT_FALSE(run_once<bool>("acos", true));
    EXPECT_TRUE(run_once<bool>("acos", false));
    EXPECT_TRUE(run_once<bool>("cos", false));
    EXPECT_FALSE(run_once<bool>("sin", false));
    EXPECT_TRUE(run_once<bool>("log", false));
    EXPECT_FALSE(run_once<bool>("log", true));
    EXPECT_TRUE(run_once<bool>("abs", true));
    EXPECT_FALSE(run_once<bool>("abs", false));
}

TEST(Unary, SignsOfZero) {
    EXPECT_FALSE(std::signbit(run_once<float>("abs", -0.0f)));
    EXPECT_EQ(run_once<float>("abs", -0.0f), 0.0f);
    EXPECT_TRUE(std::signbit(run_once<double>("sqrt", -0.0)));
}

TEST(Abs, IntegersPassThroughDouble) {
    const std::int64_t exact = std::int64_t{1} << 53;
    EXPECT_EQ((run_once<std::int64_t>("abs", exact + 1)), exact);
    EXPECT_EQ((run_once<std::int64_t>("abs", -exact - 1)), exact);
    EXPECT_EQ((run_once<std::int32_t>("abs", lowest_int32)), lowest_int32);
    EXPECT_EQ((run_once<std::uint64_t>("abs", std::uint64_t{0x8000000000000401u})), 0x8000000000000800u);
}

TEST(Unary, GeneratedText) {
    for (const function_t& f : functions) {
        Bench bench(f.name, {type_int32});
        bench.typed();
        const std::string c = f.c, py = f.py, name = f.name;
        EXPECT_EQ(bench.step_c(), "    p_model->Blk_42.port0 = " + c + "(p_model->In0_100.port0);\n");
        EXPECT_EQ(bench.code_result(), result_ok);
        EXPECT_EQ(bench.step_py(), "        self.Blk_42.port0 = " + py + "(self.In0_100.port0)\n");
        EXPECT_EQ(bench.code_result(), result_ok);
        bench.set_tier(2);
        EXPECT_EQ(bench.step_c(), "            p_model->Blk_42.port0 = " + c + "(p_model->In0_100.port0);\n");
        EXPECT_EQ(bench.step_py(), "                self.Blk_42.port0 = " + py + "(self.In0_100.port0)\n");
        EXPECT_EQ(bench.init_c(), "    // no initialization is required\n");
        EXPECT_EQ(bench.init_py(), "        # no initialization is required\n");
        EXPECT_EQ(bench.struct_c(), "typedef struct\n{\n    int port0;\n} " + name + "_int32_t;\n\n");
        EXPECT_EQ(bench.struct_py(), "class " + name + "_t():\n    def __init__(self):\n        self.port0 = 0\n\n");
    }
}

}  // namespace
}  // namespace tessel::test
