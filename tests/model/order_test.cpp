#include <gmock/gmock.h>

#include <chrono>
#include <random>

#include "tests/support/LogCapture.h"
#include "tests/support/ModelBuilder.h"

namespace tessel::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TestBlock& in_zone(ModelBuilder& b, const char* class_name, std::uint64_t id, std::int32_t zone,
                   std::uint64_t parent = 0, std::int32_t tier = 0) {
    TestBlock& block = b.add(class_name, id, parent);
    block.set_zone(zone);
    block.set_tier(tier);
    return block;
}

/// A subsystem block as create_links leaves it.
void moved_aside(ModelBuilder& b, std::uint64_t id, std::uint64_t parent) {
    b.add("subsys", id, parent);
    b.model.subsystems.push_back(std::move(b.model.blocks.back()));
    b.model.blocks.pop_back();
}

TEST(SortByZone, ZoneThenClassHash) {
    ModelBuilder b;
    in_zone(b, "memory", 1, 0);
    in_zone(b, "abs", 2, 3);
    in_zone(b, "abs", 3, -1);
    in_zone(b, "sinewave", 4, 0);
    in_zone(b, "constant", 5, 0);
    in_zone(b, "memory", 6, 0);
    const LogCapture log;
    EXPECT_EQ(b.model.sort_by_zone(), result_ok);
    EXPECT_THAT(log.lines, IsEmpty());
    std::vector<std::pair<std::uint32_t, std::int64_t>> zone_0{{class_hash_of("memory"), 1},
                                                               {class_hash_of("memory"), 6},
                                                               {class_hash_of("sinewave"), 4},
                                                               {class_hash_of("constant"), 5}};
    std::ranges::sort(zone_0);
    EXPECT_THAT(b.ids(), ElementsAre(3, zone_0[0].second, zone_0[1].second, zone_0[2].second, zone_0[3].second, 2));
}

TEST(SortByZone, HashesAreUnsigned) {
    // the hash of "display" has the top bit set
    static_assert(class_hash_of("display") == 0xa78b551f && class_hash_of("inport") == 0x5fb3f2fb);
    ModelBuilder b;
    in_zone(b, "display", 1, 0);
    in_zone(b, "inport", 2, 0);
    b.model.sort_by_zone();
    EXPECT_THAT(b.ids(), ElementsAre(2, 1));
}

TEST(SortByZone, NullEntriesStandLast) {
    ModelBuilder b;
    b.add_null();
    in_zone(b, "abs", 1, 2);
    b.add_null();
    in_zone(b, "abs", 2, 1);
    b.model.sort_by_zone();
    EXPECT_THAT(b.ids(), ElementsAre(2, 1, -1, -1));
}

TEST(GroupBySubsystem, InterleavedSubsystemsBecomeContiguous) {
    ModelBuilder b;
    moved_aside(b, 0, 0);
    moved_aside(b, 10, 0);
    moved_aside(b, 20, 0);
    for (std::int32_t zone : {5, 3, 1}) in_zone(b, "abs", static_cast<std::uint64_t>(10 + zone), zone, 10, 1);
    for (std::int32_t zone : {2, 4, 6}) in_zone(b, "abs", static_cast<std::uint64_t>(20 + zone), zone, 20, 1);
    in_zone(b, "abs", 1, 0);
    in_zone(b, "abs", 2, 7);
    const LogCapture log;
    EXPECT_EQ(b.model.group_by_subsystem(), result_ok);
    EXPECT_THAT(log.lines, IsEmpty());
    // by zone: 1 11 22 13 24 15 26 2; gathering 10 before 15: 1 22 24 11 13 15 26 2; 20 before 26: 1 11 13 15 22 24 26
    // 2
    EXPECT_THAT(b.ids(), ElementsAre(1, 11, 13, 15, 22, 24, 26, 2));
    for (const auto& block : b.model.blocks)
        EXPECT_EQ(block->parent_id(), block->id() < 10 ? 0 : block->id() / 10 * 10);
}

