#include <gmock/gmock.h>

#include <random>

#include "tests/support/LogCapture.h"
#include "tests/support/ModelBuilder.h"

namespace tessel::test {
namespace {

using testing::ElementsAre;
using entry_t = std::pair<std::uint64_t, std::uint64_t>;

entry_t entry(ModelBuilder& b, std::uint64_t id) { return b.properties->enable_map.at(id); }

constexpr std::uint64_t A = 10, B = 20, x = 30, ea = 11, eb = 21;

/// x in B in A in the root; an enable block in A.
ModelBuilder& nested(ModelBuilder& b) {
    b.root();
    b.add("subsys", A);
    b.add("subsys", B, A);
    b.add("abs", x, B);
    b.add("enable", ea, A);
    return b;
}

TEST(EnableMap, SubsystemWithoutEnablePassesTheGatingOn) {
    ModelBuilder b;
    nested(b);
    EXPECT_EQ(b.model.build_enable_map(), result_ok);
    EXPECT_EQ(entry(b, x), entry_t(0, ea));
    EXPECT_EQ(entry(b, ea), entry_t(ea, 0));
    EXPECT_EQ(entry(b, B), entry_t(ea, ea));
    EXPECT_EQ(entry(b, A), entry_t(0, 0));
    EXPECT_EQ(entry(b, 0), entry_t(0, 0));
    EXPECT_EQ(b.properties->enable_map.size(), 5u);
}

TEST(EnableMap, NestedEnableIsGatedFromOutside) {
    ModelBuilder b;
    nested(b).add("enable", eb, B);
    b.model.build_enable_map();
    EXPECT_EQ(entry(b, x), entry_t(eb, eb));
    EXPECT_EQ(entry(b, eb), entry_t(eb, ea));
    EXPECT_EQ(entry(b, ea), entry_t(ea, 0));
}

TEST(EnableMap, FirstOfTwoEnablesOfASubsystemWins) {
    ModelBuilder b;
    nested(b).add("enable", 12, A);
    b.model.build_enable_map();
    EXPECT_EQ(entry(b, 12), entry_t(ea, 0));
    EXPECT_EQ(entry(b, x), entry_t(0, ea));
}

TEST(EnableMap, EnableOfTheRootGatesNothing) {
    ModelBuilder b;
    b.root();
    b.add("enable", 1);
    b.add("abs", 2);
    b.add("subsys", A);
    b.add("abs", 3, A);
    b.model.build_enable_map();
    EXPECT_EQ(entry(b, 1), entry_t(0, 0));
    EXPECT_EQ(entry(b, 2), entry_t(0, 0));
    EXPECT_EQ(entry(b, 3), entry_t(0, 0));
}

TEST(EnableMap, GotoFromAndCastHaveEntries) {
    ModelBuilder b;
    nested(b);
    b.add("goto", 1, A);
    b.add("from", 2, A);
    b.add("cast", 3, B);
    b.model.build_enable_map();
    EXPECT_EQ(entry(b, 1), entry_t(ea, ea));
    EXPECT_EQ(entry(b, 2), entry_t(ea, ea));
    EXPECT_EQ(entry(b, 3), entry_t(0, ea));
}

TEST(EnableMap, EntryThatIsThereStays) {
    ModelBuilder b;
    nested(b);
    b.properties->enable_map[x] = {7, 8};
    b.model.build_enable_map();
    EXPECT_EQ(entry(b, x), entry_t(7, 8));
}

TEST(EnableMap, ParentThatNamesNoBlockLeadsToTheRoot) {
    ModelBuilder b;
    b.root();
    b.add("abs", 1, 99);
    b.add("subsys", 2, 98);
    b.add("abs", 3, 2);
    b.add("enable", 4, 97);
    b.add("abs", 5, 97);
    b.model.build_enable_map();
    EXPECT_EQ(entry(b, 1), entry_t(0, 0));
    EXPECT_EQ(entry(b, 3), entry_t(0, 0));
    EXPECT_EQ(entry(b, 4), entry_t(4, 0));
    EXPECT_EQ(entry(b, 5), entry_t(4, 4)) << "the enable block of a parent is known without the parent";
}

TEST(EnableMap, RingOfParentsEnds) {
    for (const bool other_way : {false, true}) {
        ModelBuilder b;
        b.root();
        b.add("abs", 1, other_way ? 12 : 10);
        b.add("subsys", 10, 11);
        b.add("subsys", 11, 12);
        b.add("subsys", 12, 10);
        b.add("enable", 3, 11);
        b.add("abs", 4, other_way ? 10 : 12);
        b.add("subsys", 13, 13);
        b.add("abs", 5, 13);
        b.model.build_enable_map();
        EXPECT_EQ(entry(b, 1), entry_t(0, 3));
        EXPECT_EQ(entry(b, 4), entry_t(0, 3));
        EXPECT_EQ(entry(b, 3), entry_t(3, 3)) << "going out of the ring leads back into it";
        EXPECT_EQ(entry(b, 5), entry_t(0, 0));
    }
}

TEST(EnableMap, NullEntriesArePassedOver) {
    ModelBuilder b;
    b.add_null();
    nested(b).add_null();
    b.model.build_enable_map();
    EXPECT_EQ(entry(b, x), entry_t(0, ea));
}

TEST(EnableMap, LogsEnterAndLeave) {
    ModelBuilder b;
    const LogCapture log;
    b.model.build_enable_map();
    EXPECT_THAT(log.lines, ElementsAre("build_enable_map [enter]", "build_enable_map [leave]"));
}

/// The map by walks of their own for each block.
EnableMap slow_map(const MetaModel& model) {
    std::unordered_map<std::uint64_t, std::uint64_t> own_enable{{0, 0}};
    for (const auto& block : model.blocks)
        if (block->class_hash() == class_hash_of("enable")) own_enable.insert({block->parent_id(), block->id()});
    EnableMap map;
    for (const auto& block : model.blocks) {
        std::uint64_t first = 0, second = 0;
        if (block->parent_id() != 0 && own_enable.contains(block->parent_id())) first = own_enable[block->parent_id()];
        const IMetaBlock* c =
            block->class_hash() == class_hash_of("enable") ? model.find_block(block->parent_id()) : block.get();
        while (c->parent_id() != 0) {
            if (own_enable.contains(c->parent_id())) {
                second = own_enable[c->parent_id()];
                break;
            }
            c = model.find_block(c->parent_id());
        }
        map.insert({block->id(), {first, second}});
    }
    return map;
}

TEST(EnableMap, EqualsTheWalksOnRandomTrees) {
    std::mt19937 random(1);
    for (int round = 0; round < 300; ++round) {
        ModelBuilder b;
        b.root();
        std::vector<std::uint64_t> subsystems{0};
        for (std::uint64_t id = 1; id < 60; ++id) {
            const std::uint64_t parent = subsystems[random() % subsystems.size()];
            switch (random() % 4) {
                case 0:
                    b.add("subsys", id, parent);
                    subsystems.push_back(id);
                    break;
                case 1: b.add("enable", id, parent); break;
                default: b.add("abs", id, parent);
            }
        }
        std::ranges::shuffle(b.model.blocks, random);
        b.model.build_enable_map();
        ASSERT_EQ(b.properties->enable_map, slow_map(b.model));
    }
}

}  // namespace
}  // namespace tessel::test
