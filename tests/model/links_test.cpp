#include <gmock/gmock.h>

#include "tests/support/LogCapture.h"
#include "tests/support/ModelBuilder.h"

namespace tessel::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// A host's block may count inputs and have none: the link ends at it all the same.
TEST(CreateLinks, InputThatIsNoneIsPassedOver) {
    ModelBuilder b;
    b.root();
    b.add("constant", 1);
    b.add("strange", 2, 0, 1, 0).no_ports = true;
    b.link(1, 2);
    EXPECT_EQ(b.model.create_links(), result_ok);
    EXPECT_THAT(ModelBuilder::ids(b.model.subsystems), testing::ElementsAre(0)) << "the link counts";
    EXPECT_THAT(b.links(), testing::ElementsAre("1:0>2:0"));
}

TEST(CreateLinks, PortNumberThatIsATextStandsForNoPort) {
    ModelBuilder b;
    b.add("constant", 1);
    b.add("subsys", 10);
    b.add("inport", 11, 10).param("portNumber") = var_t("0");
    b.link(1, 10);
    b.model.create_links();
    EXPECT_EQ(b.source(11), -1);
    EXPECT_EQ(b.model.find_inport(10, 0), nullptr);
}

TEST(Links, FlagsAreCleared) {
    ModelBuilder b;
    b.link(1, 2).link(2, 3);
    b.properties->links[0].resolved = true;
    const LogCapture log;
    EXPECT_EQ(b.model.clear_link_flags(), result_ok);
    EXPECT_FALSE(b.properties->links[0].resolved);
    EXPECT_FALSE(b.properties->links[1].resolved);
    EXPECT_THAT(log.lines, IsEmpty());
}

TEST(Links, InputIsBoundToItsSource) {
    ModelBuilder b;
    b.add("constant", 1, 0, 0, 3);
    b.add("add", 2);
    b.link(1, 2, 2, 1);
    EXPECT_EQ(b.model.create_links(), result_ok);
    EXPECT_EQ(b.source(2, 0), -1);
    const port_t& input = *b.at(2).input(1);
    EXPECT_EQ(input.source_block(), &b.at(1));
    EXPECT_EQ(input.source_port(), b.at(1).output(2));
    EXPECT_EQ(input.source_index(), 2);
    EXPECT_FALSE(b.properties->links[0].resolved) << "nothing sets the flag";
}

TEST(Links, ResolvedLinksArePassedOver) {
    ModelBuilder b;
    b.add("constant", 1);
    b.add("abs", 2);
    b.link(1, 2);
    b.properties->links[0].resolved = true;
    b.model.create_links();
    EXPECT_EQ(b.source(2), -1);
}

TEST(Links, LaterLinkIntoOneInputWins) {
    ModelBuilder b;
    b.add("constant", 1);
    b.add("constant", 2);
    b.add("abs", 3);
    b.link(1, 3).link(2, 3);
    b.model.create_links();
    EXPECT_EQ(b.source(3), 2);
}

TEST(Links, LinkBetweenSubsystemsEndsAtTheInnerPorts) {
    for (const char* container : {"subsys", "refsys"}) {
        ModelBuilder b;
        b.root();
        b.add(container, 10);
        b.add(container, 20);
        b.port("outport", 11, 10, 1);
        b.port("outport", 12, 10, 2);
        b.port("inport", 13, 10, 3);
        b.port("inport", 21, 20, 2);
        b.port("inport", 22, 20, 3);
        b.port("outport", 23, 20, 3);
        b.link(10, 2, 20, 3, "wire");
        b.model.create_links();
        EXPECT_THAT(b.links(), ElementsAre("12:0>22:0 wire"));
        EXPECT_EQ(b.source(22), 12);
        EXPECT_EQ(b.source(21), -1);
    }
}

TEST(Links, PortMinusOneEndsAtTheEnableBlock) {
    ModelBuilder b;
    b.root();
    b.add("constant", 1);
    b.add("subsys", 10);
    b.port("inport", 11, 10, -1);
    b.add("enable", 12, 10);
    b.add("enable", 13, 10);
    b.link(1, 0, 10, -1);
    b.link(1, 0, 10, static_cast<std::int16_t>(65535));
    b.model.create_links();
    EXPECT_THAT(b.links(), ElementsAre("1:0>12:0", "1:0>12:0"));
    EXPECT_EQ(b.source(12), 1);
    EXPECT_EQ(b.source(11), -1);
}

TEST(Links, PortNumbersAreComparedAs16Bits) {
    ModelBuilder b;
    b.root();
    b.add("constant", 1);
    b.add("subsys", 10);
    b.port("inport", 11, 10, 65536 + 4);
    b.link(1, 0, 10, 4);
    b.model.create_links();
    EXPECT_EQ(b.source(11), 1);
}

