// How parameters become values while types are worked out: which scope and text the workspace is asked, in which order,
// and what a failure leaves behind.
#include <gtest/gtest.h>

#include "tests/support/block_test.h"
#include "tests/support/scripted_bridge.h"

namespace tessel::test {
namespace {

struct asked_t {
    const char* key;
    const char* scope;
};

/// A class and its parameters in the order in which they are evaluated.
struct class_t {
    const char* name;
    std::size_t inputs;
    std::vector<asked_t> parameters;
};

const std::vector<class_t> classes{
    {"constant", 0, {{"expression", ""}}},
    {"step", 0, {{"initialValue", "_initial"}, {"finalValue", "_final"}, {"stepTime", "_step"}}},
    {"sinewave", 0, {{"frequency", "_frequency"}, {"phase", "_deg"}}},
    {"squarewave",
     0,
     {{"timeOff", "_time_off"}, {"timeOn", "_time_on"}, {"valueOff", "_value_off"}, {"valueOn", "_value_on"}}},
    {"random", 0, {{"max", "_max"}, {"min", "_min"}, {"seed", "_seed"}}},
    {"debounce", 1, {{"fall", "_fall"}, {"rise", "_rise"}}},
    {"hysteresis", 1, {{"valueOff", "_off"}, {"valueOn", "_on"}}},
    {"lerp", 1, {{"coeffA", "_coeff_a"}, {"coeffB", "_coeff_b"}}},
    {"poly1st", 1, {{"coeffA", "_coeff_a"}, {"coeffB", "_coeff_b"}}},
    {"unpack", 1, {{"coeffA", "_coeff_a"}, {"coeffB", "_coeff_b"}, {"lsb", "_lsb"}, {"msb", "_msb"}}},
    {"lut1d", 1, {{"bp1", "_bp"}, {"out", "_out"}}},
    {"lut2d", 2, {{"bp1", "_bp1"}, {"bp2", "_bp2"}, {"out", "_out"}}},
};

/// Classes whose parameters are single values.
std::vector<class_t> scalar_classes() { return {classes.begin(), classes.end() - 2}; }

Bench bench_of(const class_t& c) {
    Bench bench(c.name, std::vector<type_t>(c.inputs, type_flt64));
    bench.block().set_python_path("mainsys.sub.Blk");
    return bench;
}

/// Gives every parameter a text of its own, "text of <key>".
void write_texts(Bench& bench, const class_t& c) {
    for (const asked_t& p : c.parameters) bench.set_param(p.key, (std::string("text of ") + p.key).c_str());
}

ScriptedBridge::calls_t all_calls(const class_t& c) {
    ScriptedBridge::calls_t calls;
    for (const asked_t& p : c.parameters)
        calls.emplace_back(std::string("mainsys.sub.Blk") + p.scope, std::string("text of ") + p.key);
    return calls;
}

TEST(Parameters, TextsAreEvaluatedInTheirScopesInOrder) {
    for (const class_t& c : scalar_classes()) {
        SCOPED_TRACE(c.name);
        ScriptedBridge bridge;
        Bench bench = bench_of(c);
        write_texts(bench, c);
        for (const asked_t& p : c.parameters) bridge.values[std::string("text of ") + p.key] = {result_ok, var_t(2.0)};
        EXPECT_EQ(bench.block().calculate_type(), result_ok);
        EXPECT_EQ(bridge.calls, all_calls(c));
        EXPECT_FALSE(bench.block().failed());
        EXPECT_NE(bench.output_type(), type_unknown);
    }
}

TEST(Parameters, AllCallsAreMadeAndTheFirstFailureIsTheResult) {
    for (const class_t& c : scalar_classes())
        for (std::size_t good = 0; good < c.parameters.size(); ++good) {
            SCOPED_TRACE(c.name);
            ScriptedBridge bridge;
            Bench bench = bench_of(c);
            write_texts(bench, c);
            // the first `good` texts succeed, the next has a code of its own, the rest fails with -1
            for (std::size_t i = 0; i <= good; ++i)
                bridge.values[std::string("text of ") + c.parameters[i].key] = {
                    i < good ? result_ok : result_goto_duplicated, var_t(2.0)};
            EXPECT_EQ(bench.block().calculate_type(), result_goto_duplicated);
            EXPECT_EQ(bridge.calls, all_calls(c));
            EXPECT_TRUE(bench.block().failed());
        }
}

TEST(Parameters, AFailedBlockKeepsItsOutputUntyped) {
    for (const class_t& c : classes) {
        if (std::string(c.name) == "debounce" || std::string(c.name) == "hysteresis") continue;  // typed by the factory
        SCOPED_TRACE(c.name);
        ScriptedBridge bridge;
        Bench bench = bench_of(c);
        EXPECT_NE(bench.block().calculate_type(), result_ok);
        EXPECT_EQ(bench.output_type(), type_unknown);
    }
}

TEST(Parameters, ASecondTryWithGoodTextsClearsTheFailedFlag) {
    for (const class_t& c : scalar_classes()) {
        SCOPED_TRACE(c.name);
        Bench bench = bench_of(c);
        {
            ScriptedBridge bridge;
            EXPECT_EQ(bench.block().calculate_type(), result_failure);
            EXPECT_TRUE(bench.block().failed());
        }
        EXPECT_EQ(bench.block().calculate_type(), result_ok);
        EXPECT_FALSE(bench.block().failed());
    }
}

TEST(Parameters, NumbersAreTakenAsTheyAre) {
    for (const class_t& c : scalar_classes()) {
        SCOPED_TRACE(c.name);
        ScriptedBridge bridge;
        Bench bench = bench_of(c);
        for (const asked_t& p : c.parameters) bench.block().param(p.key) = var_t(2);
        EXPECT_EQ(bench.block().calculate_type(), result_ok);
        EXPECT_TRUE(bridge.calls.empty());
        EXPECT_FALSE(bench.block().failed());
    }
}

// The first parameter decides: a text behind a number is no expression but the number that it spells, or 0.
TEST(Parameters, TextBehindANumberIsTheNumberThatItSpells) {
    ScriptedBridge bridge;
    Bench bench("step", {});
    bench.block().param("initialValue") = var_t(7);
    bench.set_param("finalValue", "2.5");
    bench.set_param("stepTime", "some_name");
    bench.typed();
    EXPECT_TRUE(bridge.calls.empty());
    EXPECT_EQ(bench.init_c(),
              "    p_model->Blk_42.value_init = 7;\n"
              "    p_model->Blk_42.value_final = 2.5;\n"
              "    p_model->Blk_42.step_time = 0;\n");
    Runnable run(bench);
    EXPECT_EQ(run.step(0.0).out<double>(), 7.0);
    EXPECT_EQ(run.step(0.5).out<double>(), 2.5);
}

TEST(Parameters, NumberBehindATextIsEvaluatedAsItIsWritten) {
    ScriptedBridge bridge;
    bridge.values["a"] = {result_ok, var_t(1.5)};
    bridge.values["-3"] = {result_ok, var_t(-3)};
    bridge.values["2.5"] = {result_ok, var_t(2.5)};
    Bench bench("step", {});
    bench.block().set_python_path("mainsys.Blk");
    bench.set_param("initialValue", "a");
    bench.block().param("finalValue") = var_t(-3);
    bench.block().param("stepTime") = var_t(2.5);
    bench.typed();
    const ScriptedBridge::calls_t expected{
        {"mainsys.Blk_initial", "a"}, {"mainsys.Blk_final", "-3"}, {"mainsys.Blk_step", "2.5"}};
    EXPECT_EQ(bridge.calls, expected);
}

// Where the coefficients are told apart one by one, only the texts among them are expressions.
TEST(Parameters, CoefficientsAreTextsOrNumbersEach) {
    for (const char* name : {"lerp", "poly1st", "unpack"}) {
        SCOPED_TRACE(name);
        ScriptedBridge bridge;
        bridge.values["b"] = {result_ok, var_t(4.0)};
        bridge.values["0"] = {result_ok, var_t(0)};
        Bench bench(name, {type_flt64});
        bench.block().set_python_path("mainsys.Blk");
        bench.block().param("coeffA") = var_t(3);
        bench.set_param("coeffB", "b");
        bench.typed();
        ASSERT_FALSE(bridge.calls.empty());
        EXPECT_EQ(bridge.calls[0], (std::pair<std::string, std::string>("mainsys.Blk_coeff_b", "b")));
        EXPECT_EQ(bridge.calls.size(), std::string(name) == "unpack" ? 3u : 1u);
        Runnable run(bench);
        run.put(0.0).step();
        EXPECT_EQ(run.out<double>(), std::string(name) == "lerp" ? 3.0 : 4.0);
    }
}

TEST(Parameters, ConstantTakesThePlainPathAndTheTagOfItsValue) {
    ScriptedBridge bridge;
    bridge.values["k"] = {result_ok, var_t(static_cast<unsigned short>(9))};
    Bench bench("constant", {});
    bench.block().set_python_path("mainsys.sub.Blk");
    bench.set_param("expression", "k");
    EXPECT_EQ(bench.typed().output_type(), type_uint16);
    EXPECT_EQ(bridge.calls, (ScriptedBridge::calls_t{{"mainsys.sub.Blk", "k"}}));
}

// It does so even when the evaluation has failed behind the value.
TEST(Parameters, ConstantIsTypedByWhateverItsValueHolds) {
    ScriptedBridge bridge;
    bridge.values["k"] = {result_bad_parameter, var_t(1.0f)};
    Bench bench("constant", {});
    bench.set_param("expression", "k");
    EXPECT_EQ(bench.block().calculate_type(), result_bad_parameter);
    EXPECT_TRUE(bench.block().failed());
    EXPECT_EQ(bench.output_type(), type_flt32);
}

// ---- lists
python::var_array_t list_of(std::initializer_list<double> values, std::uint64_t rows, std::uint64_t columns) {
    python::var_array_t list;
    for (const double v : values) list.values.emplace_back(v);
    list.dimensions = {rows, columns};
    return list;
}

TEST(Parameters, ListsAreEvaluatedInTheirScopesInOrder) {
    for (const class_t& c : {classes[classes.size() - 2], classes.back()}) {
        SCOPED_TRACE(c.name);
        ScriptedBridge bridge;
        Bench bench = bench_of(c);
        write_texts(bench, c);
        EXPECT_EQ(bench.block().calculate_type(), result_failure);
        EXPECT_EQ(bridge.calls, all_calls(c));
        EXPECT_TRUE(bench.block().failed());
    }
}

TEST(Parameters, ListsAreEvaluatedOnce) {
    for (const char* name : {"lut1d", "lut2d"}) {
        SCOPED_TRACE(name);
        Bench bench(name, std::vector<type_t>(std::string(name) == "lut1d" ? 1 : 2, type_flt64));
        bench.typed();
        const ScriptedBridge bridge;
        EXPECT_EQ(bench.block().calculate_type(), result_ok);
        EXPECT_TRUE(bridge.calls.empty());
    }
}

// The dimensions are compared before the results are looked at; a failed list has 0 and 0.
TEST(Parameters, MismatchedDimensionsWinOverTheBridgesFailure) {
    ScriptedBridge bridge;
    Bench bench("lut1d", {type_flt64});
    bench.set_param("bp1", "bp");
    bench.set_param("out", "values");
    const auto result_with = [&](result_t bp, python::var_array_t bp_list, result_t out, python::var_array_t out_list) {
        bridge.lists["bp"] = {bp, std::move(bp_list)};
        bridge.lists["values"] = {out, std::move(out_list)};
        const result_t result = bench.block().calculate_type();
        EXPECT_EQ(bench.block().failed(), result != result_ok);
        return result;
    };
    const auto two = list_of({0, 1}, 2, 1), row = list_of({0, 1}, 1, 2);
    const python::var_array_t none;
    EXPECT_EQ(result_with(result_failure, none, result_ok, two), result_table_mismatch);
    EXPECT_EQ(result_with(result_ok, two, result_failure, none), result_table_mismatch);
    EXPECT_EQ(result_with(result_ok, two, result_ok, row), result_table_mismatch);
    EXPECT_EQ(result_with(result_goto_duplicated, none, result_failure, none), result_goto_duplicated);
    EXPECT_EQ(result_with(result_ok, none, result_goto_duplicated, none), result_goto_duplicated);
    EXPECT_EQ(result_with(result_ok, row, result_ok, row), result_ok);
}

TEST(Parameters, TableMustBeAsLargeAsItsBreakpointsSay) {
    ScriptedBridge bridge;
    Bench bench("lut2d", {type_flt64, type_flt64});
    for (const char* key : {"bp1", "bp2", "out"}) bench.set_param(key, key);
    const auto result_with = [&](std::uint64_t rows, std::uint64_t columns, result_t out) {
        bridge.lists["bp1"] = {result_ok, list_of({0, 1}, 2, 1)};
        bridge.lists["bp2"] = {result_ok, list_of({0, 1, 2}, 3, 1)};
        bridge.lists["out"] = {out, list_of({1, 2, 3, 4, 5, 6}, rows, columns)};
        const result_t result = bench.block().calculate_type();
        EXPECT_EQ(bench.block().failed(), result != result_ok);
        return result;
    };
    EXPECT_EQ(result_with(3, 2, result_ok), result_table_mismatch);
    EXPECT_EQ(result_with(6, 1, result_ok), result_table_mismatch);
    EXPECT_EQ(result_with(2, 2, result_failure), result_table_mismatch);
    EXPECT_EQ(result_with(2, 3, result_goto_duplicated), result_goto_duplicated);
    EXPECT_EQ(result_with(2, 3, result_ok), result_ok);
}

TEST(Parameters, FirstFailureOfThreeListsIsTheResult) {
    ScriptedBridge bridge;
    Bench bench("lut2d", {type_flt64, type_flt64});
    for (const char* key : {"bp1", "bp2", "out"}) bench.set_param(key, key);
    bridge.lists["bp2"] = {result_goto_duplicated, {}};
    EXPECT_EQ(bench.block().calculate_type(), result_failure);
    bridge.lists["bp1"] = {result_ok, {}};
    EXPECT_EQ(bench.block().calculate_type(), result_goto_duplicated);
    EXPECT_EQ(bridge.calls.size(), 6u);
}

}  // namespace
}  // namespace tessel::test
