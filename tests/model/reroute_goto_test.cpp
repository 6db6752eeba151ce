#include <gmock/gmock.h>

#include <random>

#include "tests/support/LogCapture.h"
#include "tests/support/ModelBuilder.h"

namespace tessel::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::uint64_t a = 1, b1 = 2, b2 = 3, g = 10, f = 20;

TEST(RerouteGoto, JoinsTheLinkInWithEveryLinkOut) {
    ModelBuilder m;
    m.add("add", a, 0, 2, 3);
    m.tagged("goto", g, "T");
    m.tagged("from", f, "T");
    m.add("add", b1);
    m.add("add", b2);
    m.link(a, 2, g, 0, "in").link(f, 0, b1, 1, "x").link(f, 0, b2, 0, "y").link(b1, 0, b2, 1, "other");
    m.properties->links[0].breakpoints.push_back({1, 2});
    m.properties->links[0].hidden = true;
    m.properties->links[1].resolved = true;
    EXPECT_EQ(m.model.reroute_due_to_goto(), result_ok);
    EXPECT_THAT(m.links(), ElementsAre("2:0>3:1 other", "1:2>2:1 in#x", "1:2>3:0 in#y"));
    EXPECT_THAT(m.properties->links[1].breakpoints, IsEmpty());
    EXPECT_FALSE(m.properties->links[1].hidden);
    EXPECT_FALSE(m.properties->links[1].resolved);
    EXPECT_EQ(m.model.find_block(g), nullptr);
    EXPECT_EQ(m.model.find_block(f), nullptr);
    EXPECT_EQ(m.model.subsystems.size(), 0u);
}

TEST(RerouteGoto, EmptyLabelsStillAreJoined) {
    ModelBuilder m;
    m.add("constant", a);
    m.tagged("goto", g, "T");
    m.tagged("from", f, "T");
    m.add("abs", b1);
    m.link(a, g).link(f, b1);
    m.model.reroute_due_to_goto();
    EXPECT_THAT(m.links(), ElementsAre("1:0>2:0 #"));
}

TEST(RerouteGoto, FromBlocksAnywhereInListOrder) {
    ModelBuilder m;
    m.add("constant", a);
    m.tagged("from", 21, "T");
    m.tagged("goto", g, "T");
    m.tagged("from", 22, "t");
    m.tagged("from", 20, "T", 99);
    for (std::uint64_t id : {2u, 3u, 4u}) m.add("abs", id);
    m.link(20, 0, 2, 0, "p").link(21, 0, 3, 0, "q").link(20, 0, 4, 0, "r").link(a, 0, g, 0, "i");
    m.model.reroute_due_to_goto();
    EXPECT_THAT(m.links(), ElementsAre("1:0>3:0 i#q", "1:0>2:0 i#p", "1:0>4:0 i#r"));
}

TEST(RerouteGoto, GotoWithoutLinkInFailsUnmarked) {
    ModelBuilder m;
    m.add("constant", a);
    m.tagged("goto", g, "T");
    const LogCapture log;
    EXPECT_EQ(m.model.reroute_due_to_goto(), result_from_unresolved);
    EXPECT_THAT(m.failed(), IsEmpty());
    EXPECT_THAT(m.ids(), ElementsAre(1, 10));
    EXPECT_THAT(log.lines, ElementsAre("reroute_due_to_goto [enter]", "reroute_due_to_goto [leave]"));
}

TEST(RerouteGoto, GotosBeforeTheFailingOneStayRerouted) {
    ModelBuilder m;
    m.add("constant", a);
    m.tagged("goto", g, "T");
    m.tagged("from", f, "T");
    m.add("abs", b1);
    m.tagged("goto", 11, "U");
    m.tagged("goto", 12, "V");
    m.link(a, 0, g, 0, "i").link(f, 0, b1, 0, "o").link(a, 12);
    EXPECT_EQ(m.model.reroute_due_to_goto(), result_from_unresolved);
    EXPECT_THAT(m.links(), ElementsAre("1:0>12:0", "1:0>2:0 i#o"));
    EXPECT_THAT(m.ids(), ElementsAre(1, 10, 20, 2, 11, 12));
}

