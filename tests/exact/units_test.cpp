// What becomes of models as programs: names, inputs and outputs, what is refused, what the code looks like.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>

#include "coder/exact/layout.h"
#include "coder/exact/names.h"
#include "coder/exact/project.h"
#include "coder/exact/rules.h"
#include "core/format.h"
#include "exec/ExecModel.h"
#include "tests/exact/program.h"
#include "tests/support/diagram.h"
#include "tests/support/shell.h"
#include "tests/support/temp_folder.h"

namespace tessel::test {
namespace {

using exact::constant_text;
using exact::keep_t;
using exact::options_t;
using exact::role_t;
using exact::unit_t;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

unit_t unit_of(Diagram& diagram, options_t options = {.name = "demo"}) {
    if (diagram.compile() != result_ok) throw std::runtime_error("does not compile");
    const auto exec = diagram.build();
    exec->bind();
    return exact::make_unit(diagram.model(), diagram.properties(), *exec, options);
}

std::string refusal_of(Diagram& diagram, const options_t& options) {
    try {
        unit_of(diagram, options);
    } catch (const exact::Refusal& refusal) {
        return refusal.what();
    }
    return "nothing is refused";
}

std::vector<std::string> places(const unit_t& unit, role_t role) {
    std::vector<std::string> found;
    for (const auto number : unit.of(role)) found.push_back(unit.cell(number).access);
    return found;
}

std::string code_of(const unit_t& unit) { return exact::write_source(unit).text; }

/// in -> sum <- memory <- sum: adds up what comes in. sum -> out.
void add_integrator(Diagram& diagram, const char* name = "sum") {
    diagram.add_port("inport", "in", 1, 0, 0);
    diagram.add("add", name, 2, 0, {2, 1});
    diagram.add("memory", "last", 3);
    diagram.add_port("outport", "out", 4, 0, 0);
    diagram.link(1, 2, 0, 0);
    diagram.link(3, 2, 0, 1);
    diagram.add("cast", "typed", 5);
    diagram.link(2, 5);
    diagram.link(5, 3);
    diagram.link(2, 4);
}

TEST(ExactUnits, HaveRootInportsAndOutports) {
    Diagram diagram;
    add_integrator(diagram);
    const unit_t unit = unit_of(diagram);
    EXPECT_THAT(places(unit, role_t::input), ElementsAre("inputs.in"));
    EXPECT_THAT(places(unit, role_t::output), ElementsAre("outputs.out"));
    EXPECT_THAT(places(unit, role_t::signal), ElementsAre("signals.last", "signals.sum"));
    EXPECT_EQ(unit.cell(unit.find(1)->cell).access, "inputs.in");
    EXPECT_EQ(unit.cell(unit.find("mainsys.sum")->cell).access, "signals.sum");
    EXPECT_EQ(unit.find("mainsys.none"), nullptr);
    EXPECT_THAT(code_of(unit), HasSubstr("    m->signals.sum = m->inputs.in + m->signals.last;\n"));
}

TEST(ExactUnits, KeepOnlyWhatMustLiveWhereNothingElseIsAskedFor) {
    Diagram diagram;
    add_integrator(diagram);
    const unit_t unit = unit_of(diagram, {.name = "demo", .keep = keep_t::ports});
    EXPECT_THAT(code_of(unit), HasSubstr("    const double last = m->signals.sum;\n"
                                         "    m->signals.sum = m->inputs.in + last;\n"));
    EXPECT_FALSE(unit.cell(unit.find(3)->cell).kept);
}

/// A memory in a subsystem that reads a signal of the root: blocks of the root may not all come first.
TEST(ExactUnits, ReadTheStepBeforeAheadOfWhoWritesIt) {
    for (const char* source : {"time", "step", "sinewave", "squarewave", "random"}) {
        Diagram diagram;
        diagram.add(source, "source", 1);
        diagram.add("abs", "signal", 2);
        diagram.add("goto", "send", 3).param("target") = var_t("signal");
        diagram.add("subsys", "sub", 4);
        diagram.add("from", "receive", 5, 4).param("target") = var_t("signal");
        diagram.add("memory", "last", 6, 4);
        diagram.link(1, 2);
        diagram.link(2, 3);
        diagram.link(5, 6);
        const std::string code = code_of(unit_of(diagram));
        const auto read = code.find("m->signals.sub.last = m->signals.signal;"), step = code.find("demo_step");
        ASSERT_NE(read, std::string::npos) << code;
        EXPECT_LT(read, code.find("m->signals.signal = ", step)) << source;
    }
}

TEST(ExactUnits, KeepWiresWithALabel) {
    Diagram diagram;
    diagram.add("time", "clock", 1);
    diagram.add("abs", "a", 2);
    diagram.add("abs", "b", 3);
    diagram.add_port("outport", "out", 4, 0, 0);
    diagram.link(1, 2);
    diagram.properties().insert_link(2, 3, 0, 0, "speed");
    diagram.link(3, 4);
    const unit_t unit = unit_of(diagram, {.name = "demo", .keep = keep_t::named});
    EXPECT_TRUE(unit.cell(unit.find(2)->cell).kept);
    EXPECT_FALSE(unit.cell(unit.find(3)->cell).kept);
}

TEST(ExactUnits, InlineParameters) {
    Diagram diagram;
    diagram.add("time", "clock", 1);
    diagram.add_constant("gain", 2, "0.1");
    diagram.add("multiply", "product", 3, 0, {2, 1});
    diagram.link(1, 3, 0, 0);
    diagram.link(2, 3, 0, 1);
    EXPECT_THAT(code_of(unit_of(diagram)), HasSubstr("m->signals.clock * m->parameters.gain;"));
    const std::string inlined = code_of(unit_of(diagram, {.name = "demo", .inline_parameters = true}));
    EXPECT_THAT(inlined, HasSubstr("static const double demo_gain = 0.1;"));
    EXPECT_THAT(inlined, HasSubstr("m->signals.clock * demo_gain;"));
    EXPECT_THAT(inlined, Not(HasSubstr("parameters")));
}

// ---- names

TEST(ExactNames, AreIdentifiers) {
    EXPECT_EQ(exact::identifier("speed"), "speed");
    EXPECT_EQ(exact::identifier("2nd speed"), "_2nd_speed");
    EXPECT_EQ(exact::identifier("double"), "double_");
    EXPECT_EQ(exact::identifier("class"), "class_");
    EXPECT_EQ(exact::identifier("_Bool"), "x_Bool");
    EXPECT_EQ(exact::identifier("gr\xC3\xBC\xC3\x9F"), "gr____");
    for (const char* name : {"", "int", "a b", "1", "_A"}) EXPECT_FALSE(exact::is_identifier(name)) << name;
    EXPECT_TRUE(exact::is_identifier("motor_2"));
}

TEST(ExactNames, OfNeighboursDiffer) {
    exact::Names names;
    const auto name = [&names](const char* path, const char* class_name, std::uint64_t id) {
        return exact::join(names.of(path, class_name, id), ".");
    };
    names.note("heat.boost", "inport");
    names.note("heat.boost", "outport");
    names.note("heat", "abs");
    names.note("gain", "abs");
    names.note("gain", "abs");
    names.note("twice", "add");
    names.note("twice", "abs");
    names.note("twice_abs", "add");
    EXPECT_EQ(name("heat.boost", "inport", 1), "heat.boost_inport");
    EXPECT_EQ(name("heat.boost", "outport", 2), "heat.boost_outport");
    EXPECT_EQ(name("heat", "abs", 3), "heat_abs");
    EXPECT_EQ(name("gain", "abs", 4), "gain_4");
    EXPECT_EQ(name("twice", "abs", 5), "twice_5");
    EXPECT_EQ(name("twice", "add", 6), "twice_add");
}

TEST(ExactNames, StayWhenAnotherBlockIsAdded) {
    const auto signals = [](bool with_another) {
        Diagram diagram;
        add_integrator(diagram);
        if (with_another) {
            diagram.add("abs", "another", 9);
            diagram.link(1, 9);
        }
        return places(unit_of(diagram), role_t::signal);
    };
    for (const std::string& name : signals(false)) EXPECT_THAT(signals(true), Contains(name));
}

// ---- refusals

TEST(ExactUnits, RefuseNamesThatCDoesNotTake) {
    Diagram diagram;
    add_integrator(diagram);
    EXPECT_THAT(refusal_of(diagram, {.name = "int"}), HasSubstr("'int' is no name"));
    EXPECT_THAT(refusal_of(diagram, {.name = "a-b"}), HasSubstr("'a-b' is no name"));
    EXPECT_THAT(refusal_of(diagram, {.name = "demo", .subsystem = "nowhere"}),
                HasSubstr("nowhere: there is no subsystem"));
}

/// Two ways through a subsystem, of which the second goes in where the first came out.
void add_crossed(Diagram& diagram) {
    diagram.add("time", "clock", 1);
    diagram.add("subsys", "part", 2, 0, {2, 2});
    for (const int i : {0, 1}) {
        const std::string n = std::to_string(i);
        const auto id = static_cast<std::uint64_t>(10 + 3 * i);
        diagram.add_port("inport", ("u" + n).c_str(), id, 2, i);
        diagram.add("abs", ("a" + n).c_str(), id + 1, 2);
        diagram.add_port("outport", ("y" + n).c_str(), id + 2, 2, i);
        diagram.link(id, id + 1);
        diagram.link(id + 1, id + 2);
    }
    diagram.add("sqrt", "around", 3);
    diagram.link(1, 2, 0, 0);
    diagram.link(2, 3, 0, 0);
    diagram.link(3, 2, 0, 1);
}

TEST(ExactUnits, RefuseAPartThatNoSingleStepComputes) {
    Diagram diagram;
    add_crossed(diagram);
    EXPECT_THAT(
        refusal_of(diagram, {.name = "demo", .subsystem = "part"}),
        HasSubstr("mainsys.part.u1: it reads mainsys.around, which depends in the same step on what mainsys.part"));
}

TEST(ExactUnits, TellWhatNeverRuns) {
    Diagram diagram;
    diagram.add("subsys", "late", 1);
    diagram.add("time", "clock", 2);
    diagram.add("abs", "a", 3);
    diagram.add("relational", "on", 4, 0, {2, 1});
    diagram.add("enable", "enable", 5, 1, {1, 0});
    diagram.add_constant("inside", 6, "3.5", 1);
    diagram.link(2, 3);
    diagram.link(2, 4, 0, 0);
    diagram.link(3, 4, 0, 1);
    diagram.link(4, 1, 0, -1);
    const unit_t unit = unit_of(diagram);
    EXPECT_THAT(unit.notes, Contains(HasSubstr("mainsys.late.inside never runs")));
    EXPECT_TRUE(unit.cell(unit.find(6)->cell).kept);
    EXPECT_THAT(code_of(unit), Not(HasSubstr("m->signals.late.inside = m->")));
}

/// A subsystem within another one, both with an enable block: the inner one is off where the outer one is.
TEST(ExactUnits, SwitchOffWhatIsInsideOfWhatIsOff) {
    Diagram diagram;
    diagram.add("time", "clock", 1);
    diagram.add("subsys", "outer", 2);
    diagram.add("enable", "enable", 3, 2, {1, 0});
    diagram.add("subsys", "inner", 4, 2);
    diagram.add("enable", "enable", 5, 4, {1, 0});
    diagram.add("abs", "first", 6, 4);
    diagram.add("abs", "second", 10, 4);
    diagram.add("abs", "third", 11, 4);
    diagram.add("goto", "send", 7).param("target") = var_t("on");
    diagram.add("from", "receive", 8, 2).param("target") = var_t("on");
    diagram.add("from", "receive", 9, 4).param("target") = var_t("on");
    diagram.link(1, 2, 0, -1);
    diagram.link(1, 7);
    diagram.link(8, 4, 0, -1);
    diagram.link(9, 6);
    diagram.link(6, 10);
    diagram.link(10, 11);
    const std::string code = code_of(unit_of(diagram));
    EXPECT_THAT(code, HasSubstr("const bool outer_enable = m->signals.clock != 0.0;"));
    EXPECT_THAT(code, HasSubstr("const bool outer_inner_enable = outer_enable && (m->signals.clock != 0.0);"));
}

// ---- text

TEST(ExactText, NumbersReadAsPeopleWriteThem) {
    const auto real = [](double v) { return constant_text(type_flt64, bits_of(v)); };
    EXPECT_EQ(real(0.1), "0.1");
    EXPECT_EQ(real(-0.0), "-0.0");
    EXPECT_EQ(real(24.0), "24.0");
    EXPECT_EQ(real(1e300), "1e+300");
    EXPECT_EQ(real(0.1 + 0.2), "0x1.3333333333334p-2");
    EXPECT_EQ(real(-1.0 / 3.0), "-0x1.5555555555555p-2");
    EXPECT_EQ(real(HUGE_VAL), "(double)INFINITY");
    EXPECT_EQ(real(-HUGE_VAL), "-(double)INFINITY");
    EXPECT_EQ(real(std::nan("")), "(double)NAN");
    EXPECT_EQ(constant_text(type_flt32, bits_of(0.1f)), "0.1f");
    EXPECT_EQ(constant_text(type_flt32, bits_of(1.0f / 3.0f)), "0x1.555556p-2f");
    EXPECT_EQ(constant_text(type_int32, bits_of(std::numeric_limits<std::int32_t>::min())), "INT32_MIN");
    EXPECT_EQ(constant_text(type_int64, bits_of(std::int64_t{-5})), "-INT64_C(5)");
    EXPECT_EQ(constant_text(type_uint64, bits_of(~std::uint64_t{0})), "UINT64_C(18446744073709551615)");
    EXPECT_EQ(constant_text(type_uint32, bits_of(7u)), "7u");
    EXPECT_EQ(constant_text(type_int8, bits_of(std::int8_t{-128})), "-128");
    EXPECT_EQ(constant_text(type_bool, 1), "true");
}

TEST(ExactText, HasTheRulesThatItCallsAndNoOthers) {
    exact::Rules rules("demo");
    EXPECT_EQ(rules.text(), "");
    EXPECT_EQ(rules.use("f64_to_u32"), "demo_f64_to_u32");
    const std::string text = rules.text();
    EXPECT_THAT(text, HasSubstr("static inline int64_t demo_f64_to_i64(double v)"));
    EXPECT_THAT(text, Not(HasSubstr("i32")));
    EXPECT_FALSE(rules.need_sizes() || rules.need_math());
    rules.use("interpolate2d");
    EXPECT_THAT(rules.text(), HasSubstr("} demo_axis_t;"));
    EXPECT_TRUE(rules.need_sizes());
    rules.use("divide_i32");
    EXPECT_THAT(rules.text(), HasSubstr("if (b == -1) return (int32_t)(0u - (uint32_t)a);"));
    rules.use("between");
    EXPECT_TRUE(rules.need_math());
}

/// A parameter can be changed to any value between steps.
TEST(ExactText, KeepsShiftsWithinTheWord) {
    Diagram diagram;
    diagram.add("time", "clock", 1);
    diagram.add("unpack", "field", 2);
    diagram.link(1, 2);
    EXPECT_THAT(code_of(unit_of(diagram)), HasSubstr("(m->parameters.field.shift % 32u)"));
}

TEST(ExactText, IncludesMathematicsOnlyWhereUsed) {
    Diagram plain;
    add_integrator(plain);
    EXPECT_THAT(code_of(unit_of(plain)), Not(HasSubstr("math.h")));
    Diagram curved;
    curved.add("time", "clock", 1);
    curved.add("sin", "wave", 2);
    curved.link(1, 2);
    EXPECT_THAT(code_of(unit_of(curved)), HasSubstr("#include <math.h>"));
}

TEST(ExactText, HoldsNamesThatWouldEndAComment) {
    Diagram diagram;
    add_integrator(diagram);
    const unit_t unit = unit_of(diagram, {.name = "demo", .model = "a*/b.json"});
    EXPECT_THAT(code_of(unit), HasSubstr("a* /b.json"));
    EXPECT_THAT(code_of(unit), Not(HasSubstr("a*/b")));
}

// ---- layout

/// Members of all sizes, as the compiler of this machine places them.
TEST(ExactLayout, IsThatOfTheCompiler) {
    Diagram diagram;
    diagram.add("time", "clock", 1);
    std::uint64_t id = 10;
    for (const char* type : {"bool", "int8", "int64", "uint16", "flt32", "uint8", "int32", "flt64"}) {
        auto& cast = diagram.add("cast", (std::string("to_") + type).c_str(), id);
        cast.param("type") = var_t(type);
        diagram.add("memory", (std::string("of_") + type).c_str(), id + 1);
        diagram.link(1, id);
        diagram.link(id, id + 1);
        id += 2;
    }
    auto& table = diagram.add("lut1d", "table", 5);
    table.param("bp1") = var_t("[0.0, 1.0, 2.0]");
    table.param("out") = var_t("[0.0, 5.0, 6.0]");
    diagram.link(1, 5);
    const unit_t unit = unit_of(diagram);
    const ::test::TempFolder folder;
    const Library library(folder.path(), {&unit}, "gcc -std=c99");
    struct symbol_t {
        const char *access, *path;
        std::int32_t port;
        const char *role, *type;
        std::uint64_t offset, size;
    };
    const auto* symbol = static_cast<const symbol_t*>(library.symbol("demo_symbols"));
    const auto told = exact::places_of(unit);
    std::map<std::string, std::size_t> offsets;
    for (const auto& [cell, offset] : told.offsets) offsets[unit.cell(cell).access] = offset;
    const auto count = *static_cast<const std::uint32_t*>(library.symbol("demo_symbol_count"));
    EXPECT_EQ(count, offsets.size());
    EXPECT_GT(count, 10u);
    for (std::uint32_t i = 0; i < count; ++i)
        EXPECT_EQ(offsets.at(symbol[i].access), symbol[i].offset) << symbol[i].access;
}

TEST(ExactText, TellsTheLineOfEachBlock) {
    Diagram diagram;
    add_integrator(diagram);
    const unit_t unit = unit_of(diagram);
    std::vector<std::size_t> lines;
    const std::string text = exact::write_source(unit, &lines).text;
    ASSERT_EQ(lines.size(), unit.statements.size());
    for (std::size_t i = 0; i < lines.size(); ++i) {
        std::size_t at = 0;
        for (std::size_t line = 1; line < lines[i]; ++line) at = text.find('\n', at) + 1;
        const auto& target = unit.cell(unit.statements[i].target).access;
        EXPECT_TRUE(text.substr(at).starts_with("    m->" + target + " = ")) << text.substr(at, 60);
    }
}

}  // namespace
}  // namespace tessel::test