TEST(GroupBySubsystem, InnerGroupMovesWithTheOuterOne) {
    ModelBuilder b;
    moved_aside(b, 0, 0);
    moved_aside(b, 10, 0);
    moved_aside(b, 20, 10);
    in_zone(b, "abs", 21, 1, 20, 2);
    in_zone(b, "abs", 1, 2);
    in_zone(b, "abs", 22, 3, 20, 2);
    in_zone(b, "abs", 2, 4);
    in_zone(b, "abs", 11, 5, 10, 1);
    // 21 1 22 2 11; gathering 20: 1 21 22 2 11; gathering 10, of which 20 is part: 1 2 21 22 11
    b.model.group_by_subsystem();
    EXPECT_THAT(b.ids(), ElementsAre(1, 2, 21, 22, 11));
}

TEST(GroupBySubsystem, InnerGroupBehindTheLastOuterBlockStays) {
    ModelBuilder b;
    moved_aside(b, 0, 0);
    moved_aside(b, 10, 0);
    moved_aside(b, 20, 10);
    in_zone(b, "abs", 11, 1, 10, 1);
    in_zone(b, "abs", 1, 2);
    in_zone(b, "abs", 21, 3, 20, 2);
    b.model.group_by_subsystem();
    EXPECT_THAT(b.ids(), ElementsAre(11, 1, 21));
}

TEST(GroupBySubsystem, CalledTwiceGivesTheSameOrder) {
    ModelBuilder b;
    moved_aside(b, 0, 0);
    moved_aside(b, 10, 0);
    for (std::uint64_t id : {11u, 1u, 12u, 2u, 13u}) in_zone(b, "abs", id, 0, id > 10 ? 10 : 0, id > 10 ? 1 : 0);
    b.model.group_by_subsystem();
    const auto once = b.ids();
    EXPECT_THAT(once, ElementsAre(1, 2, 11, 12, 13));
    b.model.group_by_subsystem();
    EXPECT_EQ(b.ids(), once);
}

TEST(GroupBySubsystem, UnknownParentIsPassedOver) {
    ModelBuilder b;
    moved_aside(b, 0, 0);
    in_zone(b, "abs", 11, 1, 99, 1);
    in_zone(b, "abs", 1, 2);
    in_zone(b, "abs", 12, 3, 99, 1);
    b.add_null();
    b.model.group_by_subsystem();
    EXPECT_THAT(b.ids(), ElementsAre(11, 1, 12, -1));
    EXPECT_EQ(b.at(12).parent_id(), 99u);
}

TEST(GroupBySubsystem, EmptyModel) {
    ModelBuilder b;
    EXPECT_EQ(b.model.group_by_subsystem(), result_ok);
}

/// The grouping step by step on the list itself, with the parents changed as the levels close.
void slow_group(MetaModel& model) {
    auto& blocks = model.blocks;
    std::ranges::stable_sort(blocks, {}, [](const auto& block) { return block->zone(); });
    std::vector<std::pair<std::uint64_t, IMetaBlock*>> pairs;
    std::map<std::uint64_t, std::uint64_t> parent_of;
    for (const auto& block : blocks) {
        const auto pair = std::ranges::find(pairs, block->parent_id(), &std::pair<std::uint64_t, IMetaBlock*>::first);
        if (pair == pairs.end()) pairs.emplace_back(block->parent_id(), block.get());
        else pair->second = block.get();
        parent_of[block->id()] = block->parent_id();
    }
    std::ranges::stable_sort(pairs, [](const auto& a, const auto& b) { return a.second->tier() > b.second->tier(); });
    for (const auto& [P, B] : pairs) {
        const auto S = std::ranges::find(model.subsystems, B->parent_id(), [](const auto& s) { return s->id(); });
        if (S == model.subsystems.end()) continue;
        std::ptrdiff_t pos = 0;
        while (blocks[static_cast<std::size_t>(pos)].get() != B) ++pos;
        const auto at = [&blocks](std::ptrdiff_t i) -> IMetaBlock& { return *blocks[static_cast<std::size_t>(i)]; };
        std::ptrdiff_t first = 0;
        while (first < pos && at(first).parent_id() != P) ++first;
        std::ptrdiff_t k = pos - 1;
        if (first < k) {
            while (k > first && at(k).parent_id() == P) --k;
            if (k != first)
                first = std::stable_partition(blocks.begin() + first, blocks.begin() + k + 1,
                                              [P = P](const auto& block) { return block->parent_id() != P; }) -
                        blocks.begin();
        }
        for (std::ptrdiff_t i = first; i <= pos; ++i) at(i).set_parent_id((*S)->parent_id());
    }
    for (const auto& block : blocks) block->set_parent_id(parent_of[block->id()]);
}