TEST(RerouteGoto, GotoWithoutFromLosesItsLink) {
    ModelBuilder m;
    m.add("constant", a);
    m.tagged("goto", g, "T");
    m.link(a, g);
    EXPECT_EQ(m.model.reroute_due_to_goto(), result_ok);
    EXPECT_THAT(m.links(), IsEmpty());
    EXPECT_THAT(m.ids(), ElementsAre(1));
}

TEST(RerouteGoto, FromWithoutGotoIsMarked) {
    ModelBuilder m;
    m.tagged("from", f, "T");
    m.add("abs", b1);
    m.link(f, b1);
    EXPECT_EQ(m.model.reroute_due_to_goto(), result_from_unresolved);
    EXPECT_THAT(m.failed(), ElementsAre(f));
}

TEST(RerouteGoto, FromWithoutGotoAndWithoutLinkIsDeleted) {
    ModelBuilder m;
    m.tagged("from", f, "T");
    m.add("abs", b1);
    EXPECT_EQ(m.model.reroute_due_to_goto(), result_ok);
    EXPECT_THAT(m.ids(), ElementsAre(2));
}

TEST(RerouteGoto, LinkIntoAFromIsMarked) {
    ModelBuilder m;
    m.add("constant", a);
    m.tagged("from", f, "T");
    m.link(a, f);
    const LogCapture log;
    EXPECT_EQ(m.model.reroute_due_to_goto(), result_from_unresolved);
    EXPECT_THAT(m.failed(), ElementsAre(f));
    EXPECT_EQ(log.lines.back(), "reroute_due_to_goto [leave]");
}

TEST(RerouteGoto, LinkOutOfAGotoIsMarked) {
    ModelBuilder m;
    m.add("constant", a);
    m.tagged("goto", g, "T");
    m.add("abs", b1);
    m.link(a, g).link(g, b1);
    EXPECT_EQ(m.model.reroute_due_to_goto(), result_goto_unresolved);
    EXPECT_THAT(m.failed(), ElementsAre(g));
    EXPECT_THAT(m.links(), ElementsAre("10:0>2:0"));
}

TEST(RerouteGoto, SecondLinkFromAnotherBlockIsLeftOver) {
    ModelBuilder m;
    m.add("constant", a);
    m.add("constant", 4);
    m.tagged("goto", g, "T");
    m.tagged("from", f, "T");
    m.add("abs", b1);
    m.link(a, g).link(4, g).link(f, b1);
    EXPECT_EQ(m.model.reroute_due_to_goto(), result_goto_unresolved);
    EXPECT_THAT(m.failed(), ElementsAre(g));
    EXPECT_THAT(m.links(), ElementsAre("4:0>10:0", "1:0>2:0 #"));
}

TEST(RerouteGoto, SecondLinkFromTheSameBlockGoesWithTheFirst) {
    ModelBuilder m;
    m.add("add", a, 0, 2, 2);
    m.tagged("goto", g, "T");
    m.tagged("from", f, "T");
    m.add("abs", b1);
    m.link(a, 1, g, 0, "first").link(a, 0, g, 0, "second").link(f, 0, b1, 0, "o");
    EXPECT_EQ(m.model.reroute_due_to_goto(), result_ok);
    EXPECT_THAT(m.links(), ElementsAre("1:1>2:0 first#o"));
}

TEST(RerouteGoto, ParallelLinksOutOfAFromAreAllJoined) {
    ModelBuilder m;
    m.add("constant", a);
    m.tagged("goto", g, "T");
    m.tagged("from", f, "T");
    m.add("add", b1);
    m.link(a, g).link(f, 0, b1, 0).link(f, 0, b1, 1);
    m.model.reroute_due_to_goto();
    EXPECT_THAT(m.links(), ElementsAre("1:0>2:0 #", "1:0>2:1 #"));
}