TEST(Links, OnlyOneBorderIsCrossed) {
    ModelBuilder b;
    b.root();
    b.add("constant", 1);
    b.add("subsys", 10);
    b.port("inport", 11, 10, 0);
    b.add("subsys", 20, 10);
    b.port("inport", 21, 20, 0);
    b.add("abs", 22, 20);
    b.link(1, 10).link(11, 20).link(21, 22);
    b.model.create_links();
    EXPECT_THAT(b.links(), ElementsAre("1:0>11:0", "11:0>21:0", "21:0>22:0"));
    EXPECT_EQ(b.source(22), 21);
    EXPECT_EQ(b.source(21), 11);
    EXPECT_EQ(b.source(11), 1);
}

TEST(Links, SubsystemCanFeedItself) {
    ModelBuilder b;
    b.root();
    b.add("subsys", 10);
    b.port("inport", 11, 10, 0);
    b.port("outport", 12, 10, 0);
    b.link(10, 10);
    b.model.create_links();
    EXPECT_THAT(b.links(), ElementsAre("12:0>11:0"));
    EXPECT_EQ(b.source(11), 12);
}

TEST(Links, TwoInportsOfOneNumberLeaveTheSecondUnfed) {
    ModelBuilder b;
    b.root();
    b.add("constant", 1);
    b.add("subsys", 10);
    b.port("inport", 11, 10, 0);
    b.port("inport", 12, 10, 0);
    b.link(1, 10);
    b.model.create_links();
    EXPECT_EQ(b.source(11), 1);
    EXPECT_EQ(b.source(12), -1);
    EXPECT_EQ(b.model.check_links(), result_source_missing);
    EXPECT_THAT(b.failed(), IsEmpty());
}

TEST(Links, InportNeedsASourceOnlyInsideASubsystem) {
    ModelBuilder root_level;
    root_level.port("inport", 1, 0, 0);
    EXPECT_EQ(root_level.model.check_links(), result_ok);
    ModelBuilder inside;
    inside.port("inport", 1, 10, 0);
    EXPECT_EQ(inside.model.check_links(), result_source_missing);
}

TEST(Links, EndThatNamesNoBlockIsPassedOver) {
    ModelBuilder b;
    b.add("constant", 1);
    b.add("abs", 2);
    b.link(99, 2).link(1, 99).link(98, 99);
    b.model.create_links();
    EXPECT_THAT(b.links(), ElementsAre("99:0>2:0", "1:0>99:0", "98:0>99:0"));
    EXPECT_EQ(b.model.check_links(), result_source_missing);
}

TEST(Links, PortOutOfRangeIsPassedOver) {
    ModelBuilder b;
    b.root();
    b.add("constant", 1);
    b.add("abs", 2);
    b.add("display", 3);
    b.link(1, 0, 2, 1).link(1, 0, 2, -1).link(1, 0, 2, 32767).link(1, 0, 2, -32768);
    b.link(1, 1, 2, 0).link(1, -1, 2, 0).link(3, 0, 2, 0);
    const auto before = b.links();
    b.model.create_links();
    EXPECT_EQ(b.links(), before);
    EXPECT_EQ(b.source(2), -1);
    EXPECT_THAT(b.ids(), ElementsAre(0, 1, 2, 3)) << "no usable link, so the root stays";
}

TEST(Links, SubsystemWithoutTheInnerBlockIsPassedOver) {
    ModelBuilder b;
    b.root();
    b.add("constant", 1);
    b.add("abs", 2);
    b.add("subsys", 10);
    b.port("inport", 11, 10, 0);
    b.link(1, 0, 10, 5).link(1, 0, 10, -1).link(10, 5, 2, 0).link(10, 0, 10, 0);
    const auto before = b.links();
    b.model.create_links();
    EXPECT_EQ(b.links(), before) << "not even the end that has an inner block is rewritten";
    EXPECT_EQ(b.source(2), -1);
    EXPECT_EQ(b.source(11), -1);
}

TEST(Links, ModelWithoutUsableLinkKeepsItsSubsystems) {
    ModelBuilder b;
    b.root();
    b.add("subsys", 10);
    b.add("constant", 1, 10);
    b.add("enable", 11, 10);
    b.link(99, 1);
    b.model.create_links();
    EXPECT_THAT(b.ids(), ElementsAre(0, 10, 1, 11));
    EXPECT_THAT(b.model.subsystems, IsEmpty());
    EXPECT_EQ(b.at(11).parent_id(), 10u);
}

