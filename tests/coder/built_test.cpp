// Generated projects, built and run: what the notes say of them holds, and the values are those of a run where they are
// meant to be. Needs a C compiler and a Python interpreter.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>

#include "coder_c.h"
#include "coder_py.h"
#include "core/literal_bridge.h"
#include "host/codenotes/notes.h"
#include "tests/coder/builders.h"
#include "tests/coder/fake_model.h"
#include "tests/coder/small_models.h"

namespace tessel::test {
namespace {

using zarn::dialect_t;

bool told(const std::vector<zarn::note_t>& notes, const char* what) {
    return std::any_of(notes.begin(), notes.end(), [&](const auto& note) { return note.what == what; });
}

std::string listed(const std::vector<zarn::note_t>& notes) {
    std::string all;
    for (const auto& note : notes) all += note.subject + ": " + note.what + ": " + note.sentence + "\n";
    return all;
}

/// A compiled diagram with its projects in a folder.
class Built {
public:
    explicit Built(std::unique_ptr<Diagram> diagram) : diagram_(std::move(diagram)) {
        notes_c_ = zarn::find_notes(diagram_->model(), dialect_t::c);
        EXPECT_EQ(coder_c::generate_code(folder_.text(), &diagram_->model()), result_ok);
        notes_py_ = zarn::find_notes(diagram_->model(), dialect_t::python);
        EXPECT_EQ(coder_py::generate_code(folder_.text(), &diagram_->model()), result_ok);
    }

    const std::vector<zarn::note_t>& notes(dialect_t language) const {
        return language == dialect_t::c ? notes_c_ : notes_py_;
    }

    std::filesystem::path c() const { return folder_.path() / "zarn-ccoder"; }
    std::filesystem::path py() const { return folder_.path() / "zarn-pcoder"; }
    outcome_t compile_c() const { return test::compile_c(c()); }
    values_t run_c(const values_t& times) const { return test::run_c(c(), times); }
    outcome_t parse_py() const { return test::parse_py(py()); }
    outcome_t try_py(const values_t& times) const { return test::try_py(py(), times); }
    values_t run_py(const values_t& times) const { return test::run_py(py(), times); }

