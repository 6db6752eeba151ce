// The notes on generated projects that a build alone does not show.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

#include "core/literal_bridge.h"
#include "factory.h"
#include "framework/classes.h"
#include "host/codenotes/notes.h"
#include "host/codenotes/regions.h"
#include "host/codenotes/texts.h"
#include "tests/coder/fake_model.h"
#include "tests/coder/small_models.h"

namespace tessel::test {
namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::Not;
using lines_t = std::vector<std::string>;

lines_t lines_of(IMetaModel& model, dialect_t language) { return zarn::notes_for(model, language); }

lines_t lines_of(const char* small_model, dialect_t language) {
    const auto diagram = make_small_model(small_model);
    return zarn::notes_for(diagram->model(), language);
}

TEST(Notes, AreLinesOfSubjectKindAndSentence) {
    EXPECT_THAT(lines_of("abs", dialect_t::c),
                Contains("Blk_42 (abs): does not compile: its text calls std::abs, which C does not have"));
    EXPECT_THAT(lines_of("subtract", dialect_t::c), Contains("Blk_42 (subtract): differs: it divides"));
    EXPECT_THAT(lines_of("max", dialect_t::python),
                Contains("Blk_42 (max): does not parse: its condition is not followed by a colon"));
}

TEST(Notes, OnTheProjectStandFirst) {
    const lines_t c = lines_of("sin", dialect_t::c);
    ASSERT_GE(c.size(), 3u);
    EXPECT_THAT(c[0], HasSubstr("project: does not link: "));
    EXPECT_THAT(c[1], HasSubstr("project: differs: "));
    EXPECT_THAT(lines_of("sin", dialect_t::python)[0], HasSubstr("project: differs: main reads every other line"));
}

TEST(Notes, FollowTheOrderOfTheGeneratedText) {
    const auto diagram = make_small_model("subsystem");
    std::vector<std::string> subjects;
    for (const auto& note : zarn::find_notes(diagram->model(), dialect_t::c))
        if (note.what == tessel::not_compiled) subjects.push_back(note.subject);
    EXPECT_EQ(subjects, (lines_t{"u_24 (inport)", "y_25 (outport)"}));
}

TEST(Notes, KeepTheOrderOfTheModel) {
    const auto diagram = make_small_model("nested");
    std::vector<const IMetaBlock*> before, after;
    for (const auto& block : diagram->model()) before.push_back(block.get());
    zarn::find_notes(diagram->model(), dialect_t::python);
    for (const auto& block : diagram->model()) after.push_back(block.get());
    EXPECT_EQ(after, before);

    FakeModel model;
    model.add_null();
    model.add("a");
    model.add_null();
    zarn::find_notes(model, dialect_t::c);
    EXPECT_EQ(model.blocks[0], nullptr);
    EXPECT_NE(model.blocks[1], nullptr);
    EXPECT_EQ(model.blocks[2], nullptr);
}

TEST(Notes, AreOfTheKindsThatThereAre) {
    const std::set<std::string> kinds{not_compiled, not_parsed, not_run, differs};
    for (const class_row_t& row : factory::class_rows())
        for (const text_note_t& note : row.traits().text.notes) {
            EXPECT_TRUE(kinds.contains(note.what)) << row.name;
            EXPECT_FALSE(note.dialect != dialect_t::python && std::string_view(note.what) == not_parsed) << row.name;
        }
}

TEST(Notes, DependOnTheTypesAtHand) {
    const auto integers = make_block_model("mod", {"7", "2"});
    EXPECT_THAT(lines_of(integers->model(), dialect_t::c), Not(Contains(HasSubstr("does not compile"))));
    const auto floats = make_block_model("mod", {"7.0", "2.0"});
    EXPECT_THAT(lines_of(floats->model(), dialect_t::c), Not(Contains(HasSubstr("(mod)"))));
    EXPECT_THAT(lines_of("add", dialect_t::c), Not(Contains(HasSubstr("(add)"))));
    EXPECT_THAT(lines_of("add_three", dialect_t::c),
                Contains(HasSubstr("(add): differs: it is computed from the left")));
    const auto flags = make_block_model("add", {"True", "True"});
    EXPECT_THAT(lines_of(flags->model(), dialect_t::c), Contains(HasSubstr("(add): differs: a bool holds the number")));
}

TEST(Notes, AnIntegerRemainderOfACastFloatDoesNotCompile) {
    Diagram diagram;
    diagram.add("mod", "Blk", 42);
    diagram.add("cast", "Cast", 30).param("type") = var_t("int32");
    diagram.add_constant("In0", 11, "7.5");
    diagram.add_constant("In1", 12, "2");
    diagram.link(11, 30);
    diagram.link(30, 42, 0, 0);
    diagram.link(12, 42, 0, 1);
    ASSERT_EQ(diagram.compile(), result_ok);
    const lines_t lines = lines_of(diagram.model(), dialect_t::c);
    EXPECT_THAT(lines, Contains("Blk_42 (mod): does not compile: its text takes the integer remainder of a float"));
    EXPECT_THAT(lines, Contains("Blk_42 (mod): differs: input 0 is read as flt64; a run converts it to int32 first"));
}

TEST(Notes, TruthTestsNeedNoConversion) {
    EXPECT_THAT(lines_of("logical_and", dialect_t::c), Not(Contains(HasSubstr("is read as"))));
    EXPECT_THAT(lines_of("not", dialect_t::python), Not(Contains(HasSubstr("is read as"))));
    EXPECT_THAT(lines_of("cast", dialect_t::python), Contains(HasSubstr("input 0 is read as flt64")));
}

TEST(Notes, NamesThatAreNoIdentifiers) {
    Diagram diagram;
    diagram.add("time", "2 fast", 5);
    diagram.add("display", "say \"hi\" 100%", 6);
    diagram.link(5, 6);
    ASSERT_EQ(diagram.compile(), result_ok);
    const lines_t c = lines_of(diagram.model(), dialect_t::c);
    EXPECT_THAT(c, Contains("2 fast_5 (time): does not compile: '2 fast' is no identifier"));
    EXPECT_THAT(c, Contains(HasSubstr("(display): does not compile: its name stands between quotes")));
    EXPECT_THAT(c, Contains(HasSubstr("(display): differs: its name holds a percent sign")));
    const lines_t py = lines_of(diagram.model(), dialect_t::python);
    EXPECT_THAT(py, Contains("2 fast_5 (time): does not parse: '2 fast' is no identifier"));
    EXPECT_THAT(py, Not(Contains(HasSubstr("percent"))));
}

TEST(Notes, SixDigitsAreToldWhereTheyAreTooFew) {
    const auto fine = make_block_model("poly1st", {"t"}, {{"coeffA", "0.123456"}, {"coeffB", "-1e-9"}});
    EXPECT_THAT(lines_of(fine->model(), dialect_t::c), Not(Contains(HasSubstr("six digits"))));
    const auto cut = make_block_model("poly1st", {"t"}, {{"coeffA", "0.1234567"}});
    EXPECT_THAT(lines_of(cut->model(), dialect_t::c),
                Contains("Blk_42 (poly1st): differs: \"coeffA\" is written with six digits"));
    EXPECT_THAT(lines_of(cut->model(), dialect_t::python), Contains(HasSubstr("six digits")));
    const auto pasted = make_block_model("hysteresis", {"t"}, {{"valueOn", "1234567"}});
    EXPECT_THAT(lines_of(pasted->model(), dialect_t::c), Contains(HasSubstr("\"valueOn\" is written with six digits")));
    EXPECT_THAT(lines_of(pasted->model(), dialect_t::python), Not(Contains(HasSubstr("six digits"))));
}

TEST(Notes, WorkspaceNamesDoNotExistInAProgram) {
    FakeModel model;
    auto constant = factory::create("constant");
    constant->set_name("Gain");
    constant->param("expression") = var_t("2 * math.pi * k0");
    constant->output(0)->set_type(type_flt64);
    model.blocks.push_back(std::move(constant));
    EXPECT_THAT(
        lines_of(model, dialect_t::python),
        Contains("Gain_0 (constant): does not run: \"expression\" is written as '2 * math.pi * k0', and there is "
                 "no 'k0' in the program"));
    EXPECT_THAT(lines_of(model, dialect_t::c), Not(Contains(HasSubstr("k0"))));
}

TEST(Notes, TablesOfOneTypeShareAStructure) {
    python::literal_bridge().clear();
    Diagram diagram;
    diagram.add("time", "t", 5);
    for (const std::uint64_t id : {6u, 7u}) {
        IMetaBlock& table = diagram.add("lut1d", "Table", id);
        if (id == 7) table.param("bp1") = table.param("out") = var_t("[0.0, 1.0, 2.0, 3.0]");
        diagram.add("display", "d", id + 10);
        diagram.link(5, id);
        diagram.link(id, id + 10);
    }
    ASSERT_EQ(diagram.compile(), result_ok);
    EXPECT_THAT(
        lines_of(diagram.model(), dialect_t::c),
        Contains("Table_7 (lut1d): differs: its structure is that of Table_6 (lut1d), whose table is of another "
                 "size"));
    EXPECT_THAT(lines_of(diagram.model(), dialect_t::python), Not(Contains(HasSubstr("structure"))));
}

TEST(Notes, AMemoryBehindAnotherSourceMayNotDelay) {
    EXPECT_THAT(lines_of("memory", dialect_t::c),
                Contains(HasSubstr("(memory): differs: its source may come before it")));
    const auto constant = make_block_model("memory", {"1.5"});
    EXPECT_THAT(lines_of(constant->model(), dialect_t::c), Not(Contains(HasSubstr("(memory)"))));
}

// ---- regions
constexpr std::uint64_t root = 0, sub = 70, inner = 71;

lines_t kinds(FakeModel& model, dialect_t language) {
    lines_t found;
    for (const auto& note : zarn::region_notes(model, language)) found.push_back(note.subject + ": " + note.what);
    return found;
}

TEST(RegionNotes, BracesThatMatchNeedNone) {
    FakeModel model;
    model.add("a", root, 0);
    model.add("b", sub, 1);
    model.add("c", inner, 2);
    model.add("d", sub, 1);
    EXPECT_TRUE(kinds(model, dialect_t::c).empty());
}

TEST(RegionNotes, AJumpOutOfTwoLevelsLeavesABraceOpen) {
    FakeModel model;
    model.add("a", sub, 1);
    model.add("b", inner, 2);
    model.add("c", root, 0);
    EXPECT_EQ(kinds(model, dialect_t::c), (lines_t{"a_1 (fake): does not compile"}));
}

TEST(RegionNotes, ABraceTooManyEndsTheFunction) {
    FakeModel model;
    model.add("a", sub, 0);
    EXPECT_EQ(kinds(model, dialect_t::c), (lines_t{"a_1 (fake): does not compile"}));
}

TEST(RegionNotes, ARegionOutsideOfTheOneAroundItDiffers) {
    FakeModel model;
    model.add("b", inner, 2);
    model.add("c", root, 0);
    EXPECT_EQ(kinds(model, dialect_t::c), (lines_t{"b_1 (fake): differs"}));
}

TEST(RegionNotes, ABlockBehindItsGatedRegionDiffers) {
    FakeModel model;
    FakeBlock flag("Flag", 9, 0, 0);
    FakeBlock gate("Gate", 8, 0, 0, 0);
    gate.input(0)->link(&flag, 0);
    model.enables[1] = &gate;
    model.add("a", sub, 1);
    model.add("b", root, 0);
    model.add("c", sub, 1);
    EXPECT_EQ(kinds(model, dialect_t::c), (lines_t{"c_3 (fake): differs", "c_3 (fake): does not compile"}));
}

TEST(RegionNotes, PythonRegionsOfLevelOneLeaveTheMethod) {
    FakeModel model;
    model.add("a", root, 0);
    model.add("b", sub, 1);
    EXPECT_EQ(kinds(model, dialect_t::python), (lines_t{"b_2 (fake): does not run"}));
}

TEST(RegionNotes, PythonRegionsOfLevelTwoStandInTheMethod) {
    FakeModel model;
    model.add("a", inner, 2);
    model.add("b", root, 0);
    EXPECT_TRUE(kinds(model, dialect_t::python).empty());
}

TEST(RegionNotes, PythonIndentationThatMatchesNothing) {
    FakeModel model;
    model.add("a", root, 0);
    model.add("b", sub, 1);
    model.add("c", root, 0);
    EXPECT_EQ(kinds(model, dialect_t::python), (lines_t{"b_2 (fake): does not run", "c_3 (fake): does not parse"}));
    FakeModel first;
    first.add("a", sub, 1);
    EXPECT_EQ(kinds(first, dialect_t::python), (lines_t{"a_1 (fake): does not parse"}));
}

TEST(RegionNotes, ATierAboveTheRootIsWrittenWithoutBlanks) {
    FakeModel model;
    model.add("a", root, 0);
    model.add("b", sub, -3);
    EXPECT_EQ(kinds(model, dialect_t::python), (lines_t{"b_2 (fake): does not run", "b_2 (fake): does not parse"}));
}

TEST(RegionNotes, AnEmptyPythonStepDoesNotParse) {
    FakeModel model;
    EXPECT_EQ(kinds(model, dialect_t::python), (lines_t{"project: does not parse"}));
    model.add_null();
    EXPECT_EQ(kinds(model, dialect_t::python), (lines_t{"project: does not parse"}));
    EXPECT_TRUE(kinds(model, dialect_t::c).empty());
}

// ---- texts
TEST(NoteTexts, Identifiers) {
    for (const char* name : {"", "a", "_1", "Gain2", "\xc3\xa9t\xc3\xa9"})
        EXPECT_TRUE(zarn::makes_identifier(name)) << name;
    for (const char* name : {"2a", "a b", "a-b", "a.b", "a\n"}) EXPECT_FALSE(zarn::makes_identifier(name)) << name;
}

TEST(NoteTexts, ForeignNames) {
    for (const char* text : {"", "1.5e-3", "0x1F", "math.pi * 2", "[1.0, -2]", "max(1, 2) if True else None", "'k0'"})
        EXPECT_EQ(zarn::foreign_name(text), "") << text;
    EXPECT_EQ(zarn::foreign_name("k0"), "k0");
    EXPECT_EQ(zarn::foreign_name("2 * (gain.value + 1)"), "gain");
    EXPECT_EQ(zarn::foreign_name("numpy.array([1])"), "numpy");
}

TEST(NoteTexts, Digits) {
    for (const char* text : {"0", "123456", "-0.000123456", "1.5e300", "[1.0, 123456.0, 0.5]", "True"})
        EXPECT_FALSE(zarn::needs_more_than_six_digits(text)) << text;
    for (const char* text : {"1234567", "1.234567", "[1e-3, 1234567.0]", "1.0 / 3.0", "k0"})
        EXPECT_TRUE(zarn::needs_more_than_six_digits(text)) << text;
}

}  // namespace
}  // namespace tessel::test
