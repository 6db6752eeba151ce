#include <gmock/gmock.h>

#include "tests/support/LogCapture.h"
#include "tests/support/ModelBuilder.h"

namespace tessel::test {
namespace {

using testing::ElementsAre;

TEST(Tiers, CountTheSubsystemsAroundABlock) {
    ModelBuilder b;
    b.root();
    b.add("abs", 1);
    b.add("subsys", 10);
    b.add("abs", 11, 10);
    b.add("refsys", 20, 10);
    b.add("abs", 21, 20);
    EXPECT_EQ(b.model.calculate_tiers(), result_ok);
    EXPECT_EQ(b.at(0).tier(), 0);
    EXPECT_EQ(b.at(1).tier(), 0);
    EXPECT_EQ(b.at(10).tier(), 0);
    EXPECT_EQ(b.at(11).tier(), 1);
    EXPECT_EQ(b.at(20).tier(), 1);
    EXPECT_EQ(b.at(21).tier(), 2);
}

TEST(Tiers, EnableBlockCountsOneLevelFurtherOut) {
    ModelBuilder b;
    b.root();
    b.add("enable", 1);
    b.add("subsys", 10);
    b.add("enable", 11, 10);
    b.add("subsys", 20, 10);
    b.add("enable", 21, 20);
    b.model.calculate_tiers();
    EXPECT_EQ(b.at(1).tier(), -1);
    EXPECT_EQ(b.at(11).tier(), 0);
    EXPECT_EQ(b.at(21).tier(), 1);
}

TEST(Tiers, ChildrenMayComeBeforeTheirParents) {
    ModelBuilder b;
    b.add("abs", 31, 30);
    b.add("subsys", 30, 20);
    b.add("subsys", 20, 10);
    b.add("subsys", 10);
    b.root();
    b.model.calculate_tiers();
    EXPECT_EQ(b.at(31).tier(), 3);
    EXPECT_EQ(b.at(30).tier(), 2);
    EXPECT_EQ(b.at(20).tier(), 1);
    EXPECT_EQ(b.at(10).tier(), 0);
}

TEST(Tiers, ParentThatNamesNoBlockCountsAsTheRoot) {
    ModelBuilder b;
    b.root();
    b.add("abs", 1, 99);
    b.add("enable", 2, 99);
    b.add("subsys", 10, 98);
    b.add("abs", 11, 10);
    b.model.calculate_tiers();
    EXPECT_EQ(b.at(1).tier(), 0);
    EXPECT_EQ(b.at(2).tier(), -1);
    EXPECT_EQ(b.at(10).tier(), 0);
    EXPECT_EQ(b.at(11).tier(), 1);
}

TEST(Tiers, WalkUpARingEndsAfterAsManyStepsAsThereAreBlocks) {
    for (const bool inner_first : {false, true}) {
        ModelBuilder b;
        if (inner_first) b.add("abs", 1, 20);
        b.add("subsys", 10, 11);
        b.add("subsys", 11, 10);
        b.add("subsys", 20, 10);
        if (!inner_first) b.add("abs", 1, 20);
        b.add("subsys", 30, 30);
        b.add_null();
        b.model.calculate_tiers();
        for (std::uint64_t id : {1u, 10u, 11u, 20u, 30u}) EXPECT_EQ(b.at(id).tier(), 6) << id;
    }
}

TEST(Tiers, DeepNestingIsWalkedOnce) {
    ModelBuilder b;
    b.root();
    constexpr std::uint64_t depth = 100000;
    for (std::uint64_t id = depth; id >= 1; --id) b.add("subsys", id, id - 1);
    b.model.calculate_tiers();
    EXPECT_EQ(b.model.blocks[1]->tier(), static_cast<std::int32_t>(depth - 1));
    EXPECT_EQ(b.model.blocks[depth]->tier(), 0);
}

TEST(Tiers, LogsEnterAndLeave) {
    ModelBuilder b;
    const LogCapture log;
    b.model.calculate_tiers();
    EXPECT_THAT(log.lines, ElementsAre("calculate_tiers [enter]", "calculate_tiers [leave]"));
}

}  // namespace
}  // namespace tessel::test
