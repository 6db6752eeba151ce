#include <gtest/gtest.h>

#include <limits>

#include "IExecModel.h"
#include "IMetaModel.h"
#include "PropertiesModel.h"
#include "factory.h"
#include "tests/support/block_test.h"
#include "tests/support/slow_math.h"
#include "tests/support/walk.h"

namespace tessel::test {
namespace {

const double nan = std::numeric_limits<double>::quiet_NaN();

TEST(Stateful, AcceptEveryTypeAndNoMixture) {
    for (const char* name : {"acc", "delta", "memory", "debounce", "hysteresis"}) {
        SCOPED_TRACE(name);
        ASSERT_EQ(accepted(name).size(), 11u);
        for (const signature_t& row : accepted(name)) {
            const type_t in = row.types[0], out = row.types[row.inputs];
            EXPECT_TRUE(row.inputs == 1 || (row.types[1] == in && row.types[2] == type_bool));
            EXPECT_EQ(out, std::string(name) == "debounce" || std::string(name) == "hysteresis" ? type_bool : in);
        }
    }
    Bench text("memory", {type_cstr});
    EXPECT_FALSE(Runnable(text.typed()));
    Bench mixed("delta", {type_int32});
    EXPECT_FALSE(Runnable(mixed.forced({type_int32, type_flt64})));
}

// ---- acc
TEST(Acc, TypesItsPortsByTheFirstInput) {
    Bench bench("acc", {type_int16, type_flt64, type_int32});
    bench.typed();
    EXPECT_EQ(bench.input_type(0), type_int16);
    EXPECT_EQ(bench.input_type(1), type_int16);
    EXPECT_EQ(bench.input_type(2), type_bool);
    EXPECT_EQ(bench.output_type(), type_int16);
}

TEST(Acc, AccumulatesOverAllTypes) {
    value_t y;
    walk_t what{"acc", {}};
    what.prepare = [&y](Bench& bench, const signature_t& row) {
        bench.typed();
        y = {row.types[0], 0};
    };
    what.expected = [&y](std::span<const value_t> u, type_t out) {
        y = u[2].bits != 0 ? u[1] : convert_to(out, compute_common('+', y, u[0]));
        return y;
    };
    walk(what);
}

TEST(Acc, OutputsTheResetValueWhileTheFlagIsSet) {
    Bench bench("acc", {type_flt64, type_flt64, type_bool});
    Runnable run(bench.typed());
    run.start().put(1.0, 7.5, true);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(run.step().out<double>(), 7.5);
    run.put(1.0, 7.5, false);
    EXPECT_EQ(run.step().out<double>(), 8.5);
    EXPECT_EQ(run.step().out<double>(), 9.5);
    EXPECT_EQ(run.start().out<double>(), 0.0);
}

TEST(Acc, Texts) {
    Bench bench("acc", {type_flt32, type_flt32, type_bool});
    bench.set_tier(2);
    bench.typed();
    EXPECT_EQ(bench.struct_c(), "typedef struct\n{\n    float port0;\n} acc_flt32_t;\n\n");
    EXPECT_EQ(bench.struct_py(), "class acc_t():\n    def __init__(self):\n        self.port0 = 0\n\n");
    EXPECT_EQ(bench.init_c(), "            p_model->Blk_42.port0 = 0;\n");
    EXPECT_EQ(bench.init_py(), "                self.Blk_42.port0 = 0\n");
    EXPECT_EQ(bench.step_c(),
              "            p_model->Blk_42.port0 = p_model->In2_102.port2 ? p_model->In1_101.port1 : "
              "p_model->In0_100.port0 + p_model->Blk_42.port0;\n");
    EXPECT_EQ(bench.step_py(),
              "                self.Blk_42.port0 = self.In1_101.port1 if self.In2_102.port2 else "
              "self.In0_100.port0 + self.Blk_42.port0\n");
}

// ---- delta
TEST(Delta, SubtractsTheLastInputOverAllTypes) {
    value_t last;
    walk_t what{"delta", {}};
    what.prepare = [&last](Bench& bench, const signature_t& row) {
        bench.typed();
        last = {row.types[0], 0};
    };
    what.expected = [&last](std::span<const value_t> u, type_t out) {
        const value_t y = convert_to(out, compute_common('-', u[0], last));
        last = u[0];
        return y;
    };
    walk(what);
}

TEST(Delta, WrapsAndStartsFromZero) {
    Bench bench("delta", {type_uint8});
    Runnable run(bench.typed());
    run.start();
    EXPECT_EQ(run.put(std::uint8_t{1}).step().out<std::uint8_t>(), 1);
    EXPECT_EQ(run.put(std::uint8_t{0}).step().out<std::uint8_t>(), 255);
}

TEST(Delta, OfBoolIsAChange) {
    Bench bench("delta", {type_bool});
    Runnable run(bench.typed());
    for (const auto& [u, y] : {std::pair(true, true), {true, false}, {false, true}, {false, false}})
        EXPECT_EQ(run.put(u).step().out<bool>(), y);
}

TEST(Delta, AnotherRunContinues) {
    Bench bench("delta", {type_flt64});
    Runnable run(bench.typed());
    EXPECT_EQ(run.start(0.0).put(5.0).step().out<double>(), 5.0);
    EXPECT_EQ(run.start(0.0).put(7.0).step().out<double>(), 2.0);
}

TEST(Delta, Texts) {
    Bench bench("delta", {type_int16});
    bench.set_tier(1);
    bench.typed();
    EXPECT_EQ(bench.struct_c(), "typedef struct\n{\n    short port0;\n    short last;\n} delta_int16_t;\n\n");
    EXPECT_EQ(bench.struct_py(),
              "class debounce_t:\n    def __init__(self):\n        self.port0 = 0\n        self.last = 0.0\n");
    EXPECT_EQ(bench.block().struct_name_py(), "delta_t");
    EXPECT_EQ(bench.init_c(), "    p_model->Blk_42.last = 0;\n");
    EXPECT_EQ(bench.init_py(), "        self.Blk_42.last = 0\n");
    EXPECT_EQ(bench.step_c(),
              "        p_model->Blk_42.port0 = p_model->In0_100.port0 - p_model->Blk_42.last;\n"
              "        p_model->Blk_42.last = p_model->In0_100.port0;\n");
    EXPECT_EQ(bench.step_py(),
              "            self.Blk_42.port0 = self.In0_100.port0 - self.Blk_42.last\n"
              "            self.Blk_42.last = self.In0_100.port0\n");
}

// ---- memory
TEST(Memory, PassesEveryTypeOn) {
    walk_t what{"memory", {}};
    what.expected = [](std::span<const value_t> u, type_t) { return u[0]; };
    walk(what);
}

TEST(Memory, KeepsTheBitsOfANumberThatIsNone) {
    Bench bench("memory", {type_flt64});
    Runnable run(bench.typed());
    const value_t odd{type_flt64, 0xFFF4000000000123u};
    run.set(0, odd).step();
    EXPECT_EQ(run.output().bits, odd.bits);
}

TEST(Memory, RunsAheadOfItsSource) {
    Bench bench("memory", {type_flt64});
    bench.source(0).set_zone(-1);
    EXPECT_EQ(bench.block().calculate_zone(), 0);
    EXPECT_EQ(bench.block().zone(), 0);
    bench.source(0).set_zone(17);
    EXPECT_EQ(bench.block().calculate_zone(), 0);
    EXPECT_EQ(bench.block().zone(), 0);
}

TEST(Memory, Texts) {
    Bench bench("memory", {type_uint64});
    bench.set_tier(1);
    bench.typed();
    EXPECT_EQ(bench.struct_c(), "typedef struct\n{\n    unsigned long int port0;\n} memory_uint64_t;\n\n");
    EXPECT_EQ(bench.struct_py(), "class memory_t():\n    def __init__(self):\n        self.port0 = 0\n\n");
    EXPECT_EQ(bench.init_c(), "    p_model->Blk_42.port0 = 0;\n");
    EXPECT_EQ(bench.init_py(), "        self.Blk_42.port0 = 0\n");
    EXPECT_EQ(bench.step_c(), "        p_model->Blk_42.port0 = p_model->In0_100.port0;\n");
    EXPECT_EQ(bench.step_py(), "            self.Blk_42.port0 = self.In0_100.port0\n");
}

// A counter: y = memory(y) + 1. The memory closes the loop, delays by one step and starts from 0.
TEST(Memory, ClosesALoop) {
    const auto properties = std::make_shared<PropertiesModel>();
    auto model = create_empty_meta_model();
    model->set_properties(properties);
    const auto add = [&](const char* class_name, std::uint64_t id, std::uint64_t inputs, const char* expression) {
        auto own = std::make_shared<PropertiesBlock>();
        own->name = class_name;
        own->id = id;
        own->inportCount = inputs;
        if (expression != nullptr) own->parameters["expression"].value = var_t(expression);
        model->add_block(factory::create(class_name, own));
    };
    auto root = std::make_shared<PropertiesBlock>();
    root->name = "mainsys";
    model->add_block(factory::create("subsys", root));
    add("constant", 1, 0, "1.0");
    add("add", 2, 2, nullptr);
    add("memory", 3, 1, nullptr);
    properties->insert_link(1, 2, 0, 0, "");
    properties->insert_link(3, 2, 0, 1, "");
    properties->insert_link(2, 3, 0, 0, "");
    properties->set("tf", var_t(4.0));
    model->find_block(2)->output(0)->set_type(type_flt64);
    ASSERT_EQ(model->compile(), result_ok);
    EXPECT_EQ(model->find_block(3)->zone(), 0);
    EXPECT_EQ(model->find_block(2)->zone(), 1);

    auto exec = create_empty_exec_model();
    exec->set_properties(properties);
    model->build_exec(exec.get());
    exec->run();
    EXPECT_EQ(Runnable::read(exec->find_block(2)->output(0)), value(5.0));
    EXPECT_EQ(Runnable::read(exec->find_block(3)->output(0)), value(4.0));
    exec->run();  // goes on from where it stopped
    EXPECT_EQ(Runnable::read(exec->find_block(2)->output(0)), value(10.0));
}

// ---- debounce
Bench debounce(const var_t& fall, const var_t& rise, type_t type = type_bool) {
    Bench bench("debounce", {type});
    bench.block().param("fall") = fall;
    bench.block().param("rise") = rise;
    bench.typed();
    return bench;
}

/// The outputs over inputs "0" and "1" of steps `ts` apart from time 0 on, as such a text.
std::string debounced(Runnable& run, const std::string& inputs, double ts = 1.0) {
    std::string outputs;
    run.start(0.0);
    for (std::size_t i = 0; i < inputs.size(); ++i) {
        run.put(inputs[i] == '1').step(static_cast<double>(i) * ts);
        outputs += run.out<bool>() ? '1' : '0';
    }
    return outputs;
}
std::string debounced(Bench bench, const std::string& inputs, double ts = 1.0) {
    Runnable run(bench);
    return debounced(run, inputs, ts);
}

TEST(Debounce, FollowsItsInputWithoutDelays) {
    EXPECT_EQ(debounced(debounce("0", "0"), "1011001"), "1011001");
    EXPECT_EQ(debounced(debounce("-0.0", "0"), "1011001"), "1011001");
}

// The first step counts nothing; the output turns one step after the count has reached the delay.
TEST(Debounce, DelaysTheRisingEdge) {
    EXPECT_EQ(debounced(debounce("0", "2"), "11110"), "00010");
    EXPECT_EQ(debounced(debounce("0", "2"), "0111101111"), "0001100011");
    EXPECT_EQ(debounced(debounce("0", "1.5"), "111110", 0.5), "000010");
    EXPECT_EQ(debounced(debounce("0", "-1"), "101"), "101");
}

TEST(Debounce, DelaysTheFallingEdge) {
    EXPECT_EQ(debounced(debounce("2", "0"), "1000010"), "1110011");
    EXPECT_EQ(debounced(debounce("2", "0"), "0100100000"), "0111111000");
    EXPECT_EQ(debounced(debounce("-1", "0"), "1010"), "1010");
}

TEST(Debounce, DelaysBothEdges) {
    EXPECT_EQ(debounced(debounce("1", "2"), "1111000111100"), "0001100001110");
    EXPECT_EQ(debounced(debounce("2", "1"), "0110110000"), "0011111100");
}

// The rules of the three machines over a long pseudo-random input, with delays of all signs, in every type.
struct machine_t {
    double fall;
    double rise;
    double count = 0.0;
    double last = 0.0;
    bool y = false;