// The first goto's joined link is the second one's link in.
TEST(RerouteGoto, ChainOfGotosIsJoinedInListOrder) {
    ModelBuilder m;
    m.add("constant", a);
    m.tagged("goto", 10, "T");
    m.tagged("from", 20, "T");
    m.tagged("goto", 11, "U");
    m.tagged("from", 21, "U");
    m.add("abs", b1);
    m.link(21, 0, b1, 0, "z").link(20, 0, 11, 0, "y").link(a, 0, 10, 0, "x");
    EXPECT_EQ(m.model.reroute_due_to_goto(), result_ok);
    EXPECT_THAT(m.links(), ElementsAre("1:0>2:0 x#y#z"));
}

// The other way round the first goto takes the link from the `from` block, which the second goto then joins on.
TEST(RerouteGoto, ChainOfGotosIsJoinedAgainstListOrder) {
    ModelBuilder m;
    m.add("constant", a);
    m.tagged("goto", 11, "U");
    m.tagged("from", 21, "U");
    m.tagged("goto", 10, "T");
    m.tagged("from", 20, "T");
    m.add("abs", b1);
    m.link(21, 0, b1, 0, "z").link(20, 0, 11, 0, "y").link(a, 0, 10, 0, "x");
    EXPECT_EQ(m.model.reroute_due_to_goto(), result_ok);
    EXPECT_THAT(m.links(), ElementsAre("1:0>2:0 x#y#z"));
}

// Labels are put together at the end: those between would take the square of the chain.
TEST(RerouteGoto, LongChainTakesRoomInItsLengthOnly) {
    ModelBuilder m;
    constexpr std::uint64_t count = 100000;
    m.add("constant", 1);
    for (std::uint64_t i = 0; i < count; ++i) {
        const std::string target = std::to_string(i);
        m.tagged("goto", 1000000 + i, target.c_str());
        m.tagged("from", 2000000 + i, target.c_str());
        m.link(i == 0 ? 1 : 2000000 + i - 1, 1000000 + i);
    }
    m.add("abs", 2);
    m.link(2000000 + count - 1, 2);
    EXPECT_EQ(m.model.reroute_due_to_goto(), result_ok);
    ASSERT_EQ(m.properties->links.size(), 1u);
    EXPECT_EQ(m.properties->links[0].label, std::string(count, '#'));
}

TEST(RerouteGoto, RingThatComesBackToItselfIsUnresolved) {
    ModelBuilder m;
    m.tagged("from", 20, "T");
    m.tagged("goto", 10, "T");
    m.link(20, 10);
    EXPECT_EQ(m.model.reroute_due_to_goto(), result_from_unresolved);
    EXPECT_THAT(m.links(), ElementsAre("20:0>10:0 #"));
    EXPECT_THAT(m.failed(), ElementsAre(20));
}

TEST(RerouteGoto, SourceEndIsTestedBeforeTheTargetEnd) {
    ModelBuilder m;
    m.tagged("from", f, "T");
    m.tagged("goto", g, "U");
    m.add("constant", a);
    m.link(a, g).link(f, g);
    EXPECT_EQ(m.model.reroute_due_to_goto(), result_from_unresolved);
    EXPECT_THAT(m.failed(), ElementsAre(f));
}

TEST(RerouteGoto, LinkWithAnUnknownEndIsNotLookedAtInTheEnd) {
    ModelBuilder m;
    m.add("constant", a);
    m.tagged("goto", g, "T");
    m.link(a, g).link(99, g).link(g, 98);
    EXPECT_EQ(m.model.reroute_due_to_goto(), result_ok);
    EXPECT_THAT(m.links(), ElementsAre("99:0>10:0", "10:0>98:0"));
    EXPECT_THAT(m.failed(), IsEmpty());
}

