#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "core/python.h"
#include "tests/support/block_test.h"
#include "tests/support/scripted_bridge.h"
#include "tests/support/slow_math.h"

namespace tessel::test {
namespace {

using params_t = std::vector<std::pair<const char*, var_t>>;

Bench source(const char* class_name, const params_t& params = {}) {
    Bench bench(class_name, {});
    for (const auto& [key, value] : params) bench.block().param(key) = value;
    return bench;
}

/// Result of typing a source with these parameters.
result_t typing(const char* class_name, const params_t& params) {
    Bench bench = source(class_name, params);
    const result_t result = bench.block().calculate_type();
    EXPECT_EQ(bench.block().failed(), result != result_ok);
    EXPECT_EQ(bench.output_type(), result == result_ok ? type_flt64 : type_unknown);
    return result;
}

/// The outputs of the steps at `times`, after a start at the first of them.
std::vector<double> outputs_at(Runnable& run, const std::vector<double>& times) {
    std::vector<double> outputs;
    run.start(times.front());
    for (const double t : times) outputs.push_back(run.step(t).out<double>());
    return outputs;
}

// ---- all of them
TEST(Sources, RunInZoneZero) {
    for (const char* name : {"constant", "step", "sinewave", "squarewave", "random", "time"}) {
        Bench bench = source(name);
        EXPECT_EQ(bench.block().zone(), -1);
        EXPECT_EQ(bench.block().calculate_zone(), 0) << name;
        EXPECT_EQ(bench.block().zone(), 0) << name;
    }
}

TEST(Sources, AreTypedFlt64UnlessTypedBefore) {
    for (const char* name : {"constant", "step", "sinewave", "squarewave", "random", "time"}) {
        EXPECT_EQ(source(name).typed().output_type(), type_flt64) << name;
        Bench preset = source(name);
        preset.forced({type_int16});
        EXPECT_EQ(preset.typed().output_type(), type_int16) << name;
    }
}

TEST(Sources, RunInFlt64Only) {
    for (const char* name : {"step", "sinewave", "squarewave", "random", "time"}) {
        ASSERT_EQ(accepted(name).size(), 1u) << name;
        EXPECT_EQ(accepted(name)[0].key, 0x7cac354au) << name;
        for (const type_t type : {type_unknown, type_bool, type_int32, type_flt32, type_cstr}) {
            Bench bench = source(name);
            bench.typed();
            bench.forced({type});
            EXPECT_FALSE(Runnable(bench)) << name;
        }
        Runnable run(source(name).typed());
        ASSERT_TRUE(run) << name;
        EXPECT_EQ(run->id(), 42u) << name;
        EXPECT_EQ(run->input(0), run->output(0)) << name;
        EXPECT_EQ(run->input(1), nullptr) << name;
    }
}

// The lowered form, stepped next to the virtual one.
TEST(Sources, LoweredStepsGiveTheSame) {
    for (const char* name : {"constant", "step", "sinewave", "squarewave", "random", "time"}) {
        Bench bench = source(name);
        bench.typed();
        Runnable plain(bench), lowered(bench);
        plain.start(0.25);
        lowered.start(0.25);
        for (double t = 0.25; t < 9.0; t += 0.375)
            EXPECT_EQ(plain.step(t).output(), lowered.step_lowered({}, t).output()) << name << " at " << t;
    }
}

// ---- constant
TEST(Constant, TakesTheTypeOfItsValue) {
    EXPECT_EQ(source("constant", {{"expression", "True"}}).typed().output_type(), type_bool);
    EXPECT_EQ(source("constant", {{"expression", "3"}}).typed().output_type(), type_int32);
    EXPECT_EQ(source("constant", {{"expression", "3000000000"}}).typed().output_type(), type_int64);
    EXPECT_EQ(source("constant", {{"expression", "3.0"}}).typed().output_type(), type_flt64);
    EXPECT_EQ(source("constant", {{"expression", 3}}).typed().output_type(), type_int32);
    EXPECT_EQ(source("constant", {{"expression", 3.0f}}).typed().output_type(), type_flt32);
}

TEST(Constant, HasNoRunnableFormForText) {
    Bench bench = source("constant", {{"expression", "'text'"}});
    EXPECT_EQ(bench.typed().output_type(), type_cstr);
    EXPECT_FALSE(Runnable(bench));
}

// Every type of value in every type of port. bool is set through int8, as 0 or 1.
TEST(Constant, HoldsItsValueInThePortsType) {
    ASSERT_EQ(accepted("constant").size(), 11u);
    for (const signature_t& row : accepted("constant"))
        for (const signature_t& other : accepted("constant"))
            for (const value_t& v : edge_values(other.types[0])) {
                const type_t type = row.types[0];
                Bench bench = source("constant");
                auto feed = make_feed(v.type);
                Runnable::write(feed->output(0), v);
                feed->output(0)->to_var(bench.block().param("expression"));
                bench.forced({type});
                Runnable run(bench.typed());
                ASSERT_TRUE(run);
                const value_t expected =
                    type == type_bool ? convert_to(type_bool, convert_to(type_int8, v)) : convert_to(type, v);
                ASSERT_EQ(run.output(), expected) << v << " in " << short_name(type);
                run.start(0.0).step(1.0);
                ASSERT_EQ(run.output(), expected) << "after a step: " << v << " in " << short_name(type);
            }
}

TEST(Constant, Texts) {
    Bench bench = source("constant", {{"expression", "0.1"}});
    bench.set_tier(2);
    bench.typed();
    EXPECT_EQ(bench.struct_c(), "typedef struct\n{\n    double port0;\n} constant_flt64_t;\n\n");
    EXPECT_EQ(bench.struct_py(), "class constant_t():\n    def __init__(self):\n        self.port0 = 0\n\n");
    EXPECT_EQ(bench.init_c(), "    p_model->Blk_42.port0 = 0.1;\n");
    EXPECT_EQ(bench.init_py(), "        self.Blk_42.port0 = 0.1\n");
    EXPECT_EQ(bench.step_c(), "            // no code generated\n");
    EXPECT_EQ(bench.step_py(), "                # no code generated\n");
}

// C gets the value, Python the expression.
TEST(Constant, PythonKeepsTheExpression) {
    ScriptedBridge bridge;
    bridge.values["2 * gain"] = {result_ok, var_t(true)};
    Bench bench = source("constant", {{"expression", "2 * gain"}});
    bench.typed();
    EXPECT_EQ(bench.init_c(), "    p_model->Blk_42.port0 = 1;\n");
    EXPECT_EQ(bench.init_py(), "        self.Blk_42.port0 = 2 * gain\n");
    Bench number = source("constant", {{"expression", 7}});
    number.typed();
    EXPECT_EQ(number.init_c(), "    p_model->Blk_42.port0 = 7;\n");
    EXPECT_EQ(number.init_py(), "        self.Blk_42.port0 = 7\n");
}

// ---- time
TEST(Time, IsTheTimeOfTheStep) {
    Runnable run(source("time").typed());
    EXPECT_EQ(outputs_at(run, {-1.5, 0.0, 0.1, 1e9}), (std::vector<double>{-1.5, 0.0, 0.1, 1e9}));
}

TEST(Time, Texts) {
    Bench bench = source("time");
    bench.set_tier(1);
    bench.typed();
    EXPECT_EQ(bench.struct_c(), "typedef struct\n{\n    double port0;\n} time_flt64_t;\n\n");
    EXPECT_EQ(bench.struct_py(), "class time_t():\n    def __init__(self):\n        self.port0 = 0\n\n");
    EXPECT_EQ(bench.init_c(), "    // no initialization is required\n");
    EXPECT_EQ(bench.init_py(), "        # no initialization is required\n");
    EXPECT_EQ(bench.step_c(), "        p_model->Blk_42.port0 = p_model->time_now_sec;\n");
    EXPECT_EQ(bench.step_py(), "            self.Blk_42.port0 = self.time_now_sec\n");
}

// ---- step
TEST(Step, HoldsTheFirstValueUpToAndIncludingItsTime) {
    Runnable run(source("step", {{"initialValue", "3.0"}, {"finalValue", "-4"}, {"stepTime", "2.0"}}).typed());
    EXPECT_EQ(outputs_at(run, {0.0, 1.0, 2.0, std::nextafter(2.0, 3.0), 3.0}),
              (std::vector<double>{3.0, 3.0, 3.0, -4.0, -4.0}));
    EXPECT_EQ(outputs_at(run, {0.0, 3.0}), (std::vector<double>{3.0, -4.0}));
}

TEST(Step, NeverComesAtATimeThatIsNoNumber) {
    Runnable run(
        source("step",
               {{"initialValue", 1.0}, {"finalValue", 2.0}, {"stepTime", std::numeric_limits<double>::quiet_NaN()}})
            .typed());
    EXPECT_EQ(outputs_at(run, {0.0, 1e300}), (std::vector<double>{1.0, 1.0}));
}

TEST(Step, Texts) {
    Bench bench = source("step", {{"initialValue", "0.5"}, {"finalValue", "1e6"}, {"stepTime", "12345678"}});
    bench.set_tier(1);
    bench.typed();
    EXPECT_EQ(bench.struct_c(),
              "typedef struct\n"
              "{\n"
              "    double port0;\n"
              "    double step_time;\n"
              "    double value_init;\n"
              "    double value_final;\n"
              "} step_flt64_t;\n"
              "\n");
    EXPECT_EQ(bench.struct_py(),
              "class step_t:\n"
              "    def __init__(self):\n"
              "        self.port0 = 0\n"
              "        self.step_time = 0\n"
              "        self.value_init = 0\n"
              "        self.value_final = 0\n"
              "\n");
    EXPECT_EQ(bench.init_c(),
              "    p_model->Blk_42.value_init = 0.5;\n"
              "    p_model->Blk_42.value_final = 1e+06;\n"
              "    p_model->Blk_42.step_time = 1.23457e+07;\n");
    EXPECT_EQ(bench.init_py(),
              "        self.Blk_42.value_init = 0.5;\n"
              "        self.Blk_42.value_final = 1e6;\n"
              "        self.Blk_42.step_time = 12345678;\n");
    EXPECT_EQ(bench.step_c(),
              "        p_model->Blk_42.port0 = (p_model->time_now_sec > p_model->Blk_42.step_time) ? "
              "p_model->Blk_42.value_init : p_model->Blk_42.value_final;\n");
    EXPECT_EQ(
        bench.step_py(),
        "            self.Blk_42.port0 = self.Blk_42.value_init if self.time_now_sec > self.Blk_42.step_time else "
        "self.Blk_42.value_final\n");
}

// ---- sinewave
TEST(Sinewave, ComputesTheSine) {
    // 2 pi 10 and pi / 4
    Runnable run(source("sinewave", {{"frequency", "10.0"}, {"phase", "45.0"}}).typed());
    for (const double t : {0.0, 0.001, 0.025, 1.0, 3.7, 1e6})
        EXPECT_EQ(run.step(t).output(), value(std::sin(62.83185307179586 * t + 0.7853981633974483))) << t;
}

TEST(Sinewave, FrequencyWrittenAsTextMustBeAboveZero) {
    EXPECT_EQ(typing("sinewave", {{"frequency", "0"}}), result_bad_parameter);
    EXPECT_EQ(typing("sinewave", {{"frequency", "0.0"}}), result_bad_parameter);
    EXPECT_EQ(typing("sinewave", {{"frequency", "-1"}}), result_bad_parameter);
    EXPECT_EQ(typing("sinewave", {{"frequency", "-1e-300"}}), result_bad_parameter);
    EXPECT_EQ(typing("sinewave", {{"frequency", "False"}}), result_bad_parameter);
    EXPECT_EQ(typing("sinewave", {{"frequency", "True"}}), result_ok);
    EXPECT_EQ(typing("sinewave", {{"frequency", "5e-324"}}), result_ok);
    EXPECT_EQ(typing("sinewave", {{"frequency", "18446744073709551615"}}), result_ok);
}

TEST(Sinewave, FrequencyIsJudgedInItsOwnType) {
    const std::vector<std::pair<var_t, result_t>> cases{
        {var_t(static_cast<signed char>(-1)), result_bad_parameter},
        {var_t(static_cast<unsigned char>(255)), result_ok},
        {var_t(static_cast<unsigned char>(0)), result_bad_parameter},
        {var_t(static_cast<short>(-1)), result_bad_parameter},
        {var_t(static_cast<unsigned short>(65535)), result_ok},
        {var_t(-1), result_bad_parameter},
        {var_t(4294967295u), result_ok},
        {var_t(-1LL), result_bad_parameter},
        {var_t(0xFFFFFFFFFFFFFFFFull), result_ok},
        {var_t(0ull), result_bad_parameter},
        {var_t(std::numeric_limits<float>::denorm_min()), result_ok},
        {var_t(-0.0f), result_bad_parameter},
        {var_t(std::numeric_limits<double>::quiet_NaN()), result_bad_parameter},
        {var_t("word"), result_bad_parameter},
    };
    for (const auto& [frequency, result] : cases) {
        ScriptedBridge bridge;
        bridge.values["f"] = {result_ok, frequency};
        bridge.values["0.0"] = {result_ok, var_t(0.0)};
        EXPECT_EQ(typing("sinewave", {{"frequency", "f"}}), result) << frequency.to_string();
    }
}

TEST(Sinewave, FrequencyGivenAsNumberIsNotJudged) {
    Bench bench = source("sinewave", {{"frequency", 0}, {"phase", 30}});
    Runnable run(bench.typed());
    EXPECT_FALSE(bench.block().failed());
    for (const double t : {0.0, 5.0}) EXPECT_EQ(run.step(t).output(), value(std::sin(0.5235987755982988)));
}

TEST(Sinewave, Texts) {
    Bench bench = source("sinewave", {{"frequency", "10.0"}, {"phase", "90"}});
    bench.set_tier(1);
    bench.typed();
    EXPECT_EQ(bench.struct_c(),
              "typedef struct\n"
              "{\n"
              "    double port0;\n"
              "    double freq_rad_s;\n"
              "    double phase_rad;\n"
              "} sinewave_flt64_t;\n"
              "\n");
    EXPECT_EQ(bench.struct_py(),
              "class sinewave_t:\n"
              "    def __init__(self):\n"
              "        self.port0 = 0\n"
              "        self.freq_rad_s = 0\n"
              "        self.phase_rad = 0\n"
              "\n");
    EXPECT_EQ(bench.init_c(),
              "    p_model->Blk_42.freq_rad_s = 62.8319; // 10 hz\n"
              "    p_model->Blk_42.phase_rad = 1.5708; // 90 deg\n");
    EXPECT_EQ(bench.init_py(),
              "        self.Blk_42.freq_rad_s = 62.8319 # 10 hz\n"
              "        self.Blk_42.phase_rad = 1.5708 # 90 deg\n");
    EXPECT_EQ(bench.step_c(),
              "        p_model->Blk_42.port0 = sin(p_model->time_now_sec * p_model->Blk_42.freq_rad_s + "
              "p_model->Blk_42.phase_rad);\n");
    EXPECT_EQ(bench.step_py(),
              "            self.Blk_42.port0 = math.sin(self.time_now_sec * self.Blk_42.freq_rad_s + "
              "self.Blk_42.phase_rad)\n");
}

// ---- squarewave
TEST(Squarewave, StartsOffAndAlternates) {
    Runnable run(
        source("squarewave", {{"timeOff", "1.0"}, {"timeOn", "2.0"}, {"valueOff", "-1"}, {"valueOn", "5"}}).typed());
    EXPECT_EQ(run.start(0.0).out<double>(), -1.0);
    EXPECT_EQ(outputs_at(run, {0.0, 0.5, 1.0, 2.0, 2.5, 3.0, 3.5, 4.0, 5.0}),
              (std::vector<double>{-1, -1, 5, 5, 5, -1, -1, 5, 5}));
}

// A change comes at the first step past its time, and the next interval counts from that step.
TEST(Squarewave, PeriodStretchesByTheStepGrid) {
    Runnable run(source("squarewave", {{"timeOff", "1.0"}, {"timeOn", "1.0"}}).typed());
    EXPECT_EQ(outputs_at(run, {0.0, 0.75, 1.5, 2.25, 3.0, 3.75, 4.5}), (std::vector<double>{-1, -1, 1, 1, -1, -1, 1}));
}

TEST(Squarewave, TogglesAtEveryStepWhenBothTimesAreZero) {
    Runnable run(source("squarewave", {{"timeOff", "0"}, {"timeOn", "0"}}).typed());
    EXPECT_EQ(outputs_at(run, {0.0, 1.0, 2.0, 3.0}), (std::vector<double>{1, -1, 1, -1}));
}

TEST(Squarewave, AnotherRunStartsOver) {
    Runnable run(source("squarewave").typed());
    EXPECT_EQ(outputs_at(run, {0.0, 1.0}), (std::vector<double>{-1, 1}));
    EXPECT_EQ(run.start(10.0).out<double>(), -1.0);
    EXPECT_EQ(outputs_at(run, {10.0, 10.5, 11.0, 13.0}), (std::vector<double>{-1, -1, 1, -1}));
}

TEST(Squarewave, TimesWrittenAsTextMustNotBeBelowZero) {
    EXPECT_EQ(typing("squarewave", {{"timeOn", "-1.0"}}), result_bad_parameter);
    EXPECT_EQ(typing("squarewave", {{"timeOff", "-1"}}), result_bad_parameter);
    EXPECT_EQ(typing("squarewave", {{"timeOn", "0"}, {"timeOff", "0.0"}}), result_ok);
    EXPECT_EQ(typing("squarewave", {{"timeOn", "False"}}), result_ok);
    EXPECT_EQ(typing("squarewave", {{"valueOff", "-9"}, {"valueOn", "-7"}}), result_ok);
    EXPECT_EQ(typing("squarewave", {{"timeOff", -1}, {"timeOn", -1}, {"valueOff", 0}, {"valueOn", 1}}), result_ok);
}

TEST(Squarewave, Texts) {
    Bench bench =
        source("squarewave", {{"timeOff", "1.50"}, {"timeOn", "2.0"}, {"valueOff", "-1.0"}, {"valueOn", "3"}});
    bench.set_tier(1);
    bench.typed();
    EXPECT_EQ(bench.struct_c(),
              "typedef struct\n"
              "{\n"
              "    double port0;\n"
              "    double time_on;\n"
              "    double time_off;\n"
              "    double value_on;\n"
              "    double value_off;\n"
              "    double state_change;\n"
              "    bool state_value;\n"
              "} squarewave_flt64_t;\n"
              "\n");
    EXPECT_EQ(bench.struct_py(),
              "class squarewave_t:\n"
              "    def __init__(self):\n"
              "        self.port0 = 0\n"
              "        self.time_on = 0\n"
              "        self.time_off = 0\n"
              "        self.value_on = 0\n"
              "        self.value_off = 0\n"
              "        self.state_change = 0\n"
              "        self.state_value = 0\n"
              "\n");
    EXPECT_EQ(bench.init_c(),
              "    p_model->Blk_42.time_on = 2;\n"
              "    p_model->Blk_42.time_off = 1.5;\n"
              "    p_model->Blk_42.value_on = 3;\n"
              "    p_model->Blk_42.value_off = -1;\n");
    EXPECT_EQ(bench.init_py(),
              "        self.Blk_42.time_on = 2.0\n"
              "        self.Blk_42.time_off = 1.50\n"
              "        self.Blk_42.value_on = 3\n"
              "        self.Blk_42.value_off = -1.0\n");
    EXPECT_EQ(bench.step_c(),
              "        if (p_model->Blk_42.state_value)\n"
              "        {\n"
              "            if (p_model->time_now_sec >= p_model->Blk_42.state_change + p_model->Blk_42.time_on)\n"
              "            {\n"
              "                p_model->Blk_42.state_value = 0;\n"
              "                p_model->Blk_42.state_change = p_model->time_now_sec;\n"
              "                p_model->Blk_42.port0 = p_model->Blk_42.value_off;\n"
              "            }\n"
              "        }\n"
              "        else\n"
              "        {\n"
              "            if (p_model->time_now_sec >= p_model->Blk_42.state_change + p_model->Blk_42.time_off)\n"
              "            {\n"
              "                p_model->Blk_42.state_value = 1;\n"
              "                p_model->Blk_42.state_change = p_model->time_now_sec;\n"
              "                p_model->Blk_42.port0 = p_model->Blk_42.value_on;\n"
              "            }\n"
              "        }\n");
    EXPECT_EQ(bench.step_py(),
              "            if self.Blk_42.state_value:\n"
              "                if self.time_now_sec >= self.Blk_42.state_change + self.Blk_42.time_on:\n"
              "                    self.Blk_42.state_value = 0\n"
              "                    self.Blk_42.state_change = self.time_now_sec\n"
              "                    self.Blk_42.port0 = self.Blk_42.value_off\n"
              "            else:\n"
              "                if self.time_now_sec >= self.Blk_42.state_change + self.Blk_42.time_off:\n"
              "                    self.Blk_42.state_value = 1\n"
              "                    self.Blk_42.state_change = self.time_now_sec\n"
              "                    self.Blk_42.port0 = self.Blk_42.value_on\n");
}

// ---- random
std::vector<double> random_outputs(const params_t& params, std::size_t count) {
    Runnable run(source("random", params).typed());
    return outputs_at(run, std::vector<double>(count, 0.0));
}

// The generator's states from 12345 on, worked out with integers of any length.
constexpr std::uint64_t states[] = {3336926330u,          848070896257455u,     7875900099957274007u,
                                    1968711116983890331u, 2938439596798732469u, 7006415549058768750u};

TEST(Random, FollowsItsGenerator) {
    const auto defaults = random_outputs({}, 6);
    const auto wide = random_outputs({{"max", "7"}, {"min", "-3.5"}, {"seed", "12345"}}, 6);
    for (std::size_t i = 0; i < 6; ++i) {
        EXPECT_EQ(defaults[i], static_cast<double>(states[i] % 2)) << i;
        EXPECT_EQ(wide[i], static_cast<double>(states[i] % 11) - 3.5) << i;
    }
}

TEST(Random, SeedZeroStaysAtTheLowestValue) {
    EXPECT_EQ(random_outputs({{"seed", "0"}, {"min", "-2.5"}}, 4), (std::vector<double>{-2.5, -2.5, -2.5, -2.5}));
}

TEST(Random, GivesBothEndsByDefault) {
    int zeros = 0, ones = 0;
    for (const double y : random_outputs({}, 1000)) {
        zeros += y == 0.0;
        ones += y == 1.0;
    }
    EXPECT_EQ(zeros + ones, 1000);
    EXPECT_GT(zeros, 300);
    EXPECT_GT(ones, 300);
}

// max - min + 1 is -1: as an unsigned number it leaves every state but the highest as it is.
TEST(Random, RangeWrapsWhenTheEndsAreSwapped) {
    const auto y = random_outputs({{"max", "0"}, {"min", "2"}}, 6);
    for (std::size_t i = 0; i < 6; ++i) EXPECT_EQ(y[i], static_cast<double>(states[i]) + 2.0) << i;
}

// The range is cut to 64 bits, beyond which it is 2^63.
TEST(Random, RangeOutsideTheIntegersIsTheLowestOne) {
    const auto y = random_outputs({{"max", "1e300"}}, 6);
    for (std::size_t i = 0; i < 6; ++i) EXPECT_EQ(y[i], static_cast<double>(states[i] % 0x8000000000000000u)) << i;
}

TEST(Random, AnotherRunContinuesTheSequence) {
    Runnable run(source("random", {{"max", "1000000"}}).typed());
    auto first = outputs_at(run, {0.0, 1.0, 2.0});
    const auto second = outputs_at(run, {0.0, 1.0, 2.0});
    first.insert(first.end(), second.begin(), second.end());
    EXPECT_EQ(first, random_outputs({{"max", "1000000"}}, 6));
}

TEST(Random, NegativeSeedIsReadAsUnsigned) {
    // from the state with all 64 bits set
    const std::vector<double> expected{253983.0, 891647.0, 747779.0};
    EXPECT_EQ(random_outputs({{"max", "999999"}, {"seed", "-1"}}, 3), expected);
    EXPECT_EQ(random_outputs({{"max", 999999}, {"min", 0}, {"seed", -1.0}}, 3), expected);
}

TEST(RandomDeathTest, EmptyRangeIsADivisionByZero) {
    Runnable run(source("random", {{"max", "0"}, {"min", "1"}}).typed());
    ASSERT_TRUE(run);
    EXPECT_DEATH(run.step(), "");
}

TEST(Random, Texts) {
    Bench bench = source("random", {{"max", "5"}, {"min", "-0.25"}, {"seed", "1234567"}});
    bench.set_tier(1);
    bench.typed();
    EXPECT_EQ(bench.struct_c(),
              "typedef struct\n"
              "{\n"
              "    double port0;\n"
              "    double value_max;\n"
              "    double value_min;\n"
              "    unsigned long int seed;\n"
              "} random_flt64_t;\n"
              "\n");
    EXPECT_EQ(bench.struct_py(),
              "class random_t:\n"
              "    def __init__(self):\n"
              "        self.port0 = 0\n"
              "        self.value_max = 0\n"
              "        self.value_min = 0\n"
              "        self.seed = 0\n"
              "\n");
    EXPECT_EQ(bench.init_c(),
              "    p_model->Blk_42.value_max = 5;\n"
              "    p_model->Blk_42.value_min = -0.25;\n"
              "    p_model->Blk_42.seed = 1.23457e+06;\n");
    EXPECT_EQ(bench.init_py(),
              "        self.Blk_42.value_max = 5\n"
              "        self.Blk_42.value_min = -0.25\n"
              "        self.Blk_42.seed = 1234567\n");
    EXPECT_EQ(bench.step_c(),
              "        p_model->Blk_42.seed ^= p_model->Blk_42.seed << 13;\n"
              "        p_model->Blk_42.seed ^= p_model->Blk_42.seed >> 17;\n"
              "        p_model->Blk_42.seed ^= p_model->Blk_42.seed << 5;\n"
              "        p_model->Blk_42.port0 = p_model->Blk_42.seed % ((unsigned long int)(p_model->Blk_42.value_max - "
              "p_model->Blk_42.value_min)) + p_model->Blk_42.value_min;\n");
    EXPECT_EQ(bench.step_py(),
              "            self.Blk_42.seed ^= self.Blk_42.seed << 13\n"
              "            self.Blk_42.seed ^= self.Blk_42.seed >> 17\n"
              "            self.Blk_42.seed ^= self.Blk_42.seed << 5\n"
              "            self.Blk_42.port0 = self.Blk_42.seed % (self.Blk_42.value_max - self.Blk_42.value_min) + "
              "self.Blk_42.value_min\n");
}

}  // namespace
}  // namespace tessel::test