    bool step(double t, bool u) {
        const double dt = t - last;
        last = t;
        const bool rising = fall == 0.0 || rise != 0.0, falling = fall != 0.0;
        if (u && !rising) return count = 0.0, y = true;
        if (!u && !falling) return count = 0.0, y = false;
        if (rising && falling && u && count < 0.0) count = 0.0;
        if (rising && falling && !u && count > 0.0) count = 0.0;
        if (u ? count >= rise : -fall >= count) return y = u;
        count = u ? count + dt : count - dt;
        return y;
    }
};

TEST(Debounce, KeepsToItsRulesOverAllTypes) {
    for (const signature_t& row : accepted("debounce"))
        for (const double fall : {0.0, 0.75, 2.0, -1.0, nan})
            for (const double rise : {0.0, 0.5, 3.0, -1.0, nan}) {
                Bench bench = debounce(var_t(fall), var_t(rise), row.types[0]);
                Runnable run(bench), lowered(bench);
                ASSERT_TRUE(run);
                EXPECT_EQ(run.output(), value(false));
                machine_t machine{.fall = fall, .rise = rise, .last = 0.5};
                run.start(0.5);
                lowered.start(0.5);
                const auto edges = edge_values(row.types[0]);
                std::uint32_t random = 1;
                for (int i = 0; i < 300; ++i) {
                    random = random * 1664525u + 1013904223u;
                    // runs of zeros and of other values, several steps long
                    const bool zero = (random >> 29) < 3 ? (i / 5) % 2 == 0 : (i / 8) % 2 == 0;
                    const value_t u = zero ? value_t{row.types[0], 0} : edges[(random >> 16) % edges.size()];
                    const double t = 0.5 + 0.25 * i;
                    const value_t y = value(machine.step(t, convert_to(type_bool, u).bits != 0));
                    ASSERT_EQ(run.set(0, u).step(t).output(), y) << u << " at " << i;
                    ASSERT_EQ(lowered.step_lowered({u}, t).output(), y) << u << " at " << i;
                }
            }
}

TEST(Debounce, NotANumberIsTrueAndNegativeZeroFalse) {
    Bench bench = debounce("0", "0", type_flt64);
    Runnable run(bench);
    EXPECT_TRUE(run.put(nan).step().out<bool>());
    EXPECT_FALSE(run.put(-0.0).step().out<bool>());
}

// The pause of a block that was not stepped counts into its next step as a whole.
TEST(Debounce, CountsAPauseAsOneStep) {
    Bench bench = debounce("0", "5");
    Runnable run(bench);
    run.start(0.0).put(true);
    EXPECT_FALSE(run.step(0.0).out<bool>());
    EXPECT_FALSE(run.step(7.0).out<bool>());
    EXPECT_TRUE(run.step(7.5).out<bool>());
}

// A second run measures time anew; count and output are those of the first.
TEST(Debounce, AnotherRunRestartsItsClock) {
    Bench bench = debounce("0", "2");
    Runnable run(bench);
    EXPECT_EQ(debounced(run, "11"), "00");
    EXPECT_EQ(debounced(run, "111"), "001");
    EXPECT_EQ(debounced(run, "1"), "1");
}

TEST(Debounce, Texts) {
    Bench bench = debounce("1.50", "2");
    bench.set_tier(1);
    EXPECT_EQ(bench.struct_c(),
              "typedef struct\n"
              "{\n"
              "    bool port0;\n"
              "    double fall;\n"
              "    double rise;\n"
              "    double count;\n"
              "} debounce_bool_t;\n"
              "\n");
    EXPECT_EQ(bench.struct_py(),
              "class debounce_t:\n"
              "    def __init__(self):\n"
              "        self.port0 = 0\n"
              "        self.fall = 0.0\n"
              "        self.rise = 0.0\n"
              "        self.count = 0.0\n"
              "\n");
    EXPECT_EQ(bench.init_c(),
              "    p_model->Blk_42.fall = 1.5;\n"
              "    p_model->Blk_42.rise = 2;\n"
              "    p_model->Blk_42.count = 0.0;\n");
    EXPECT_EQ(bench.init_py(),
              "        self.Blk_42.fall = 1.50\n"
              "        self.Blk_42.rise = 2\n"
              "        self.Blk_42.count = 0.0\n");
    EXPECT_EQ(bench.step_c(),
              "        if (p_model->In0_100.port0)\n"
              "        {\n"
              "            if (p_model->Blk_42.count < 0.0)\n"
              "            {\n"
              "                p_model->Blk_42.count = 0.0;\n"
              "            }\n"
              "            if (p_model->Blk_42.count >= p_model->Blk_42.rise)\n"
              "            {\n"
              "                p_model->Blk_42.port0 = 1;\n"
              "            }\n"
              "            else\n"
              "            {\n"
              "                p_model->Blk_42.count += p_model->time_step_sec;\n"
              "            }\n"
              "            }\n"
              "            else\n"
              "            {\n"
              "            if (p_model->Blk_42.count > 0.0)\n"
              "            {\n"
              "                p_model->Blk_42.count = 0.0;\n"
              "            }\n"
              "            if (p_model->Blk_42.count <= p_model->Blk_42.fall)\n"
              "            {\n"
              "                p_model->Blk_42.port0 = 0;\n"
              "            }\n"
              "            else\n"
              "            {\n"
              "                p_model->Blk_42.count -= p_model->time_step_sec;\n"
              "            }\n"
              "        }\n");
    EXPECT_EQ(bench.step_py(),
              "            if self.In0_100.port0:\n"
              "                if self.Blk_42.count < 0.0:\n"
              "                    self.Blk_42.count = 0.0\n"
              "                if self.Blk_42.count >= self.Blk_42.rise:\n"
              "                    self.Blk_42.port0 = 1\n"
              "                else:\n"
              "                    self.Blk_42.count += self.time_step_sec\n"
              "            else:\n"
              "                if self.Blk_42.count > 0.0:\n"
              "                    self.Blk_42.count = 0.0\n"
              "                if self.Blk_42.count <= self.Blk_42.fall:\n"
              "                    self.Blk_42.port0 = 0\n"
              "                else:\n"
              "                    self.Blk_42.count -= self.time_step_sec\n");
}

// ---- hysteresis
void walk_hysteresis(double off, double on) {
    bool state = false;
    walk_t what{"hysteresis", {}};
    what.prepare = [&](Bench& bench, const signature_t&) {
        bench.block().param("valueOff") = var_t(off);
        bench.block().param("valueOn") = var_t(on);
        bench.typed();
        state = false;
    };
    what.expected = [&](std::span<const value_t> u, type_t) {
        const type_t type = u[0].type;
        if (less(convert_to(type, value(on)), u[0])) state = true;
        else if (less(u[0], convert_to(type, value(off)))) state = false;
        return value(state);
    };
    walk(what);
}

TEST(Hysteresis, KeepsItsStateBetweenTheThresholdsOverAllTypes) {
    for (const auto& [off, on] : {std::pair(0.0, 1.0),
                                  {1.9, 3.2},
                                  {-5.5, 100.0},
                                  {0.25, 0.25},
                                  {3.0, 1.0},
                                  {0.1, 1e19},
                                  {-1.0, 1.8e19},
                                  {nan, 2.0},
                                  {0.0, nan}}) {
        SCOPED_TRACE(tessel::format("off {} on {}", off, on));
        walk_hysteresis(off, on);
    }
}

TEST(Hysteresis, SwitchesStrictlyBeyondTheThresholds) {
    Bench bench("hysteresis", {type_flt64});
    bench.set_param("valueOff", "1.0");
    bench.set_param("valueOn", "2.0");
    Runnable run(bench.typed());
    const std::vector<std::pair<double, bool>> steps{{2.0, false}, {2.1, true},  {2.0, true}, {1.0, true}, {0.9, false},
                                                     {1.5, false}, {nan, false}, {9.0, true}, {nan, true}};
    for (const auto& [u, y] : steps) EXPECT_EQ(run.put(u).step().out<bool>(), y) << u;
    EXPECT_TRUE(run.start().put(1.5).step().out<bool>());  // kept from run to run
}

TEST(Hysteresis, ThresholdsAreCutToTheInputsType) {
    Bench bench("hysteresis", {type_int32});
    bench.set_param("valueOff", "-1.9");
    bench.set_param("valueOn", "2.9");
    Runnable run(bench.typed());
    EXPECT_FALSE(run.put(2).step().out<bool>());
    EXPECT_TRUE(run.put(3).step().out<bool>());
    EXPECT_TRUE(run.put(-1).step().out<bool>());
    EXPECT_FALSE(run.put(-2).step().out<bool>());
}

TEST(Hysteresis, OneOutputTypeButTwoInputTypesAreTwoStructures) {
    Bench one("hysteresis", {type_int32}), two("hysteresis", {type_flt64});
    EXPECT_EQ(one.typed().block().struct_name(), "hysteresis_int32_bool_t");
    EXPECT_EQ(two.typed().block().struct_name(), "hysteresis_flt64_bool_t");
}

TEST(Hysteresis, Texts) {
    Bench bench("hysteresis", {type_uint8});
    bench.set_param("valueOff", "10.50");
    bench.set_param("valueOn", "20");
    bench.set_tier(1);
    bench.typed();
    EXPECT_EQ(bench.struct_c(),
              "typedef struct\n"
              "{\n"
              "    bool port0;\n"
              "    unsigned char on;\n"
              "    unsigned char off;\n"
              "    int state;\n"
              "} hysteresis_uint8_bool_t;\n"
              "\n");
    EXPECT_EQ(bench.struct_py(),
              "class hysteresis_t:\n"
              "    def __init__(self):\n"
              "        self.port0 = 0\n"
              "        self.on = 0\n"
              "        self.off = 0\n"
              "        self.state = False\n"
              "\n");
    EXPECT_EQ(bench.init_c(),
              "    p_model->Blk_42.on = 20;\n"
              "    p_model->Blk_42.off = 10.5;\n"
              "    p_model->Blk_42.state = 0;\n");
    EXPECT_EQ(bench.init_py(),
              "        self.Blk_42.on = 20\n"
              "        self.Blk_42.off = 10.50\n"
              "        self.Blk_42.state = False\n");
    EXPECT_EQ(bench.step_c(),
              "        if (((unsigned char)p_model->In0_100.port0) > p_model->Blk_42.on)\n"
              "        {\n"
              "            p_model->Blk_42.state = 1;\n"
              "        }\n"
              "        else if (((unsigned char)p_model->In0_100.port0) < p_model->Blk_42.off)\n"
              "        {\n"
              "            p_model->Blk_42.state = 0;\n"
              "        }\n"
              "        p_model->Blk_42.port0 = p_model->Blk_42.state;\n");
    EXPECT_EQ(bench.step_py(),
              "            if self.In0_100.port0 > self.Blk_42.on:\n"
              "                self.Blk_42.state = True\n"
              "            elif self.In0_100.port0 < self.Blk_42.off:\n"
              "                self.Blk_42.state = False\n"
              "            self.Blk_42.port0 = self.Blk_42.state\n");
}

}  // namespace
}  // namespace tessel::test