TEST(GroupBySubsystem, EqualsTheStepsOnTheListOnRandomTrees) {
    std::mt19937 random(5);
    int moved = 0;
    for (int round = 0; round < 1000; ++round) {
        ModelBuilder fast, slow;
        const auto seed = random();
        for (ModelBuilder* b : {&fast, &slow}) {
            std::mt19937 same(seed);
            moved_aside(*b, 0, 0);
            std::vector<std::pair<std::uint64_t, std::int32_t>> levels{{0, 0}};  // id and tier of what is inside
            const std::uint64_t subsystems = same() % 10;
            for (std::uint64_t id = 1; id <= subsystems; ++id) {
                const auto around = levels[same() % levels.size()];
                moved_aside(*b, id, around.first);
                levels.emplace_back(id, around.second + 1);
            }
            const bool any_tier = same() % 4 == 0;
            const std::uint64_t blocks = 1 + same() % 50;
            const auto zones = static_cast<std::int32_t>(1 + same() % 60);
            for (std::uint64_t n = 0; n < blocks; ++n) {
                const auto level = levels[same() % levels.size()];
                const bool enable = same() % 8 == 0;
                const std::int32_t tier = any_tier ? static_cast<std::int32_t>(same() % 5) : level.second - enable;
                const std::uint64_t parent = same() % 40 == 0 ? 5000 : level.first;
                in_zone(*b, enable ? "enable" : "abs", 100 + n, static_cast<std::int32_t>(same()) % zones, parent,
                        tier);
            }
        }
        std::ranges::stable_sort(fast.model.blocks, {}, [](const auto& block) { return block->zone(); });
        const auto by_zone = fast.ids();
        fast.model.group_by_subsystem();
        slow_group(slow.model);
        ASSERT_EQ(fast.ids(), slow.ids()) << round;
        for (std::size_t i = 0; i < fast.model.blocks.size(); ++i)
            ASSERT_EQ(fast.model.blocks[i]->parent_id(), slow.model.blocks[i]->parent_id());
        moved += fast.ids() != by_zone;
    }
    EXPECT_GT(moved, 500) << "most of the trees must have something to gather";
}

TEST(GroupBySubsystem, ManySubsystemsTakeLittleTime) {
    ModelBuilder b;
    moved_aside(b, 0, 0);
    constexpr std::uint64_t subsystems = 10000;
    for (std::uint64_t id = 1; id <= subsystems; ++id) moved_aside(b, id, id % 10 == 0 ? 0 : id - 1);
    for (std::uint64_t n = 0; n < 10 * subsystems; ++n) {
        const std::uint64_t parent = 1 + n % subsystems;
        in_zone(b, "abs", subsystems + 1 + n, static_cast<std::int32_t>(n / subsystems), parent,
                static_cast<std::int32_t>(parent % 10 + 1));
    }
    const auto start = std::chrono::steady_clock::now();
    b.model.group_by_subsystem();
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
    EXPECT_LT(seconds.count(), 2.0);
    std::map<std::uint64_t, std::size_t> last;
    for (std::size_t i = 0; i < b.model.blocks.size(); ++i) last[b.model.blocks[i]->parent_id()] = i;
    EXPECT_EQ(last.size(), subsystems);
}

}  // namespace
}  // namespace tessel::test
