#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <limits>

#include "tests/support/sanitizers.h"
#include "tests/support/slow_math.h"
#include "tests/support/walk.h"

namespace tessel::test {
namespace {

constexpr double inf = std::numeric_limits<double>::infinity();
constexpr float inf_f = std::numeric_limits<float>::infinity();

/// The output type that the common rule gives.
type_t highest_of(std::span<const value_t> in) { return std::ranges::max_element(in, {}, &value_t::type)->type; }

/// in0 op in1, or in0 op (in1 op in2).
walk_t folded(const char* class_name, char op, std::size_t inputs) {
    walk_t what{class_name, [op, inputs](std::span<const value_t> in, type_t output) -> std::optional<value_t> {
                    if (in.size() != inputs) return std::nullopt;
                    EXPECT_EQ(output, highest_of(in));
                    const value_t right = in.size() == 2 ? in[1] : compute_common(op, in[1], in[2]);
                    return convert_to(output, compute_common(op, in[0], right));
                }};
    what.few = inputs == 3;
    return what;
}

/// Whether an integer division of these, in their common type, ends the process.
bool faults(const value_t& a, const value_t& b) {
    const int128 lowest = -(int128{1} << (size_of(a.type) * 8 - 1));
    return integer_of(a) == lowest && integer_of(b) == -1;
}

std::optional<value_t> divided(std::span<const value_t> in, type_t output) {
    const type_t type = common_type(in[0].type, in[1].type);
    const value_t a = convert_to(type, in[0]), b = convert_to(type, in[1]);
    if (is_float(type)) return convert_to(output, compute('/', a, b));
    if (b.bits == 0) return value_t{output, 0};
    if (faults(a, b)) return std::nullopt;
    return convert_to(output, compute('/', a, b));
}

std::optional<value_t> remainder(std::span<const value_t> in, type_t output) {
    const type_t type = common_type(in[0].type, in[1].type);
    const value_t a = convert_to(type, in[0]), b = convert_to(type, in[1]);
    if (is_float(type)) {
        // exact in both types, so that the one in double serves for both
        const double y = std::fmod(convert_to(type_flt64, a).as<double>(), convert_to(type_flt64, b).as<double>());
        return convert_to(type, value(y));
    }
    if (b.bits == 0) return value_t{output, 0};
    if (faults(a, b)) return std::nullopt;
    const value_t rest = integer_as(integer_of(a) % integer_of(b), type);
    return convert_to(output, convert_to(type_flt64, rest));
}

std::optional<value_t> power(std::span<const value_t> in, type_t output) {
    if (output == type_flt32) return value(::powf(in[0].as<float>(), in[1].as<float>()));
    const double y = ::pow(convert_to(type_flt64, in[0]).as<double>(), convert_to(type_flt64, in[1]).as<double>());
    return convert_to(output, value(y));
}

// ---- all combinations
TEST(Add, EveryCombinationOfTwo) { walk(folded("add", '+', 2)); }
TEST(Add, EveryCombinationOfThree) { walk(folded("add", '+', 3)); }
TEST(Subtract, EveryCombinationOfTwo) { walk(folded("subtract", '-', 2)); }
TEST(Subtract, EveryCombinationOfThree) { walk(folded("subtract", '-', 3)); }
TEST(Multiply, EveryCombinationOfTwo) { walk(folded("multiply", '*', 2)); }
TEST(Multiply, EveryCombinationOfThree) { walk(folded("multiply", '*', 3)); }
TEST(Divide, EveryCombination) { walk({"divide", divided}); }
TEST(Mod, EveryCombination) { walk({"mod", remainder}); }
TEST(Pow, EveryCombination) { walk({"pow", power}); }

TEST(Arithmetic, NumberOfCombinations) {
    for (const char* name : {"add", "subtract", "multiply"}) {
        const auto rows = accepted(name);
        EXPECT_EQ(std::ranges::count(rows, 2, &signature_t::inputs), 121) << name;
        EXPECT_EQ(std::ranges::count(rows, 3, &signature_t::inputs), 1331) << name;
        EXPECT_EQ(rows.size(), 1452u) << name;
    }
    EXPECT_EQ(accepted("divide").size(), 121u);
    EXPECT_EQ(accepted("mod").size(), 100u);
    EXPECT_EQ(accepted("pow").size(), 11u);
    for (const signature_t& row : accepted("mod"))
        for (const type_t type : input_types(row)) EXPECT_NE(type, type_bool);
}

// ---- results told one by one
TEST(Add, NarrowIntegersWrap) {
    EXPECT_EQ((run_once<std::int8_t>("add", std::int8_t{100}, std::int8_t{100})), -56);
    EXPECT_EQ((run_once<std::uint8_t>("add", std::uint8_t{200}, std::uint8_t{100})), 44);
    EXPECT_EQ((run_once<std::int8_t>("add", std::int8_t{127}, true)), -128);
    EXPECT_EQ((run_once<std::int32_t>("add", std::numeric_limits<std::int32_t>::max(), std::int32_t{1})),
              std::numeric_limits<std::int32_t>::min());
}

TEST(Arithmetic, BoolIsWhetherTheResultDiffersFromZero) {
    EXPECT_TRUE((run_once<bool>("add", true, true)));
    EXPECT_FALSE((run_once<bool>("subtract", true, true)));
    EXPECT_TRUE((run_once<bool>("subtract", true, false)));
    EXPECT_TRUE((run_once<bool>("subtract", false, true)));
    EXPECT_TRUE((run_once<bool>("subtract", true, false, true)));  // 1 - (0 - 1) is 2
    EXPECT_FALSE((run_once<bool>("divide", true, false)));
}

TEST(Add, IntegerMeetsFloatInTheFloatsType) {
    EXPECT_EQ((run_once<float>("add", std::uint64_t{0xFFFFFF8000000001u}, 0.0f)), 18446744073709551616.0f);
    EXPECT_EQ((run_once<double>("add", 0.5f, 0.1)), 0.5 + 0.1);
}

TEST(Add, InnerPairKeepsItsOwnType) {
    EXPECT_EQ((run_once<float>("add", 1.0f, std::uint32_t{4294967295u}, std::int32_t{2})), 2.0f);
    EXPECT_EQ((run_once<float>("add", 0.0f, std::int8_t{100}, std::int8_t{100})), 200.0f);
    EXPECT_EQ((run_once<double>("add", 0.0, 16777216.0f, 1.0f)), 16777216.0);
    EXPECT_EQ((run_once<double>("add", 1.0, 1e-16, 1e-16)), 1.0 + (1e-16 + 1e-16));
}

TEST(Subtract, ThreeInputsFoldFromTheRight) {
    EXPECT_EQ((run_once<double>("subtract", 10.0, 3.0, 2.0)), 9.0);
    EXPECT_EQ((run_once<std::int32_t>("subtract", 10, 3, 2)), 9);
}

TEST(Multiply, WrapsInTheUnsignedType) {
    EXPECT_EQ((run_once<std::uint32_t>("multiply", std::uint32_t{0x80000001u}, std::int32_t{-2})), 0xFFFFFFFEu);
    EXPECT_EQ((run_once<std::uint16_t>("multiply", std::uint16_t{65535}, std::uint16_t{65535})), 1);
}

TEST(Divide, ByZero) {
    EXPECT_EQ((run_once<std::int32_t>("divide", std::int32_t{7}, std::int32_t{0})), 0);
    EXPECT_EQ((run_once<double>("divide", 7.0, 0.0)), inf);
    EXPECT_TRUE(std::isnan(run_once<double>("divide", 0.0, 0.0)));
    EXPECT_EQ((run_once<float>("divide", std::int32_t{1}, 0.0f)), inf_f);
    EXPECT_EQ((run_once<float>("divide", 1.0f, std::int32_t{0})), inf_f);
}

TEST(Divide, IntegersTruncate) {
    EXPECT_EQ((run_once<std::int32_t>("divide", std::int32_t{-7}, std::int32_t{2})), -3);
    EXPECT_EQ((run_once<std::int8_t>("divide", std::int8_t{-128}, std::int8_t{-1})), -128);
    EXPECT_EQ((run_once<std::int16_t>("divide", std::int16_t{-32768}, std::int16_t{-1})), -32768);
}

TEST(Mod, SignOfTheDividend) {
    EXPECT_EQ((run_once<std::int32_t>("mod", std::int32_t{-7}, std::int32_t{2})), -1);
    EXPECT_EQ((run_once<double>("mod", -7.0, 2.0)), -1.0);
    EXPECT_EQ((run_once<float>("mod", std::int8_t{-7}, 2.5f)), -2.0f);
}

TEST(Mod, ByZero) {
    EXPECT_EQ((run_once<std::uint32_t>("mod", std::uint32_t{7}, std::uint32_t{0})), 0u);
    EXPECT_TRUE(std::isnan(run_once<double>("mod", 7.0, 0.0)));
}

TEST(Mod, RemaindersAreRoundedToADouble) {
    EXPECT_EQ((run_once<std::uint64_t>("mod", ~std::uint64_t{0}, ~std::uint64_t{1})), 1u);
    const std::uint64_t large = (std::uint64_t{1} << 60) + 1;
    EXPECT_EQ((run_once<std::uint64_t>("mod", large, std::uint64_t{1} << 63)), large - 1);
    EXPECT_EQ((run_once<std::uint64_t>("mod", ~std::uint64_t{1}, ~std::uint64_t{0})), 0x8000000000000000u);
}

TEST(Pow, OneTypeThroughout) {
    EXPECT_EQ((run_once<std::uint16_t>("pow", std::uint16_t{2}, std::uint16_t{40})), 0);
    EXPECT_EQ((run_once<std::int32_t>("pow", std::int32_t{-3}, std::int32_t{3})), -27);
    EXPECT_EQ((run_once<std::int32_t>("pow", std::int32_t{2}, std::int32_t{-1})), 0);
    EXPECT_TRUE((run_once<bool>("pow", true, false)));
    EXPECT_TRUE((run_once<bool>("pow", false, false)));
    EXPECT_FALSE((run_once<bool>("pow", false, true)));
}

// ---- the divide fault
template <class T>
void divide_lowest(const char* class_name) {
    run_once<T>(class_name, std::numeric_limits<T>::min(), T{-1});
}

TEST(DivideDeathTest, LowestByMinusOneIsTheProcessorsFault) {
    for (const char* name : {"divide", "mod"}) {
        if (address_sanitizer) {  // its runtime, or that of undefined behaviour, is first and tells
            const char* told = "cannot be represented|FPE";
            EXPECT_DEATH(divide_lowest<std::int32_t>(name), told) << name;
            EXPECT_DEATH(divide_lowest<std::int64_t>(name), told) << name;
            continue;
        }
        EXPECT_EXIT(divide_lowest<std::int32_t>(name), testing::KilledBySignal(SIGFPE), "") << name;
        EXPECT_EXIT(divide_lowest<std::int64_t>(name), testing::KilledBySignal(SIGFPE), "") << name;
    }
}

// ---- type rules
TEST(Arithmetic, OutputHasTheHighestType) {
    EXPECT_EQ(Bench("add", {type_bool, type_int8}).typed().output_type(), type_int8);
    EXPECT_EQ(Bench("subtract", {type_uint8, type_int16}).typed().output_type(), type_int16);
    EXPECT_EQ(Bench("multiply", {type_int8, type_uint16, type_flt32}).typed().output_type(), type_flt32);
    EXPECT_EQ(Bench("divide", {type_uint64, type_int64}).typed().output_type(), type_uint64);
}

TEST(Arithmetic, OutputWaitsForAllInputs) {
    Bench bench("add", {type_flt64, type_unknown});
    EXPECT_EQ(bench.typed().output_type(), type_unknown);
    bench.source(1).output(1)->set_type(type_int8);
    EXPECT_EQ(bench.typed().output_type(), type_flt64);
    EXPECT_EQ(bench.input_type(1), type_int8);
}

TEST(Mod, BoolPortsBecomeUint8) {
    Bench bench("mod", {type_bool, type_bool});
    bench.typed();
    EXPECT_EQ(bench.input_type(0), type_uint8);
    EXPECT_EQ(bench.input_type(1), type_uint8);
    EXPECT_EQ(bench.output_type(), type_uint8);

    Runnable run(bench);
    auto on = make_feed(type_bool);
    Runnable::write(on->output(0), value(true));
    run->input(0)->connect(*on, 0);
    run.set(1, value(std::uint8_t{2}));
    EXPECT_EQ(run.step().out<std::uint8_t>(), 1);
}

// The output is typed before the bool becomes uint8.
TEST(Mod, BoolAndInt8DoNotRun) {
    Bench bench("mod", {type_bool, type_int8});
    bench.typed();
    EXPECT_EQ(bench.input_type(0), type_uint8);
    EXPECT_EQ(bench.output_type(), type_int8);
    EXPECT_FALSE(Runnable(bench));
}

TEST(Arithmetic, CombinationsThatDoNotRun) {
    EXPECT_FALSE(Runnable(Bench("pow", {type_flt64, type_int32}).typed()));
    EXPECT_FALSE(Runnable(Bench("add", {type_flt64}).typed()));
    EXPECT_FALSE(Runnable(Bench("add", {type_flt64, type_flt64, type_flt64, type_flt64}).typed()));
    EXPECT_FALSE(Runnable(Bench("multiply", {}).forced({type_flt64})));
    EXPECT_FALSE(Runnable(Bench("divide", {type_int8, type_int8, type_int8}).typed()));
    EXPECT_FALSE(Runnable(Bench("add", {type_int8, type_int8}).forced({type_int8, type_int8, type_flt64})));
    EXPECT_FALSE(Runnable(Bench("add", {type_cstr, type_int8}).typed()));
}

// ---- generated text
TEST(Arithmetic, StepInC) {
    const std::pair<const char*, const char*> operators[] = {
        {"add", " +"}, {"subtract", " /"}, {"multiply", " *"}, {"divide", " /"}};
    for (const auto& [name, op] : operators) {
        Bench bench(name, {type_flt64, type_int8});
        bench.typed();
        EXPECT_EQ(bench.step_c(), std::string("    p_model->Blk_42.port0 = \n"
                                              "        p_model->In0_100.port0") +
                                      op +
                                      "\n"
                                      "        p_model->In1_101.port1;\n");
        EXPECT_EQ(bench.code_result(), result_ok);
    }
}

TEST(Arithmetic, StepInPython) {
    const std::pair<const char*, const char*> operators[] = {
        {"add", " +"}, {"subtract", " -"}, {"multiply", " *"}, {"divide", " /"}};
    for (const auto& [name, op] : operators) {
        Bench bench(name, {type_flt64, type_int8});
        bench.typed();
        EXPECT_EQ(bench.step_py(),
                  std::string("        self.Blk_42.port0 = self.In0_100.port0") + op + "self.In1_101.port1\n");
        EXPECT_EQ(bench.code_result(), result_ok);
    }
}

TEST(Add, FourTermsAreWrittenOnADeeperLevel) {
    Bench bench("add", {type_int32, type_int32, type_int32, type_int32});
    bench.typed().set_tier(1);
    EXPECT_EQ(bench.step_c(),
              "        p_model->Blk_42.port0 = \n"
              "            p_model->In0_100.port0 +\n"
              "            p_model->In1_101.port1 +\n"
              "            p_model->In2_102.port2 +\n"
              "            p_model->In3_103.port3;\n");
    EXPECT_EQ(bench.step_py(),
              "            self.Blk_42.port0 = self.In0_100.port0 +self.In1_101.port1 +self.In2_102.port2 "
              "+self.In3_103.port3\n");
}

TEST(Add, WithoutInputsTheLeftSideAlone) {
    Bench bench("add", {});
    EXPECT_EQ(bench.step_c(), "    p_model->Blk_42.port0 = \n");
    EXPECT_EQ(bench.step_py(), "        self.Blk_42.port0 = ");
}

TEST(Subtract, ThreeTerms) {
    Bench bench("subtract", {type_flt64, type_flt64, type_flt64});
    bench.typed();
    EXPECT_EQ(bench.step_c(),
              "    p_model->Blk_42.port0 = \n"
              "        p_model->In0_100.port0 /\n"
              "        p_model->In1_101.port1 /\n"
              "        p_model->In2_102.port2;\n");
    EXPECT_EQ(bench.step_py(),
              "        self.Blk_42.port0 = self.In0_100.port0 -self.In1_101.port1 -self.In2_102.port2\n");
}

TEST(Mod, TextFollowsTheOutputType) {
    Bench single("mod", {type_flt32, type_int8});
    single.typed().set_tier(1);
    EXPECT_EQ(single.step_c(),
              "        p_model->Blk_42.port0 = fmodf(p_model->In0_100.port0, p_model->In1_101.port1);\n");
    EXPECT_EQ(single.step_py(), "            self.Blk_42.port0 = math.fmod(self.In0_100.port0, self.In1_101.port1)\n");

    Bench twice("mod", {type_int8, type_flt64});
    EXPECT_EQ(twice.typed().step_c(),
              "    p_model->Blk_42.port0 = fmod(p_model->In0_100.port0, p_model->In1_101.port1);\n");

    Bench whole("mod", {type_bool, type_bool});
    EXPECT_EQ(whole.typed().step_c(), "    p_model->Blk_42.port0 = p_model->In0_100.port0 % p_model->In1_101.port1;\n");
    EXPECT_EQ(whole.code_result(), result_ok);
    EXPECT_EQ(whole.step_py(), "        self.Blk_42.port0 = math.fmod(self.In0_100.port0, self.In1_101.port1)\n");
    EXPECT_EQ(whole.code_result(), result_ok);
    EXPECT_EQ(whole.struct_c(), "typedef struct\n{\n    unsigned char port0;\n} mod_uint8_t;\n\n");
}

TEST(Pow, GeneratedText) {
    Bench bench("pow", {type_flt64, type_flt64});
    bench.typed().set_tier(1);
    EXPECT_EQ(bench.step_c(),
              "        p_model->Blk_42.port0 = std::pow(p_model->In0_100.port0, p_model->In1_101.port1);\n");
    EXPECT_EQ(bench.code_result(), result_ok);
    EXPECT_EQ(bench.step_py(), "            self.Blk_42.port0 = math.pow(self.In0_100.port0, self.In1_101.port1)\n");
    EXPECT_EQ(bench.code_result(), result_ok);
}

TEST(Arithmetic, StructAndInitAreTheCommonOnes) {
    for (const std::string name : {"add", "subtract", "multiply", "divide", "mod", "pow"}) {
        Bench bench(name.c_str(), {type_flt64, type_flt64});
        bench.typed();
        EXPECT_EQ(bench.struct_c(), "typedef struct\n{\n    double port0;\n} " + name + "_flt64_t;\n\n");
        EXPECT_EQ(bench.struct_py(), "class " + name + "_t():\n    def __init__(self):\n        self.port0 = 0\n\n");
        EXPECT_EQ(bench.init_c(), "    // no initialization is required\n");
        EXPECT_EQ(bench.init_py(), "        # no initialization is required\n");
    }
}

}  // namespace
}  // namespace tessel::test
