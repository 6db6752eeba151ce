#include <gtest/gtest.h>

#include <limits>

#include "tests/support/slow_math.h"
#include "tests/support/walk.h"

namespace tessel::test {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr type_t value_type_list[] = {type_bool,   type_int8,  type_uint8,  type_int16, type_uint16, type_int32,
                                      type_uint32, type_int64, type_uint64, type_flt32, type_flt64};

/// The types of a row on all ports, whatever the class's rule says.
void force(Bench& bench, const signature_t& row) {
    bench.forced({row.types.begin(), row.types.begin() + row.inputs + row.outputs});
}

template <class... T>
bool related(const char* op, T... v) {
    Bench bench("relational", {type_of<T>...});
    bench.set_param("operator", op);
    return Runnable(bench.typed()).put(v...).step().template out<bool>();
}

template <class... B>
bool combined(const char* op, B... v) {
    Bench bench("logical", {type_of<B>...});
    bench.set_param("operator", op);
    return Runnable(bench.typed()).put(v...).step().template out<bool>();
}

// ---- logical
struct connective_t {
    const char* word;
    bool all, negated;
};
constexpr connective_t connectives[] = {
    {"and", true, false}, {"or", false, false}, {"nand", true, true}, {"nor", false, true}};

TEST(Logical, EveryCombination) {
    EXPECT_EQ(accepted("logical").size(), 7u);
    for (const connective_t& op : connectives) {
        SCOPED_TRACE(op.word);
        walk({"logical",
              [&op](std::span<const value_t> in, type_t output) -> std::optional<value_t> {
                  const auto on = static_cast<std::size_t>(std::ranges::count(in, 1u, &value_t::bits));
                  const bool plain = op.all ? on == in.size() : on > 0;
                  return value_t{output, plain != op.negated ? 1u : 0u};
              },
              [&op](Bench& bench, const signature_t&) {
                  bench.set_param("operator", op.word);
                  bench.typed();
              }});
    }
}

TEST(Logical, TwoInputs) {
    EXPECT_TRUE(combined("nor", false, false));
    EXPECT_FALSE(combined("nor", false, true));
    EXPECT_TRUE(combined("nand", false, true));
    EXPECT_FALSE(combined("and", false, true));
    EXPECT_TRUE(combined("or", false, true));
}

TEST(Logical, OneOrNineInputsDoNotRun) {
    EXPECT_FALSE(Runnable(Bench("logical", {type_bool}).typed()));
    EXPECT_FALSE(Runnable(Bench("logical", std::vector<type_t>(9, type_bool)).typed()));
    EXPECT_TRUE(Runnable(Bench("logical", std::vector<type_t>(8, type_bool)).typed()));
}

TEST(Logical, InputsAreBoolWhateverFeedsThem) {
    Bench bench("logical", {type_flt64, type_int8, type_unknown});
    bench.typed();
    for (std::size_t i = 0; i < 3; ++i) EXPECT_EQ(bench.input_type(i), type_bool);
    EXPECT_EQ(bench.output_type(), type_bool);

    Runnable run(bench);
    auto number = make_feed(type_flt64);
    Runnable::write(number->output(0), value(nan));
    run->input(0)->connect(*number, 0);
    run.set(1, value(true)).set(2, value(true));
    EXPECT_TRUE(run.step().out<bool>());
}

template <class Text>
void unknown_operator(const char* class_name, Text text) {
    Bench bench(class_name, {type_bool, type_bool});
    bench.block().param("operator") = text;
    EXPECT_EQ(bench.block().calculate_type(), result_bad_parameter);
    EXPECT_TRUE(bench.block().failed());
    EXPECT_EQ(bench.input_type(0), type_unknown);
    bench.forced({type_bool, type_bool, type_bool});
    EXPECT_FALSE(Runnable(bench));
}

TEST(Logic, UnknownOperatorsFail) {
    for (const char* name : {"logical", "relational"}) {
        unknown_operator(name, var_t("xor"));
        unknown_operator(name, var_t("AND"));
        unknown_operator(name, var_t("&&"));
        unknown_operator(name, var_t(""));
        unknown_operator(name, var_t(3));
        unknown_operator(name, var_t());
    }
    unknown_operator("logical", var_t("eq"));
    unknown_operator("relational", var_t("and"));
}

TEST(Logic, KnownOperatorsDoNotFail) {
    for (const connective_t& op : connectives) {
        Bench bench("logical", {type_bool, type_bool});
        bench.set_param("operator", op.word);
        EXPECT_EQ(bench.block().calculate_type(), result_ok);
        EXPECT_FALSE(bench.block().failed());
    }
}

TEST(Logical, DefaultIsAnd) {
    Bench bench("logical", {type_bool, type_bool});
    EXPECT_FALSE(Runnable(bench.typed()).put(true, false).step().out<bool>());
    EXPECT_TRUE(Runnable(bench).put(true, true).step().out<bool>());
}

TEST(Logical, PlainText) {
    Bench bench("logical", {type_bool, type_bool, type_bool});
    bench.typed().set_tier(1);
    EXPECT_EQ(bench.step_c(),
              "        p_model->Blk_42.port0 = \n"
              "            p_model->In0_100.port0&&\n"
              "            p_model->In1_101.port1&&\n"
              "            p_model->In2_102.port2;\n");
    EXPECT_EQ(bench.code_result(), result_ok);
    EXPECT_EQ(bench.step_py(),
              "            self.Blk_42.port0 = "
              "                self.In0_100.port0and "
              "                self.In1_101.port1and "
              "                self.In2_102.port2\n ");
    EXPECT_EQ(bench.code_result(), result_ok);

    bench.set_param("operator", "or");
    bench.set_tier(0);
    EXPECT_EQ(bench.step_c(),
              "    p_model->Blk_42.port0 = \n"
              "        p_model->In0_100.port0||\n"
              "        p_model->In1_101.port1||\n"
              "        p_model->In2_102.port2;\n");
    EXPECT_EQ(bench.step_py(),
              "        self.Blk_42.port0 = "
              "            self.In0_100.port0or "
              "            self.In1_101.port1or "
              "            self.In2_102.port2\n ");
}

TEST(Logical, NegatedText) {
    Bench bench("logical", {type_bool, type_bool, type_bool});
    bench.set_param("operator", "nand");
    bench.typed().set_tier(1);
    EXPECT_EQ(bench.step_c(),
              "        p_model->Blk_42.port0 = !(\n"
              "            p_model->In0_100.port0&&\n"
              "            p_model->In1_101.port1&&\n"
              "            p_model->In2_102.port2);\n");
    EXPECT_EQ(bench.code_result(), result_ok);
    EXPECT_EQ(bench.step_py(),
              "            self.Blk_42.port0 = not (self.In0_100.port0and self.In1_101.port1and "
              "self.In2_102.port2)\n ");
    EXPECT_EQ(bench.code_result(), result_ok);

    bench.set_param("operator", "nor");
    bench.set_tier(0);
    EXPECT_EQ(bench.step_c(),
              "    p_model->Blk_42.port0 = !(\n"
              "        p_model->In0_100.port0||\n"
              "        p_model->In1_101.port1||\n"
              "        p_model->In2_102.port2);\n");
    EXPECT_EQ(bench.step_py(),
              "        self.Blk_42.port0 = not (self.In0_100.port0or self.In1_101.port1or self.In2_102.port2)\n ");
}

TEST(Logical, UnknownOperatorWritesNothing) {
    Bench bench("logical", {type_bool, type_bool});
    bench.set_param("operator", "xor");
    EXPECT_EQ(bench.step_c(), "");
    EXPECT_EQ(static_cast<std::uint8_t>(bench.code_result()), 255);
    EXPECT_EQ(bench.step_py(), "");
    EXPECT_EQ(static_cast<std::uint8_t>(bench.code_result()), 255);
}

TEST(Logic, StructAndInitAreTheCommonOnes) {
    const std::vector<type_t> three{type_bool, type_flt32, type_flt32};
    struct case_t {
        std::string name;
        std::vector<type_t> sources;
        std::string c_type, type;
    };
    const case_t cases[] = {{"logical", three, "bool", "bool"},
                            {"not", {type_bool}, "bool", "bool"},
                            {"relational", {type_int8, type_int8}, "bool", "bool"},
                            {"if", three, "float", "flt32"},
                            {"switch", three, "float", "flt32"}};
    for (const case_t& each : cases) {
        Bench bench(each.name.c_str(), each.sources);
        bench.typed().set_tier(2);
        EXPECT_EQ(bench.struct_c(),
                  "typedef struct\n{\n    " + each.c_type + " port0;\n} " + each.name + "_" + each.type + "_t;\n\n");
        EXPECT_EQ(bench.struct_py(),
                  "class " + each.name + "_t():\n    def __init__(self):\n        self.port0 = 0\n\n");
        EXPECT_EQ(bench.init_c(), "    // no initialization is required\n");
        EXPECT_EQ(bench.init_py(), "        # no initialization is required\n");
    }
}

// ---- not
TEST(Not, EveryCombination) {
    EXPECT_EQ(accepted("not").size(), 11u);
    walk({"not",
          [](std::span<const value_t> in, type_t output) -> std::optional<value_t> {
              return convert_to(output, value(equal(in[0], value_t{output, 0})));
          },
          force});
}

TEST(Not, PresetsBool) {
    Bench bench("not", {type_flt64});
    bench.typed();
    EXPECT_EQ(bench.input_type(0), type_bool);
    EXPECT_EQ(bench.output_type(), type_bool);
}

TEST(Not, OneForZero) {
    const auto negated = [](auto v) {
        using T = decltype(v);
        Bench bench("not", {type_of<T>});
        return Runnable(bench.forced({type_of<T>, type_of<T>})).put(v).step().template out<T>();
    };
    EXPECT_EQ(negated(std::int32_t{7}), 0);
    EXPECT_EQ(negated(std::int32_t{0}), 1);
    EXPECT_EQ(negated(2.5), 0.0);
    EXPECT_EQ(negated(0.0), 1.0);
    EXPECT_EQ(negated(-0.0), 1.0);
    EXPECT_EQ(negated(nan), 0.0);
    EXPECT_FALSE(negated(true));
}

TEST(Not, GeneratedText) {
    Bench bench("not", {type_bool});
    bench.typed().set_tier(1);
    EXPECT_EQ(bench.step_c(), "        p_model->Blk_42.port0 = !p_model->In0_100.port0;\n");
    EXPECT_EQ(bench.code_result(), result_ok);
    EXPECT_EQ(bench.step_py(), "            self.Blk_42.port0 = not self.In0_100.port0\n");
    EXPECT_EQ(bench.code_result(), result_ok);
}

// ---- relational
struct comparison_t {
    const char* word;
    const char* token;
    bool (*holds)(const value_t& a, const value_t& b);
};
constexpr comparison_t comparisons[] = {
    {"eq", "==", [](const value_t& a, const value_t& b) { return equal(a, b); }},
    {"ne", "!=", [](const value_t& a, const value_t& b) { return !equal(a, b); }},
    {"lt", "<", [](const value_t& a, const value_t& b) { return less(a, b); }},
    {"le", "<=", [](const value_t& a, const value_t& b) { return less(a, b) || equal(a, b); }},
    {"gt", ">", [](const value_t& a, const value_t& b) { return less(b, a); }},
    {"ge", ">=", [](const value_t& a, const value_t& b) { return less(b, a) || equal(a, b); }},
};

TEST(Relational, EveryCombination) {
    EXPECT_EQ(accepted("relational").size(), 11u);
    for (const comparison_t& op : comparisons) {
        SCOPED_TRACE(op.word);
        walk({"relational",
              [&op](std::span<const value_t> in, type_t) -> std::optional<value_t> {
                  return value(op.holds(in[0], in[1]));
              },
              [&op](Bench& bench, const signature_t&) {
                  bench.set_param("operator", op.word);
                  bench.typed();
              }});
    }
}

TEST(Relational, NotANumberDiffersFromEverything) {
    EXPECT_TRUE(related("ne", nan, nan));
    for (const char* op : {"eq", "lt", "le", "gt", "ge"}) {
        EXPECT_FALSE(related(op, nan, nan)) << op;
        EXPECT_FALSE(related(op, nan, 1.0)) << op;
    }
    EXPECT_TRUE(related("ge", std::uint64_t{1} << 63, std::uint64_t{1}));
    EXPECT_TRUE(related("lt", std::int8_t{-1}, std::int8_t{1}));
}

TEST(Relational, DefaultIsEqual) { EXPECT_TRUE((run_once<bool>("relational", 2.5, 2.5))); }

TEST(Relational, TwoInputsOfOneTypeRun) {
    EXPECT_FALSE(Runnable(Bench("relational", {type_flt64, type_int32}).typed()));
    EXPECT_FALSE(Runnable(Bench("relational", {type_flt64}).typed()));
    EXPECT_FALSE(Runnable(Bench("relational", {type_flt64, type_flt64, type_flt64}).typed()));
    Bench bench("relational", {type_flt64, type_int32});
    EXPECT_EQ(bench.typed().output_type(), type_bool);
    EXPECT_EQ(bench.input_type(1), type_int32);
}

TEST(Relational, GeneratedText) {
    for (const comparison_t& op : comparisons) {
        Bench bench("relational", {type_flt64, type_flt64});
        bench.set_param("operator", op.word);
        bench.typed().set_tier(1);
        const std::string token = op.token;
        EXPECT_EQ(bench.step_c(),
                  "        p_model->Blk_42.port0 = p_model->In0_100.port0 " + token + " p_model->In1_101.port1;\n");
        EXPECT_EQ(bench.code_result(), result_ok);
        EXPECT_EQ(bench.step_py(),
                  "            self.Blk_42.port0 = self.In0_100.port0 " + token + " self.In1_101.port1\n");
        EXPECT_EQ(bench.code_result(), result_ok);
        EXPECT_EQ(bench.struct_c(), "typedef struct\n{\n    bool port0;\n} relational_bool_t;\n\n");
    }
}

TEST(Relational, UnknownOperatorWritesAnEmptyToken) {
    Bench bench("relational", {type_flt64, type_flt64});
    bench.set_param("operator", "equals");
    EXPECT_EQ(bench.step_c(), "    p_model->Blk_42.port0 = p_model->In0_100.port0  p_model->In1_101.port1;\n");
    EXPECT_EQ(bench.code_result(), result_ok);
    EXPECT_EQ(bench.step_py(), "        self.Blk_42.port0 = self.In0_100.port0  self.In1_101.port1\n");
    EXPECT_EQ(bench.code_result(), result_ok);
}

// ---- if
TEST(If, EveryCombination) {
    EXPECT_EQ(accepted("if").size(), 11u);
    walk({"if", [](std::span<const value_t> in, type_t output) -> std::optional<value_t> {
              EXPECT_EQ(in[0].type, type_bool);
              EXPECT_EQ(in[1].type, output);
              return in[0].bits != 0 ? in[1] : in[2];
          }});
}

TEST(If, UnfedConditionTakesTheSecondChoice) {
    Bench bench("if", {type_bool, type_flt64, type_flt64});
    Runnable run(bench.typed());
    run.set(1, value(1.5)).set(2, value(2.5));
    EXPECT_EQ(run.step().out<double>(), 2.5);
}

TEST(If, ConditionIsBoolWhateverFeedsIt) {
    Bench bench("if", {type_flt64, type_int8, type_int8});
    bench.typed();
    EXPECT_EQ(bench.input_type(0), type_bool);
    EXPECT_EQ(bench.output_type(), type_int8);
    EXPECT_TRUE(Runnable(bench));
    EXPECT_FALSE(Runnable(Bench("if", {type_bool, type_int8, type_flt64}).typed()));
}

TEST(If, TextNamesTheSecondChoiceTwice) {
    Bench bench("if", {type_bool, type_flt64, type_flt64});
    bench.typed().set_tier(1);
    EXPECT_EQ(bench.step_c(),
              "        p_model->Blk_42.port0 = p_model->In0_100.port0 ? p_model->In2_102.port2 : "
              "p_model->In2_102.port2;\n");
    EXPECT_EQ(bench.code_result(), result_ok);
    EXPECT_EQ(bench.step_py(),
              "            self.Blk_42.port0 = self.In2_102.port2 if self.In0_100.port0 else self.In2_102.port2\n");
    EXPECT_EQ(bench.code_result(), result_ok);
}

// ---- switch
value_t chosen(std::span<const value_t> in) {
    const int128 index = integer_of(convert_to(type_int8, in[0]));
    return index >= 0 && index + 2 < static_cast<int>(in.size()) ? in[static_cast<std::size_t>(index) + 2] : in[1];
}

TEST(Switch, SelectsInEveryTypeAndCount) {
    EXPECT_EQ(accepted("switch").size(), 60u);
    for (const signature_t& row : accepted("switch")) {
        const type_t type = row.types[0];
        SCOPED_TRACE(std::string(short_name(type)) + " " + std::to_string(row.inputs));
        EXPECT_NE(type, type_bool);
        for (const type_t each : input_types(row)) EXPECT_EQ(each, type);
        EXPECT_EQ(output_type(row), type);

        Bench bench("switch", std::vector<type_t>(row.inputs, type));
        bench.typed();
        EXPECT_EQ(bench.output_type(), type);
        Runnable run(bench), lowered(bench);
        ASSERT_TRUE(run);
        EXPECT_EQ(run->id(), 42u);
        std::vector<value_t> inputs;
        for (std::size_t i = 0; i < row.inputs; ++i) {
            inputs.push_back(convert_to(type, value(static_cast<std::int8_t>(100 + i))));
            run.set(i, inputs[i]);
        }
        auto selectors = edge_values(type);
        for (std::int16_t index = -2; index < 10; ++index) selectors.push_back(convert_to(type, value(index)));
        for (const value_t& selector : selectors) {
            inputs[0] = selector;
            ASSERT_EQ(run.set(0, selector).step().output(), chosen(inputs)) << selector;
            ASSERT_EQ(lowered.step_lowered(inputs).output(), chosen(inputs)) << selector;
        }
    }
}

TEST(Switch, AcceptsTenTypesAndThreeToEightInputs) {
    std::size_t count = 0;
    for (const type_t type : value_type_list)
        for (std::size_t inputs = 3; inputs <= 9; ++inputs) {
            Bench bench("switch", std::vector<type_t>(inputs, type));
            const bool runs = type != type_bool && inputs <= 8;
            std::vector<type_t> types(inputs + 1, type);
            types[0] = type_int8;
            EXPECT_EQ(static_cast<bool>(Runnable(bench.forced(types))), runs) << short_name(type) << " " << inputs;
            count += runs ? 1 : 0;
        }
    EXPECT_EQ(count, 60u);
}

// The selector's port is of the output's type in the runnable object, and so converts what feeds it.
TEST(Switch, SelectorRunsInTheTypeOfTheOutput) {
    Bench bench("switch", {type_int8, type_flt64, type_flt64, type_flt64});
    bench.typed();
    EXPECT_EQ(bench.input_type(0), type_int8);
    EXPECT_EQ(bench.output_type(), type_flt64);
    Runnable run(bench);
    EXPECT_EQ(run->input(0)->type(), type_flt64);
    run.put(0.9, 1.0, 2.0, 3.0);
    EXPECT_EQ(run.step().out<double>(), 2.0);
    EXPECT_EQ(run.set(0, value(256.0)).step().out<double>(), 2.0);
    EXPECT_EQ(run.set(0, value(1.0)).step().out<double>(), 3.0);
    EXPECT_EQ(run.set(0, value(nan)).step().out<double>(), 2.0);
    EXPECT_EQ(run.set(0, value(-1.0)).step().out<double>(), 1.0);
}

TEST(Switch, FiveInputs) {
    EXPECT_EQ((run_once<std::int32_t>("switch", 2, 11, 12, 13, 14)), 14);
    EXPECT_EQ((run_once<std::int32_t>("switch", 3, 11, 12, 13, 14)), 11);
    EXPECT_EQ((run_once<std::int32_t>("switch", -1, 11, 12, 13, 14)), 11);
}

TEST(Switch, FillsUntypedInputs) {
    Bench bench("switch", {type_int8, type_unknown, type_flt32, type_unknown});
    bench.block().output(0)->set_type(type_flt32);
    bench.typed();
    EXPECT_EQ(bench.input_type(1), type_unknown);
    EXPECT_TRUE(Runnable(bench));
    EXPECT_EQ(bench.input_type(0), type_int8);
    EXPECT_EQ(bench.input_type(1), type_flt32);
    EXPECT_EQ(bench.input_type(2), type_flt32);
    EXPECT_EQ(bench.input_type(3), type_flt32);
}

TEST(Switch, MixedInputsRunInTheTypeOfTheOutput) {
    Bench bench("switch", {type_int8, type_int16, type_flt32});
    Runnable run(bench.typed());
    ASSERT_TRUE(run);
    EXPECT_EQ(run->input(1)->type(), type_flt32);
}

TEST(Switch, StepInC) {
    Bench bench("switch", {type_int8, type_flt64, type_flt64, type_flt64});
    bench.typed().set_tier(1);
    EXPECT_EQ(bench.step_c(),
              "        switch((int) p_model->In0_100.port0)\n"
              "        {\n"
              "            case 0: p_model->Blk_42.port0 = p_model->In2_102.port2; break;\n"
              "            case 1: p_model->Blk_42.port0 = p_model->In3_103.port3; break;\n"
              "            default: p_model->Blk_42.port0 = p_model->In1_101.port1; break; \n"
              "        }\n");
    EXPECT_EQ(bench.code_result(), result_ok);
}

TEST(Switch, StepInPython) {
    Bench bench("switch", {type_int8, type_flt64, type_flt64, type_flt64});
    bench.typed().set_tier(1);
    EXPECT_EQ(bench.step_py(),
              "            if self.In0_100.port0 == 0:\n"
              "                self.Blk_42.port0 = self.In2_102.port2\n"
              "            elif self.In0_100.port0 == 1:\n"
              "                self.Blk_42.port0 = self.In3_103.port3\n"
              "            else:\n"
              "                self.Blk_42.port0 = self.In1_101.port1\n");
    EXPECT_EQ(bench.code_result(), result_ok);
}

TEST(Switch, NineInputsHaveTheCasesUpToInputSeven) {
    Bench bench("switch", std::vector<type_t>(9, type_flt64));
    bench.typed();
    EXPECT_FALSE(Runnable(bench));
    EXPECT_EQ(bench.step_c(),
              "    switch((int) p_model->In0_100.port0)\n"
              "    {\n"
              "        case 0: p_model->Blk_42.port0 = p_model->In2_102.port2; break;\n"
              "        case 1: p_model->Blk_42.port0 = p_model->In3_103.port3; break;\n"
              "        case 2: p_model->Blk_42.port0 = p_model->In4_104.port4; break;\n"
              "        case 3: p_model->Blk_42.port0 = p_model->In5_105.port5; break;\n"
              "        case 4: p_model->Blk_42.port0 = p_model->In6_106.port6; break;\n"
              "        case 5: p_model->Blk_42.port0 = p_model->In7_107.port7; break;\n"
              "        default: p_model->Blk_42.port0 = p_model->In1_101.port1; break; \n"
              "    }\n");
    EXPECT_EQ(bench.step_py(),
              "        if self.In0_100.port0 == 0:\n"
              "            self.Blk_42.port0 = self.In2_102.port2\n"
              "        elif self.In0_100.port0 == 1:\n"
              "            self.Blk_42.port0 = self.In3_103.port3\n"
              "        elif self.In0_100.port0 == 2:\n"
              "            self.Blk_42.port0 = self.In4_104.port4\n"
              "        elif self.In0_100.port0 == 3:\n"
              "            self.Blk_42.port0 = self.In5_105.port5\n"
              "        elif self.In0_100.port0 == 4:\n"
              "            self.Blk_42.port0 = self.In6_106.port6\n"
              "        elif self.In0_100.port0 == 5:\n"
              "            self.Blk_42.port0 = self.In7_107.port7\n"
              "        else:\n"
              "            self.Blk_42.port0 = self.In1_101.port1\n");
}

}  // namespace
}  // namespace tessel::test
