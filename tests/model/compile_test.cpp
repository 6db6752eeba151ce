#include <gmock/gmock.h>

#include "IExecModel.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ModelBuilder.h"
#include "tests/support/RecordingWrap.h"

namespace tessel::test {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;

const std::vector<std::string> all_passes{
    "validate",    "build_enable_map", "build_python_struct", "reroute_due_to_goto", "calculate_tiers", "create_links",
    "check_links", "calculate_types",  "calculate_zones",     "reroute_due_to_cast", "create_links",    "check_links"};

/// Enter and leave lines of the first `count` named passes.
std::vector<std::string> log_of(std::size_t count) {
    std::vector<std::string> lines;
    for (std::size_t i = 0; i < count; ++i) {
        lines.push_back(all_passes[i] + " [enter]");
        lines.push_back(all_passes[i] + " [leave]");
    }
    return lines;
}

/// A model of all drawing devices: a typed constant through a goto and a cast into an enabled subsystem and out.
struct Devices {
    Devices() {
        b.root();
        b.add("constant", 1).output(0)->set_type(type_int32);
        b.add("constant", 2).output(0)->set_type(type_bool);
        b.tagged("goto", 3, "T");
        b.tagged("from", 4, "T");
        b.add("cast", 5).type_rule = [](TestBlock& block) {
            block.output(0)->set_type_if_unset(type_flt64);
            return block.base_type();
        };
        b.add("subsys", 10);
        b.port("inport", 11, 10, 0);
        b.add("enable", 12, 10).type_rule = [](TestBlock& block) {
            block.input(0)->set_type_if_unset(type_bool);
            return result_ok;
        };
        b.add("refsys", 20, 10);
        b.port("inport", 21, 20, 1);
        b.add("abs", 22, 20);
        b.port("outport", 23, 20, 2);
        b.port("outport", 13, 10, 0);
        b.add("display", 6);
        b.link(1, 0, 3, 0, "in").link(4, 0, 5, 0, "out").link(5, 0, 10, 0, "cast").link(2, 0, 10, -1);
        b.link(11, 0, 20, 1).link(21, 22).link(22, 23).link(20, 2, 13, 0).link(10, 6);
    }
    ModelBuilder b;
    RecordingWrap python;
};

class Compile : public testing::Test, protected Devices {};

TEST_F(Compile, DissolvesTheDrawingAndLogsEveryPass) {
    const LogCapture log;
    EXPECT_EQ(b.model.compile(), result_ok);
    EXPECT_THAT(log.lines, ElementsAreArray(log_of(12)));

    std::vector<std::int64_t> live = b.ids();
    std::ranges::sort(live);
    EXPECT_THAT(live, ElementsAre(1, 2, 6, 11, 12, 13, 21, 22, 23));
    EXPECT_THAT(b.links(), ElementsAre("2:0>12:0", "11:0>21:0", "21:0>22:0", "22:0>23:0", "23:0>13:0", "13:0>6:0",
                                       "1:0>11:0 in#out#cast"));
    EXPECT_EQ(b.source(11), 1) << "bound anew behind the cast";
    EXPECT_EQ(b.at(11).input(0)->type(), type_flt64) << "the cast's type stays";
    EXPECT_EQ(b.at(6).input(0)->type(), type_flt64);
    EXPECT_EQ(b.at(1).output(0)->type(), type_int32);

    const auto place = [this](std::uint64_t id) { return std::pair(b.at(id).tier(), b.at(id).zone()); };
    EXPECT_EQ(place(1), std::pair(0, 0));
    EXPECT_EQ(place(12), std::pair(0, 1));
    EXPECT_EQ(place(11), std::pair(1, 1002)) << "the cast counted as a block";
    EXPECT_EQ(place(21), std::pair(2, 2003));
    EXPECT_EQ(place(22), std::pair(2, 2004));
    EXPECT_EQ(place(23), std::pair(2, 2005));
    EXPECT_EQ(place(13), std::pair(1, 3006));
    EXPECT_EQ(place(6), std::pair(0, 4007));
    EXPECT_EQ(b.model.tier_count(), 3u);
    EXPECT_EQ(b.model.zone_count(), 8u);

    EXPECT_EQ(b.properties->enable_map.at(22), std::pair(std::uint64_t{0}, std::uint64_t{12}));
    EXPECT_EQ(b.at(22).path(), "mainsys.subsys10.refsys20.abs22");
    EXPECT_EQ(b.at(12).parent_id(), 0u);
}

TEST_F(Compile, SecondCompileWorksOnTheRewrittenForm) {
    b.model.compile();
    const auto links = b.links();
    const LogCapture log;
    EXPECT_EQ(b.model.compile(), result_ok);
    EXPECT_THAT(log.lines, ElementsAreArray(log_of(12)));
    EXPECT_EQ(b.links(), links);
    EXPECT_EQ(b.model.subsystems.size(), 3u);
    EXPECT_EQ(b.at(22).zone(), 2004);
}

TEST(CompileEdges, StopsAtTheFirstFailureOfEachPass) {
    struct case_t {
        const char* what;
        void (*spoil)(ModelBuilder&);
        result_t result;
        std::size_t passes;
    };
    const case_t cases[]{
        {"step", [](ModelBuilder& m) { m.properties->set("ts", 0.0); }, result_bad_step, 1},
        {"interval", [](ModelBuilder& m) { m.properties->set("tf", 0.0); }, result_bad_interval, 1},
        {"inputs", [](ModelBuilder& m) { m.add("add", 50, 0, 9, 1); }, result_too_many_inputs, 1},
        {"gotos", [](ModelBuilder& m) { m.tagged("goto", 50, "T"); }, result_goto_duplicated, 1},
        {"from", [](ModelBuilder& m) { m.tagged("goto", 50, "U"); }, result_from_unresolved, 4},
        {"goto", [](ModelBuilder& m) { m.link(3, 6); }, result_goto_unresolved, 4},
        {"source", [](ModelBuilder& m) { m.add("abs", 50); }, result_source_missing, 7},
        {"types", [](ModelBuilder& m) { m.at(1).output(0)->set_type(type_unknown); }, result_types_unresolved, 8},
        {"parameter", [](ModelBuilder& m) { m.at(22).type_rule = [](TestBlock&) { return result_bad_parameter; }; },
         result_bad_parameter, 8},
        {"cast",
         [](ModelBuilder& m) {
             m.add("cast", 50).input(0)->set_type(type_bool);
             m.at(50).output(0)->set_type(type_bool);
             m.link(1, 50);
         },
         result_cast_unresolved, 10},
    };
    for (const case_t& c : cases) {
        SCOPED_TRACE(c.what);
        Devices devices;
        c.spoil(devices.b);
        const LogCapture log;
        EXPECT_EQ(devices.b.model.compile(), c.result);
        EXPECT_THAT(log.lines, ElementsAreArray(log_of(c.passes)));
    }
}

TEST(CompileEdges, FailedLinkCheckLeavesAllPortsUntyped) {
    ModelBuilder b;
    b.add("constant", 1);
    b.add("abs", 2);
    b.add("abs", 3);
    b.link(1, 2);
    EXPECT_EQ(b.model.compile(), result_source_missing);
    for (std::uint64_t id : {1u, 2u, 3u}) {
        EXPECT_EQ(b.at(id).type_calls, 0);
        EXPECT_FALSE(b.at(id).output(0)->has_type());
        EXPECT_EQ(b.at(id).tier(), 0) << "what earlier passes did stays";
    }
    EXPECT_EQ(b.source(2), 1);
}

TEST(CompileEdges, EmptyModelNeedsItsSettingsAllTheSame) {
    ModelBuilder b;
    EXPECT_EQ(b.model.compile(), result_ok);
    b.properties->set("ts", -1.0);
    EXPECT_EQ(b.model.compile(), result_bad_step);
    b.properties->set("ts", 1.0);
    b.properties->set("ti", 11.0);
    EXPECT_EQ(b.model.compile(), result_bad_interval);
}

TEST(CompileEdges, ModelWithoutLinksKeepsItsSubsystemsUpToTheRun) {
    ModelBuilder b;
    b.root();
    b.add("subsys", 10);
    b.add("constant", 1, 10).output(0)->set_type(type_flt64);
    EXPECT_EQ(b.model.compile(), result_ok);
    EXPECT_THAT(b.ids(), ElementsAre(0, 10, 1));
    EXPECT_EQ(b.at(10).zone(), -1);
    const auto exec = create_empty_exec_model();
    b.model.build_exec(exec.get());
    EXPECT_EQ(exec->end() - exec->begin(), 3);
    EXPECT_EQ(exec->run(), result_ok);
}

TEST(CompileEdges, BrokenDiagramsNeverCrash) {
    ModelBuilder b;
    b.root();
    b.add_null();
    b.add("subsys", 10, 11);  // a ring of parents
    b.add("subsys", 11, 10);
    b.add("enable", 12, 10);
    b.add("abs", 13, 99);  // a parent that is no block
    b.add("constant", 1).output(0)->set_type(type_flt64);
    b.add("abs", 1);  // an id twice
    b.link(1, 0, 13, 0).link(1, 7, 13, -3).link(77, 0, 13, 0).link(10, 0, 11, 0).link(1, 0, 10, -1);
    EXPECT_EQ(b.model.compile(), result_source_missing);
    EXPECT_EQ(b.source(13), 1);
    EXPECT_EQ(b.source(12), 1);
}

TEST(CompileEdges, EnableMovesTwoLevelsOutInOneCompile) {
    ModelBuilder b;
    b.root();
    b.add("constant", 1).output(0)->set_type(type_bool);
    b.add("subsys", 10);
    b.add("subsys", 20, 10);
    b.add("subsys", 30, 20);
    b.add("enable", 31, 30);
    b.port("inport", 11, 10, 0);
    b.port("inport", 21, 20, 0);
    b.link(1, 10).link(11, 20).link(21, 0, 30, -1);
    EXPECT_EQ(b.model.compile(), result_ok);
    EXPECT_EQ(b.at(31).parent_id(), 10u);
    EXPECT_EQ(b.at(31).tier(), 2);
    EXPECT_EQ(b.properties->enable_map.at(31), std::pair(std::uint64_t{31}, std::uint64_t{0}));
}

}  // namespace
}  // namespace tessel::test