    /// What a run records of block 42: the times and the values.
    std::pair<values_t, values_t> run() {
        EXPECT_EQ(diagram_->build()->run(), result_ok);
        const auto& bridge = python::literal_bridge();
        const std::string log = bridge.assigned("mainsys.Log").empty() ? "mainsys.Sub.Log" : "mainsys.Log";
        return {bridge.array(log + ".xdata"), bridge.array(log + ".ydata")};
    }

private:
    Folder folder_;
    std::unique_ptr<Diagram> diagram_;
    std::vector<zarn::note_t> notes_c_;  // taken before each generation, which reorders the blocks
    std::vector<zarn::note_t> notes_py_;
};

class Tools : public testing::Test {
protected:
    void SetUp() override {
        if (!has_builders()) GTEST_SKIP() << "needs cc and python3";
    }
};

// ---- notes: every small model
class Noted : public testing::TestWithParam<std::string> {
protected:
    void SetUp() override {
        if (!has_builders()) GTEST_SKIP() << "needs cc and python3";
    }
};

const values_t few{0.0, 0.25, 0.5};

TEST_P(Noted, TheCLibraryCompilesUnlessTheNotesSayOtherwise) {
    Built built(make_small_model(GetParam()));
    const auto notes = built.notes(dialect_t::c);
    const outcome_t compiled = built.compile_c();
    EXPECT_EQ(compiled.status != 0, told(notes, tessel::not_compiled)) << compiled.text << listed(notes);
}

TEST_P(Noted, ThePythonModelParsesAndRunsUnlessTheNotesSayOtherwise) {
    Built built(make_small_model(GetParam()));
    const auto notes = built.notes(dialect_t::python);
    const outcome_t parsed = built.parse_py();
    EXPECT_EQ(parsed.status != 0, told(notes, tessel::not_parsed)) << parsed.text << listed(notes);
    const outcome_t ran = built.try_py(few);
    EXPECT_EQ(ran.status != 0, told(notes, tessel::not_parsed) || told(notes, tessel::not_run))
        << ran.text << listed(notes);
}

std::vector<std::string> names() {
    std::vector<std::string> all;
    for (const auto& model : small_models()) all.push_back(model.name);
    return all;
}

INSTANTIATE_TEST_SUITE_P(Models, Noted, testing::ValuesIn(names()), [](const auto& test) { return test.param; });

// ---- values: a run and a generated program agree
struct agreement_t {
    const char* model;
    bool c = true;
    bool python = true;
    double tolerance = 0.0;
};

class Agreement : public testing::TestWithParam<agreement_t> {
protected:
    void SetUp() override {
        if (!has_builders()) GTEST_SKIP() << "needs cc and python3";
    }
    static void expect_near(const values_t& made, const values_t& expected, const char* language) {
        ASSERT_EQ(made.size(), expected.size()) << language;
        for (std::size_t i = 0; i < made.size(); ++i)
            EXPECT_NEAR(made[i], expected[i], GetParam().tolerance) << language << ", step " << i;
    }
};

TEST_P(Agreement, GeneratedProgramsComputeWhatARunComputes) {
    Built built(make_small_model(GetParam().model));
    const auto [times, values] = built.run();
    ASSERT_EQ(times.size(), 9u);
    ASSERT_EQ(values.size(), 9u);
    if (GetParam().c) expect_near(built.run_c(times), values, "C");
    if (GetParam().python) expect_near(built.run_py(times), values, "Python");
}

constexpr double last_bits = 1e-15, six_digits = 1e-4;

INSTANTIATE_TEST_SUITE_P(
    Models, Agreement,
    testing::Values(agreement_t{"abs", false}, agreement_t{"acc"}, agreement_t{"acc_reset"}, agreement_t{"acos"},
                    agreement_t{"add"}, agreement_t{"add_three", true, true, last_bits}, agreement_t{"asin"},
                    agreement_t{"atan"}, agreement_t{"clamp"}, agreement_t{"cos"}, agreement_t{"debounce"},
                    agreement_t{"delta", true, false}, agreement_t{"divide"}, agreement_t{"divide_int32", true, false},
                    agreement_t{"goto"}, agreement_t{"hysteresis"}, agreement_t{"lerp", true, true, last_bits},
                    agreement_t{"log"}, agreement_t{"logical_and", true, false},
                    agreement_t{"logical_nand", true, false}, agreement_t{"logical_nor", true, false},
                    agreement_t{"logical_or", true, false}, agreement_t{"lut1d"}, agreement_t{"lut2d", false},
                    agreement_t{"max_int32", true, false}, agreement_t{"min", true, false},
                    agreement_t{"min_int32", true, false}, agreement_t{"mod"}, agreement_t{"mod_int32"},
                    agreement_t{"multiply"}, agreement_t{"not"}, agreement_t{"poly1st"}, agreement_t{"pow", false},
                    agreement_t{"relational"}, agreement_t{"sin"}, agreement_t{"sinewave", true, true, six_digits},
                    agreement_t{"sqrt", false}, agreement_t{"subtract", false}, agreement_t{"switch"},
                    agreement_t{"tan"}, agreement_t{"time"}, agreement_t{"unpack", true, false}),
    [](const auto& test) { return std::string(test.param.model); });

// ---- values: where a generated program is meant to differ
class Difference : public Tools {};

const values_t times{0.0, 0.25, 0.5, 0.75, 1.0, 1.25, 1.5, 1.75, 2.0};

TEST_F(Difference, StepIsReversed) {
    Built built(make_small_model("step"));
    const values_t reversed{4, 4, 4, 4, 4, -1, -1, -1, -1};
    EXPECT_EQ(built.run().second, (values_t{-1, -1, -1, -1, -1, 4, 4, 4, 4}));
    EXPECT_EQ(built.run_c(times), reversed);
    EXPECT_EQ(built.run_py(times), reversed);
}

TEST_F(Difference, SubtractDividesInC) {
    Built built(make_small_model("subtract_three"));
    EXPECT_EQ(built.run().second.front(), 9.0);
    EXPECT_EQ(built.run_c({0.0}), (values_t{10.0 / 3.0 / 2.0}));
    EXPECT_EQ(built.run_py({0.0}), (values_t{5.0}));
}

TEST_F(Difference, IfGivesInputTwoWhateverTheCondition) {
    Built built(make_small_model("if"));
    EXPECT_EQ(built.run().second.front(), 1.5);
    EXPECT_EQ(built.run_c({0.0}), (values_t{2.5}));
    EXPECT_EQ(built.run_py({0.0}), (values_t{2.5}));
}

TEST_F(Difference, FloatMaximumStartsFarBelowZeroInC) {
    Built built(make_block_model("max", {"-5.0"}));
    EXPECT_EQ(built.run().second.back(), 2.2250738585072014e-308);
    EXPECT_EQ(built.run_c({0.0}), (values_t{-5.0}));
}

TEST_F(Difference, RandomDividesByARangeWithoutOne) {
    Built built(make_block_model("random", {}));
    EXPECT_EQ(built.run_c(times), values_t(9, 0.0));
    const auto values = built.run().second;
    EXPECT_EQ(std::count(values.begin(), values.end(), 0.0) + std::count(values.begin(), values.end(), 1.0), 9);
    EXPECT_GT(std::count(values.begin(), values.end(), 1.0), 0);
}

TEST_F(Difference, DebounceFallsWithoutDelay) {
    auto diagram = std::make_unique<Diagram>();
    diagram->set_time(0.0, 2.0, 0.25);
    diagram->add("time", "Clock", 20);
    diagram->add_constant("Limit", 21, "0.5");
    diagram->add("relational", "Early", 22, 0, {2, 0}).param("operator") = var_t("le");
    IMetaBlock& block = diagram->add("debounce", "Blk", 42);
    block.param("rise") = var_t("0.0");
    block.param("fall") = var_t("0.5");
    diagram->add("to_workspace", "Log", 44);
    diagram->link(20, 22, 0, 0);
    diagram->link(21, 22, 0, 1);
    diagram->link(22, 42);
    diagram->link(42, 44);
    ASSERT_EQ(diagram->compile(), result_ok);
    Built built(std::move(diagram));
    const values_t at_once{1, 1, 1, 0, 0, 0, 0, 0, 0};
    EXPECT_EQ(built.run_c(times), at_once);
    EXPECT_EQ(built.run_py(times), at_once);
    EXPECT_EQ(built.run().second, (values_t{1, 1, 1, 1, 1, 0, 0, 0, 0}));
}

TEST_F(Difference, SquareWaveStartsAtZeroAndNotAtTheOffValue) {
    Built built(make_small_model("squarewave"));
    const auto values = built.run().second;
    EXPECT_EQ(values, (values_t{-2, -2, 3, 3, 3, -2, -2, 3, 3}));
    const values_t from_zero{0, 0, 3, 3, 3, -2, -2, 3, 3};
    EXPECT_EQ(built.run_c(times), from_zero);
    EXPECT_EQ(built.run_py(times), from_zero);
}

TEST_F(Difference, TwoDimensionalTablesExtrapolateInCOnly) {
    Built built(make_small_model("lut2d"));
    const auto values = built.run().second;
    EXPECT_EQ(values, built.run_py(times));
    const auto made = built.run_c(times);
    ASSERT_EQ(made.size(), values.size());
    EXPECT_LT(made.front(), values.front());
    EXPECT_GT(made.back(), values.back());
    EXPECT_EQ(made[4], values[4]);
}

TEST_F(Difference, ACastIsLost) {
    Built built(make_small_model("cast"));
    EXPECT_EQ(built.run().second.front(), 45.0);
    EXPECT_EQ(built.run_c({0.0}), (values_t{301.0}));
}

TEST_F(Difference, AnExtremeOfABoolStartsAtAWordThatCDoesNotHave) {
    Built built(make_small_model("max_bool"));
    const outcome_t compiled = built.compile_c();
    EXPECT_NE(compiled.status, 0);
    EXPECT_NE(compiled.text.find("true"), std::string::npos) << compiled.text;
}

TEST_F(Difference, IntegerDivisorOfZeroEndsTheProgram) {
    Built built(make_block_model("divide", {"7", "0"}));
    EXPECT_EQ(built.run().second.front(), 0.0);
    EXPECT_NE(built.try_py({0.0}).status, 0);
}

// ---- subsystems
TEST_F(Difference, AnEnabledRegionRunsInCAsInARun) {
    Built built(make_small_model("enable"));
    const auto [seen, values] = built.run();
    EXPECT_EQ(seen, (values_t{0.75, 1.0, 1.25, 1.5, 1.75, 2.0}));
    const auto made = built.run_c(times);
    ASSERT_EQ(made.size(), 9u);
    EXPECT_EQ(values_t(made.begin() + 3, made.end()), values);
    EXPECT_EQ(made[2], 0.0);
}

TEST_F(Difference, WhatComesBeforeItsEnableBlockRunsInAGeneratedProgramOnly) {
    Built built(make_small_model("enable_early"));
    EXPECT_EQ(built.run().second.back(), 0.0);
    EXPECT_EQ(built.run_c(times), (values_t{0, 0, 0, 0.75, 1.75, 3, 4.5, 6.25, 8.25}));
    std::string never;
    for (const auto& note : built.notes(dialect_t::c))
        if (note.sentence.starts_with("a run never steps it")) never += note.subject + "; ";
    EXPECT_EQ(never, "In0_11 (time); Blk_42 (acc); ");
}

/// Two inports of one name, whose sum goes to an outport.
std::unique_ptr<Diagram> two_inports(const char* name) {
    auto diagram = std::make_unique<Diagram>();
    diagram->add_port("inport", name, 11, 0, 0);
    diagram->add_port("inport", name, 12, 0, 1);
    diagram->add("add", "Blk", 42, 0, {2, 1});
    diagram->add_port("outport", "y", 25, 0, 0);
    diagram->link(11, 42, 0, 0);
    diagram->link(12, 42, 0, 1);
    diagram->link(42, 25);
    EXPECT_EQ(diagram->compile(), result_ok);
    return diagram;
}

/// What init and a step make of the header "Time", "x", "u" and the line 0.5, 7, 2.5: the value of block 42 and the
/// name that the outport, which comes last, has got. The model stands in one unit with the program that declares its
/// columns.
std::string columns_in_c(const Built& built) {
    std::ofstream(built.c() / "columns.c")
        << "#define main program\n#include \"main.c\"\n#undef main\n#include \"model.c\"\nint main(void)\n{\n"
           "    char *header[] = {\"Time\", \"x\", \"u\"}, *line[] = {\"0.5\", \"7\", \"2.5\"};\n"
           "    static model_t m;\n    memcpy(FILE_INPUT_TOKENS, header, sizeof header);\n    init(&m);\n"
           "    memcpy(FILE_INPUT_TOKENS, line, sizeof line);\n    step(&m);\n"
           "    printf(\"%g %s\", (double) m.Blk_42.port0, m.y_25.name ? m.y_25.name : \"none\");\n    return 0;\n}\n";
    return shell("cd '" + built.c().string() +
                 "' && cc -x c -std=gnu17 -w columns.c coder.c -lm -o columns && ./columns")
        .text;
}
std::string columns_in_python(const Built& built) {
    std::ofstream(built.py() / "columns.py")
        << "import model\nmodel.header_input = ['Time', 'x', 'u']\nmodel.header_output = ['Time']\n"
           "model.buffer_output = [0]\nm = model.model_t()\nmodel.buffer_input = ['0.5', '7', '2.5']\nm.step()\n"
           "print(m.Blk_42.port0, m.y_25.name, end='')\n";
    return run_script(built.py(), "columns.py").text;
}

TEST_F(Difference, InportsOfOneNameReadOneColumn) {
    Built built(two_inports("u"));
    EXPECT_EQ(columns_in_c(built), "5 y");
    EXPECT_EQ(columns_in_python(built), "5.0 y");
}

// In C the first column's number also stands for a name that is not there, and init ends; in Python it is read.
TEST_F(Difference, AnInportOfTheFirstColumnEndsInitInC) {
    for (const char* name : {"Time", "unknown"}) {
        Built built(two_inports(name));
        EXPECT_EQ(columns_in_c(built), "1 none") << name;
        EXPECT_EQ(columns_in_python(built), "1.0 y") << name;
    }
}

// ---- whole projects
TEST_F(Difference, TheProjectItselfBuildsItsLibraryAndDoesNotLinkItsProgram) {
    if (!has_program("cmake")) GTEST_SKIP() << "needs cmake";
    Built built(make_small_model("sin"));
    const std::string source = built.c().string();
    const outcome_t configured = shell("cmake -S '" + source + "' -B '" + source + "/build'");
    ASSERT_EQ(configured.status, 0) << configured.text;
    const outcome_t library = shell("cmake --build '" + source + "/build' --target model");
    EXPECT_EQ(library.status, 0) << library.text;
    const outcome_t program = shell("cmake --build '" + source + "/build' --target executer");
    EXPECT_NE(program.status, 0);
    EXPECT_NE(program.text.find("undefined reference"), std::string::npos) << program.text;
    EXPECT_TRUE(told(built.notes(dialect_t::c), tessel::not_linked));
}

TEST_F(Difference, ThePythonProgramMakesOneStepWithoutFiles) {
    Built built(make_small_model("sin"));
    const outcome_t ran = run_script(built.py(), "main.py");
    EXPECT_EQ(ran.status, 0);
    EXPECT_EQ(ran.text, "Simulation step executed sucessfully\n");
}

TEST_F(Difference, ThePythonProgramReadsEveryOtherLine) {
    Built built(make_small_model("sin"));
    std::ofstream(built.py() / "in.txt") << "Time\n0\n1\n2\n3\n4\n5\n";
    const outcome_t ran = run_script(built.py(), "main.py in.txt out.txt");
    EXPECT_EQ(ran.text, "Simulation executed sucessfully\n");
    EXPECT_EQ(read_file(built.py() / "out.txt"), "Time\n1\n\n3\n\n5\n\n");
}

TEST_F(Difference, ThePythonProgramTakesFilesOnlyWhenTwoAreNamed) {
    Built built(make_small_model("sin"));
    std::ofstream(built.py() / "in.txt") << "Time\n0\n1\n";
    for (const char* arguments : {"in.txt", "in.txt out.txt more", "'' out.txt"}) {
        const outcome_t ran = run_script(built.py(), std::string("main.py ") + arguments);
        EXPECT_EQ(ran.status, 0) << arguments;
        EXPECT_EQ(ran.text, "Simulation step executed sucessfully\n") << arguments;
    }
    EXPECT_FALSE(std::filesystem::exists(built.py() / "out.txt"));
}

TEST_F(Difference, TheCProgramMakesOneStepWhateverFilesAreNamed) {
    Built built(make_small_model("display"));
    std::ofstream(built.c() / "in.txt") << "Time\n0\n1\n2\n";
    for (const char* arguments : {"", "in.txt", "in.txt out.txt", "in.txt out.txt more", "absent.txt"}) {
        const outcome_t ran = run_main_c(built.c(), arguments);
        EXPECT_EQ(ran.status, 0) << arguments;
        EXPECT_EQ(ran.text, "Blk = 1.5\n") << arguments;
    }
    EXPECT_FALSE(std::filesystem::exists(built.c() / "out.txt"));
    const outcome_t refused = run_main_c(built.c(), "absent.txt out.txt");
    EXPECT_EQ(refused.status, 255);
    EXPECT_EQ(refused.text, "");
}

// ---- columns of data files
TEST_F(Difference, InportsReadTheColumnOfTheirName) {
    auto diagram = std::make_unique<Diagram>();
    diagram->add("inport", "u", 1);
    diagram->add("inport", "u", 2);
    diagram->add("inport", "Time", 3);
    diagram->add("inport", "late", 4);
    diagram->add("outport", "y", 5);
    diagram->link(1, 5);
    ASSERT_EQ(diagram->compile(), result_ok);
    Built built(std::move(diagram));
    // a miss and the first column look alike to C, which leaves init there: nothing behind it is initialised
    const outcome_t c = run_body_c(built.c(),
                                   "    static model_t m;\n"
                                   "    char header[] = \"Time\\tu\\tlate\\n\", line[] = \"7\\t3\\t5\\n\";\n"
                                   "    tokenize(header, '\\t', FILE_INPUT_TOKENS);\n"
                                   "    init(&m);\n"
                                   "    tokenize(line, '\\t', FILE_INPUT_TOKENS);\n"
                                   "    step(&m);\n"
                                   "    printf(\"%g %g %g %g, %g, %s\\n\", m.u_1.port0, m.u_2.port0, m.Time_3.port0,\n"
                                   "           m.late_4.port0, FILE_OUTPUT_VALUES[0],\n"
                                   "           FILE_OUTPUT_NAMES[0] ? FILE_OUTPUT_NAMES[0] : \"no name\");\n");
    EXPECT_EQ(c.status, 0);
    EXPECT_EQ(c.text, "3 3 7 7, 3, no name\n");

    std::ofstream(built.py() / "driver.py") << "import model\n"
                                               "model.header_input = ['Time', 'u', 'late']\n"
                                               "model.header_output = ['Time']\n"
                                               "model.buffer_input = ['7', '3', '5']\n"
                                               "model.buffer_output = ['7']\n"
                                               "m = model.model_t()\n"
                                               "m.step()\n"
                                               "print(m.u_1.port0, m.u_2.port0, m.Time_3.port0, m.late_4.port0)\n"
                                               "print(model.header_output, model.buffer_output, m.y_5.port0)\n";
    const outcome_t py = run_script(built.py(), "driver.py");
    EXPECT_EQ(py.status, 0);
    EXPECT_EQ(py.text, "3.0 3.0 7.0 5.0\n['Time', 'y'] ['7', '3.0'] 3.0\n");
}

// ---- expressions
TEST_F(Difference, ThePythonProgramEvaluatesAnExpressionItself) {
    auto diagram = make_block_model("poly1st", {"2.5"}, {{"coeffA", "1.0"}, {"coeffB", "0.0"}});
    diagram->model().find_block(11)->param("expression") = var_t("math.sqrt(2.25)");
    Built built(std::move(diagram));
    EXPECT_EQ(built.run_c({0.0}), (values_t{2.5}));
    EXPECT_EQ(built.run_py({0.0}), (values_t{1.5}));
}

}  // namespace
}  // namespace tessel::test
