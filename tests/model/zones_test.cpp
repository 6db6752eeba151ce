#include <gmock/gmock.h>
#include <unistd.h>

#include <csignal>
#include <random>

#include "tests/support/LogCapture.h"
#include "tests/support/ModelBuilder.h"

namespace tessel::test {
namespace {

using testing::ElementsAre;

TEST(Zones, RiseByOneAlongAChain) {
    ModelBuilder b;
    b.add("abs", 3);
    b.add("abs", 2);
    b.add("constant", 1);
    b.link(1, 2).link(2, 3);
    b.model.create_links();
    EXPECT_EQ(b.model.calculate_zones(), result_ok);
    EXPECT_EQ(b.at(1).zone(), 0);
    EXPECT_EQ(b.at(2).zone(), 1);
    EXPECT_EQ(b.at(3).zone(), 2);
}

// A constant, its way into a subsystem with an enable block, and out again.
TEST(Zones, SourceOnAnotherTierAddsAThousand) {
    ModelBuilder b;
    b.root();
    b.add("constant", 1);
    b.add("subsys", 10);
    b.port("inport", 11, 10, 0);
    b.add("abs", 12, 10);
    b.port("outport", 13, 10, 0);
    b.add("enable", 14, 10);
    b.add("abs", 2);
    b.link(1, 0, 10, 0).link(1, 0, 10, -1).link(11, 12).link(12, 13).link(10, 2);
    b.model.calculate_tiers();
    b.model.create_links();
    EXPECT_EQ(b.model.calculate_zones(), result_ok);
    EXPECT_EQ(b.at(1).zone(), 0);
    EXPECT_EQ(b.at(14).zone(), 1) << "the enable block is on the tier around";
    EXPECT_EQ(b.at(11).zone(), 1001);
    EXPECT_EQ(b.at(12).zone(), 1002);
    EXPECT_EQ(b.at(13).zone(), 1003);
    EXPECT_EQ(b.at(2).zone(), 2004);
}

std::int32_t zone_of_two(int first, int second) {
    ModelBuilder b;
    TestBlock& other = b.add("constant", 1);  // zone 5 on another tier
    other.fixed_zone = 5;
    other.set_tier(1);
    TestBlock& own = b.add("constant", 2);  // zone 7 on the own tier
    own.fixed_zone = 7;
    own.set_tier(0);
    b.add("add", 3).set_tier(0);
    b.link(static_cast<std::uint64_t>(first), 0, 3, 0).link(static_cast<std::uint64_t>(second), 0, 3, 1);
    b.model.create_links();
    b.model.calculate_zones();
    return b.at(3).zone();
}

TEST(Zones, DependOnTheOrderOfTheInputs) {
    EXPECT_EQ(zone_of_two(1, 2), 1006);
    EXPECT_EQ(zone_of_two(2, 1), 8);
}

TEST(Zones, MemoryCutsALoop) {
    ModelBuilder b;
    b.add("abs", 1);
    b.add("memory", 2);
    b.link(1, 2).link(2, 1);
    b.model.create_links();
    EXPECT_EQ(b.model.calculate_zones(), result_ok);
    EXPECT_EQ(b.at(2).zone(), 0);
    EXPECT_EQ(b.at(1).zone(), 1);
}

TEST(Zones, BlockWithoutInputsAndRuleStaysAtMinusOne) {
    ModelBuilder b;
    b.root();
    EXPECT_EQ(b.model.calculate_zones(), result_ok);
    EXPECT_EQ(b.at(0).zone(), -1);
}

TEST(Zones, InportOfTheRootHasZoneZeroUnlessFed) {
    ModelBuilder b;
    b.port("inport", 1, 0, 0);
    b.add("constant", 2);
    b.port("inport", 3, 0, 0);
    b.link(2, 3);
    b.model.create_links();
    b.model.calculate_zones();
    EXPECT_EQ(b.at(1).zone(), 0);
    EXPECT_EQ(b.at(3).zone(), 1);
}

TEST(Zones, KnownZonesStay) {
    ModelBuilder b;
    b.add("constant", 1);
    b.add("abs", 2).set_zone(7);
    b.add("abs", 3);
    b.link(1, 2).link(2, 3);
    b.model.create_links();
    b.model.calculate_zones();
    EXPECT_EQ(b.at(2).zone(), 7);
    EXPECT_EQ(b.at(2).zone_calls, 0);
    EXPECT_EQ(b.at(3).zone(), 8);
}

TEST(Zones, CastCountsAsABlock) {
    ModelBuilder b;
    b.add("constant", 1);
    b.add("cast", 2);
    b.add("abs", 3);
    b.link(1, 2).link(2, 3);
    b.model.create_links();
    b.model.calculate_zones();
    b.model.reroute_due_to_cast();
    EXPECT_EQ(b.at(3).zone(), 2);
}

TEST(Zones, EmptyModelAndNullEntriesAreFine) {
    ModelBuilder b;
    const LogCapture log;
    EXPECT_EQ(b.model.calculate_zones(), result_ok);
    EXPECT_THAT(log.lines, ElementsAre("calculate_zones [enter]", "calculate_zones [leave]"));
    b.add_null();
    EXPECT_EQ(b.model.calculate_zones(), result_ok);
}

/// Ends the process by an alarm unless the pass returns.
void zones_within_a_second(ModelBuilder& b) {
    alarm(1);
    b.model.calculate_zones();
    _exit(0);
}

TEST(ZonesDeathTest, LoopWithoutFixedZoneDoesNotEnd) {
    ModelBuilder b;
    b.add("abs", 1);
    b.add("abs", 2);
    b.link(1, 2).link(2, 1);
    b.model.create_links();
    EXPECT_EXIT(zones_within_a_second(b), testing::KilledBySignal(SIGALRM), "");
}

TEST(ZonesDeathTest, BlockBehindOneThatStaysAtMinusOneDoesNotEnd) {
    ModelBuilder b;
    b.add("strange", 1, 0, 0, 1);
    b.add("abs", 2);
    b.link(1, 2);
    b.model.create_links();
    EXPECT_EXIT(zones_within_a_second(b), testing::KilledBySignal(SIGALRM), "");
}

TEST(Zones, WatchedModelTellsALoopAndEnds) {
    ModelBuilder b;
    b.add("constant", 9);
    b.add("display", 4);  // behind the loop
    b.add("abs", 1);
    b.add("add", 2);
    b.add("abs", 3);
    b.link(9, 0, 2, 0).link(1, 0, 2, 1).link(2, 3).link(3, 1).link(3, 4);
    b.model.create_links();
    std::vector<std::uint64_t> loop;
    b.model.take_loop = [&loop](const std::vector<IMetaBlock*>& blocks) {
        for (const IMetaBlock* block : blocks) loop.push_back(block->id());
    };
    EXPECT_EQ(b.model.calculate_zones(), result_failure);
    EXPECT_THAT(loop, ElementsAre(1, 2, 3)) << "each feeds the next";
    EXPECT_EQ(b.at(9).zone(), 0);
    EXPECT_EQ(b.at(4).zone(), -1);
}

TEST(Zones, WatchedModelEndsWhereAWaitEndsInNothing) {
    ModelBuilder b;
    b.add("strange", 1, 0, 0, 1).zone_rule = [](TestBlock&) { return std::int8_t{-1}; };
    b.add("abs", 2);
    b.link(1, 2);
    b.model.create_links();
    bool told = false;
    b.model.take_loop = [&told](const std::vector<IMetaBlock*>& blocks) { told = blocks.empty(); };
    EXPECT_EQ(b.model.calculate_zones(), result_failure);
    EXPECT_TRUE(told);
}

TEST(Zones, WatchedModelWithoutALoopIsLikeAnother) {
    const auto model = rules::create_watched_meta_model([](const auto&) { FAIL(); });
    model->set_properties(std::make_shared<PropertiesModel>());
    EXPECT_EQ(model->compile(), result_ok);
}

// A host's block can wait for a block that no link leads from.
TEST(Zones, WaitForSomethingThatIsNoLinkEnds) {
    ModelBuilder b;
    constexpr std::uint64_t count = 100;
    TestBlock& waits = b.add("strange", 1000, 0, 0, 1);
    for (std::uint64_t id = count; id > 1; --id) b.add("abs", id);  // against the links, so that sweeps are slow
    b.add("constant", 1);
    b.add("abs", 1001);
    for (std::uint64_t id = 2; id <= count; ++id) b.link(id - 1, id);
    b.link(1000, 1001);
    b.model.create_links();
    waits.zone_rule = [&b](TestBlock& own) {
        if (b.at(count).zone() < 0) return std::int8_t{-1};
        own.set_zone(b.at(count).zone() + 1);
        return std::int8_t{0};
    };
    alarm(20);
    EXPECT_EQ(b.model.calculate_zones(), result_ok);
    alarm(0);
    EXPECT_EQ(b.at(1001).zone(), static_cast<std::int32_t>(count) + 1);
}

// One that answers in the end is waited for, however many sweeps that takes.
TEST(Zones, WaitForSomeCallsEnds) {
    ModelBuilder b;
    TestBlock& late = b.add("strange", 1, 0, 0, 1);
    late.zone_rule = [](TestBlock& own) {
        if (own.zone_calls < 50) return std::int8_t{-1};
        own.set_zone(7);
        return std::int8_t{0};
    };
    alarm(20);
    EXPECT_EQ(b.model.calculate_zones(), result_ok);
    alarm(0);
    EXPECT_EQ(late.zone(), 7);
}

TEST(Zones, LongChainAgainstFileOrderTakesTimeInItsLengthOnly) {
    ModelBuilder b;
    constexpr std::uint64_t count = 100000;
    for (std::uint64_t id = count; id > 1; --id) b.add("abs", id);
    b.add("constant", 1);
    for (std::uint64_t id = 2; id <= count; ++id) b.link(id - 1, id);
    b.model.create_links();
    b.model.calculate_zones();
    EXPECT_EQ(b.model.blocks[0]->zone(), static_cast<std::int32_t>(count - 1));
}

TEST(Zones, NullEntriesInALongChainArePassedOver) {
    ModelBuilder b;
    constexpr std::uint64_t count = 1000;
    for (std::uint64_t id = count; id > 1; --id) {
        b.add("abs", id);
        if (id % 10 == 0) b.add_null();
    }
    b.add("constant", 1);
    for (std::uint64_t id = 2; id <= count; ++id) b.link(id - 1, id);
    b.model.create_links();
    b.model.calculate_zones();
    for (std::uint64_t id = 1; id <= count; ++id) ASSERT_EQ(b.at(id).zone(), static_cast<std::int32_t>(id) - 1);
}

TEST(Zones, OpenInputsDoNotCount) {
    ModelBuilder b;
    b.add("constant", 1);
    b.add("add", 2, 0, 3, 1);
    b.link(1, 0, 2, 1);
    b.model.create_links();
    b.model.calculate_zones();
    EXPECT_EQ(b.at(2).zone(), 1);
}

/// Calls every block of unknown zone in every sweep.
void slow_zones(MetaModel& model) {
    for (bool done = false; !done;) {
        done = true;
        for (const auto& block : model.blocks)
            if (block->zone() < 0 && block->calculate_zone() == -1) done = false;
    }
}

TEST(Zones, EqualSweepingOverAllBlocksOnRandomDiagrams) {
    std::mt19937 random(4);
    for (int round = 0; round < 1000; ++round) {
        ModelBuilder fast, slow;
        const auto seed = random();
        for (ModelBuilder* b : {&fast, &slow}) {
            std::mt19937 same(seed);
            const std::uint64_t count = 2 + same() % (round % 2 == 0 ? 20 : 100);
            std::vector<std::uint64_t> rank;  // what a block without fixed zone reads has a lower rank
            for (std::uint64_t id = 1; id <= count; ++id) rank.push_back(id);
            if (same() % 2 == 0) std::ranges::shuffle(rank, same);
            else std::ranges::reverse(rank);
            for (std::uint64_t id = 1; id <= count; ++id) {
                const bool first = rank[id - 1] == 1;
                const char* name = first ? "constant" : same() % 5 == 0 ? "memory" : "abs";
                b->add(name, id, 0, first ? 0 : 1 + static_cast<int>(same() % 3), 1)
                    .set_tier(static_cast<std::int32_t>(same() % 3));
            }
            for (std::uint64_t id = 1; id <= count; ++id) {
                for (std::uint64_t i = 0; i < b->at(id).input_count(); ++i) {
                    std::uint64_t src = 1 + same() % count;
                    while (!b->at(id).fixed_zone && rank[src - 1] >= rank[id - 1]) src = 1 + same() % count;
                    // half of them in a long chain
                    const auto before = std::ranges::find(rank, rank[id - 1] - 1);
                    if (!b->at(id).fixed_zone && same() % 2 == 0)
                        src = static_cast<std::uint64_t>(before - rank.begin()) + 1;
                    b->link(src, 0, id, static_cast<int>(i));
                }
            }
            b->model.create_links();
        }
        slow_zones(slow.model);
        fast.model.calculate_zones();
        for (std::size_t i = 0; i < slow.model.blocks.size(); ++i)
            ASSERT_EQ(fast.model.blocks[i]->zone(), slow.model.blocks[i]->zone()) << round;
    }
}

}  // namespace
}  // namespace tessel::test