// Front meets 0, back passes 5 and meets 4: [4 1 2 3 0 5]. Front meets 2, back meets 3: [4 1 3 2 0 5], and they meet.
TEST(Links, SubsystemsLeaveByATwoEndedSwap) {
    ModelBuilder b;
    b.root();
    b.add("constant", 1);
    b.add("subsys", 2);
    b.add("abs", 3);
    b.add("abs", 4);
    b.add("refsys", 5);
    b.link(1, 3);
    b.model.create_links();
    EXPECT_THAT(b.ids(), ElementsAre(4, 1, 3));
    EXPECT_THAT(ModelBuilder::ids(b.model.subsystems), ElementsAre(2, 0, 5));
}

// [0 10 1 2 3]: 0 with 3, 10 with 2: [3 2 1 10 0].
TEST(Links, SubsystemsInFrontSwapWithTheLastBlocks) {
    ModelBuilder b;
    b.root();
    b.add("subsys", 10);
    b.add("constant", 1);
    b.add("abs", 2);
    b.add("abs", 3);
    b.link(1, 2);
    b.model.create_links();
    EXPECT_THAT(b.ids(), ElementsAre(3, 2, 1));
    EXPECT_THAT(ModelBuilder::ids(b.model.subsystems), ElementsAre(10, 0));
}

TEST(Links, SecondRunAppendsNothingAndBindsAnew) {
    ModelBuilder b;
    b.root();
    b.add("constant", 1);
    b.add("subsys", 10);
    b.port("inport", 11, 10, 0);
    b.link(1, 10);
    b.model.create_links();
    const auto order = b.ids();
    b.model.create_links();
    EXPECT_EQ(b.ids(), order);
    EXPECT_THAT(ModelBuilder::ids(b.model.subsystems), ElementsAre(10, 0));
    EXPECT_EQ(b.source(11), 1);
}

TEST(Links, EnableBlocksMoveOneLevelOutAtEachRun) {
    ModelBuilder b;
    b.root();
    b.add("constant", 1);
    b.add("subsys", 10);
    b.add("subsys", 20, 10);
    b.add("subsys", 30, 20);
    b.add("enable", 9);
    b.add("enable", 11, 10);
    b.add("enable", 21, 20);
    b.add("enable", 31, 30);
    b.add("abs", 32, 30);
    b.link(1, 32);
    const auto parents = [&b] {
        std::vector<std::uint64_t> all;
        for (std::uint64_t id : {9u, 11u, 21u, 31u, 32u}) all.push_back(b.at(id).parent_id());
        return all;
    };
    EXPECT_THAT(parents(), ElementsAre(0, 10, 20, 30, 30));
    b.model.create_links();
    EXPECT_THAT(parents(), ElementsAre(0, 0, 10, 20, 30));
    b.model.create_links();
    EXPECT_THAT(parents(), ElementsAre(0, 0, 0, 10, 30));
}

TEST(Links, EnableBlockWithoutKnownParentStays) {
    ModelBuilder b;
    b.root();
    b.add("constant", 1);
    b.add("abs", 2);
    b.add("enable", 3, 99);
    b.link(1, 2);
    b.model.create_links();
    EXPECT_EQ(b.at(3).parent_id(), 99u);
}

TEST(Links, NullEntriesArePassedOver) {
    ModelBuilder b;
    b.root();
    b.add_null();
    b.add("constant", 1);
    b.add("abs", 2);
    b.add_null();
    b.link(1, 2);
    b.model.create_links();
    EXPECT_THAT(b.ids(), ElementsAre(-1, -1, 1, 2)) << "they count as blocks that stay";
    EXPECT_EQ(b.model.check_links(), result_ok);
}

TEST(Links, FirstBlockOfAnIdIsTheEnd) {
    ModelBuilder b;
    b.add("constant", 1);
    b.add("constant", 1, 0, 0, 2);
    b.add("abs", 2);
    b.add("abs", 2);
    b.link(1, 2);
    b.model.create_links();
    EXPECT_EQ(b.model.blocks[2]->input(0)->source_block(), b.model.blocks[0].get());
    EXPECT_EQ(b.model.blocks[3]->input(0)->source_block(), nullptr);
}

TEST(Links, EveryExitLogsLeave) {
    ModelBuilder b;
    b.add("constant", 1);
    b.add("abs", 2);
    const LogCapture log;
    b.model.create_links();  // nothing to do
    b.model.check_links();   // fails
    b.link(1, 2);
    b.model.create_links();
    b.model.check_links();
    EXPECT_THAT(log.lines, ElementsAre("create_links [enter]", "create_links [leave]", "check_links [enter]",
                                       "check_links [leave]", "create_links [enter]", "create_links [leave]",
                                       "check_links [enter]", "check_links [leave]"));
}

}  // namespace
}  // namespace tessel::test