// [10 1 20 2 3 21]: back passes 21; 10 with 3: [3 1 20 2 10 21]; 20 with 2: [3 1 2 | 20 10 21].
TEST(RerouteGoto, GotosAndFromsLeaveByATwoEndedSwap) {
    ModelBuilder m;
    m.tagged("goto", 10, "T");
    m.add("constant", 1);
    m.tagged("from", 20, "T");
    m.add("abs", 2);
    m.add("abs", 3);
    m.tagged("from", 21, "U");
    m.link(1, 10).link(20, 2);
    EXPECT_EQ(m.model.reroute_due_to_goto(), result_ok);
    EXPECT_THAT(m.ids(), ElementsAre(3, 1, 2));
}

TEST(RerouteGoto, NullEntriesArePassedOver) {
    ModelBuilder m;
    m.add_null();
    m.tagged("goto", g, "T");
    m.add_null();
    m.add("constant", a);
    m.link(a, g);
    EXPECT_EQ(m.model.reroute_due_to_goto(), result_ok);
    EXPECT_THAT(m.ids(), ElementsAre(-1, 1, -1));
}

/// The joining goto by goto, on the link list itself.
result_t slow_join(const MetaModel& model, PropertiesModel& properties) {
    for (const auto& goto_block : model.blocks) {
        if (goto_block->class_hash() != class_hash_of("goto")) continue;
        const auto in_at = std::ranges::find(properties.links, goto_block->id(), &link_t::dstId);
        if (in_at == properties.links.end()) return result_from_unresolved;
        const link_t in = *in_at;
        const std::string target = goto_block->param("target").text();
        std::vector<std::pair<std::uint64_t, std::uint64_t>> removal;
        std::vector<link_t> insertion;
        for (const auto& from : model.blocks) {
            if (from->class_hash() != class_hash_of("from") || target != from->param("target").text()) continue;
            for (const link_t& out : properties.links) {
                if (out.srcId != from->id()) continue;
                removal.emplace_back(out.srcId, out.dstId);
                insertion.push_back({in.srcId, out.dstId, in.srcPort, out.dstPort, in.label + "#" + out.label, {}});
            }
        }
        removal.emplace_back(in.srcId, in.dstId);
        for (const auto& [src, dst] : removal) properties.remove_links(src, dst);
        for (const link_t& link : insertion)
            properties.insert_link(link.srcId, link.dstId, link.srcPort, link.dstPort, link.label);
    }
    return result_ok;
}

TEST(RerouteGoto, EqualsJoiningGotoByGotoOnRandomDiagrams) {
    std::mt19937 random(2);
    int failed = 0;
    for (int round = 0; round < 500; ++round) {
        ModelBuilder fast, slow;
        const auto seed = random();
        for (ModelBuilder* m : {&fast, &slow}) {
            std::mt19937 same(seed);
            const std::uint64_t count = 4 + same() % 12;
            for (std::uint64_t id = 1; id <= count; ++id) {
                const char* const classes[]{"goto", "from", "from", "abs", "abs"};
                const std::string target(1, static_cast<char>('A' + same() % 2));
                m->tagged(classes[same() % 5], id, target.c_str());
            }
            for (std::uint64_t id = 1; id <= count; ++id)
                if (m->at(id).class_hash() == class_hash_of("goto") && same() % 8 != 0) m->link(1 + same() % count, id);
            for (std::uint64_t n = same() % 6; n > 0; --n) {
                const std::string label = std::to_string(n);
                m->link(1 + same() % count, static_cast<int>(same() % 3), 1 + same() % count,
                        static_cast<int>(same() % 3), label.c_str());
            }
        }
        const result_t result = fast.model.reroute_due_to_goto();
        const result_t joined = slow_join(slow.model, *slow.properties);
        ASSERT_EQ(fast.links(), slow.links()) << round;
        if (joined != result_ok) {
            ASSERT_EQ(result, joined);
            ASSERT_THAT(fast.failed(), IsEmpty());
        }
        failed += result != result_ok;
    }
    EXPECT_GT(failed, 50);
    EXPECT_LT(failed, 450);
}

}  // namespace
}  // namespace tessel::test
