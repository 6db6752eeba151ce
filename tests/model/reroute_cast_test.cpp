#include <gmock/gmock.h>

#include "tests/support/LogCapture.h"
#include "tests/support/ModelBuilder.h"

namespace tessel::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::uint64_t a = 1, x = 2, y = 3, c = 10, c2 = 11;

TEST(RerouteCast, FirstLinkInIsJoinedWithEveryLinkOut) {
    ModelBuilder m;
    m.add("add", a, 0, 2, 2);
    m.add("cast", c);
    m.add("abs", x);
    m.add("add", y);
    m.link(c, 0, x, 0, "p").link(a, 1, c, 0, "u").link(a, 0, x, 0, "keep").link(c, 0, y, 1, "q");
    m.properties->links[1].breakpoints.push_back({1, 2});
    EXPECT_EQ(m.model.reroute_due_to_cast(), result_ok);
    EXPECT_THAT(m.links(), ElementsAre("1:0>2:0 keep", "1:1>2:0 u#p", "1:1>3:1 u#q"));
    EXPECT_THAT(m.properties->links[1].breakpoints, IsEmpty());
    EXPECT_EQ(m.model.find_block(c), nullptr);
}

TEST(RerouteCast, CastWithoutLinkInFailsUnmarkedAndUnchanged) {
    ModelBuilder m;
    m.add("constant", a);
    m.add("cast", c);
    m.add("abs", x);
    m.add("cast", c2);
    m.add("abs", y);
    m.link(a, c2).link(c2, y).link(c, x);
    const auto before = m.links();
    const LogCapture log;
    EXPECT_EQ(m.model.reroute_due_to_cast(), result_cast_unresolved);
    EXPECT_EQ(m.links(), before);
    EXPECT_THAT(m.failed(), IsEmpty());
    EXPECT_THAT(m.ids(), ElementsAre(a, c, x, c2, y));
    EXPECT_THAT(log.lines, ElementsAre("reroute_due_to_cast [enter]", "reroute_due_to_cast [leave]"));
}

TEST(RerouteCast, TwoCastsInARowFailOnTheSecond) {
    ModelBuilder m;
    m.add("constant", a);
    m.add("cast", c);
    m.add("cast", c2);
    m.add("abs", y);
    m.link(a, 0, c, 0, "1").link(c, 0, c2, 0, "2").link(c2, 0, y, 0, "3");
    const LogCapture log;
    EXPECT_EQ(m.model.reroute_due_to_cast(), result_cast_unresolved);
    EXPECT_THAT(m.links(), ElementsAre("1:0>11:0 1#2", "10:0>3:0 2#3"));
    EXPECT_THAT(m.failed(), ElementsAre(c2)) << "the link into it is the first that still touches a cast";
    EXPECT_EQ(log.lines.back(), "reroute_due_to_cast [leave]");
}

TEST(RerouteCast, CastsInARowDrawnFromTheEndFailOnTheFirst) {
    ModelBuilder m;
    m.add("constant", a);
    m.add("cast", c);
    m.add("cast", c2);
    m.add("abs", y);
    m.link(c2, y).link(c, c2).link(a, c);
    EXPECT_EQ(m.model.reroute_due_to_cast(), result_cast_unresolved);
    EXPECT_THAT(m.links(), ElementsAre("10:0>3:0 #", "1:0>11:0 #"));
    EXPECT_THAT(m.failed(), ElementsAre(c));
}

TEST(RerouteCast, CastWithoutLinkOutFails) {
    ModelBuilder m;
    m.add("constant", a);
    m.add("cast", c);
    m.link(a, c);
    EXPECT_EQ(m.model.reroute_due_to_cast(), result_cast_unresolved);
    EXPECT_THAT(m.failed(), ElementsAre(c));
    EXPECT_THAT(m.links(), ElementsAre("1:0>10:0"));
}

TEST(RerouteCast, CastWithoutAnyLinkIsDeleted) {
    ModelBuilder m;
    m.add("cast", c);
    m.add("constant", a);
    EXPECT_EQ(m.model.reroute_due_to_cast(), result_ok);
    EXPECT_THAT(m.ids(), ElementsAre(a));
}

TEST(RerouteCast, SourceEndIsMarkedBeforeTheTargetEnd) {
    ModelBuilder m;
    m.add("cast", c);
    m.add("cast", c2);
    m.link(c, c2).link(c2, c);
    EXPECT_EQ(m.model.reroute_due_to_cast(), result_cast_unresolved);
    EXPECT_EQ(m.links().size(), 2u);
    EXPECT_EQ(m.failed().size(), 1u);
    EXPECT_EQ(m.failed()[0], static_cast<std::int64_t>(m.properties->links[0].srcId));
}

TEST(RerouteCast, LinkWithAnUnknownEndIsNotLookedAtInTheEnd) {
    ModelBuilder m;
    m.add("cast", c);
    m.link(99, c);
    EXPECT_EQ(m.model.reroute_due_to_cast(), result_ok);
    EXPECT_THAT(m.links(), ElementsAre("99:0>10:0"));
}

// [10 1 11 2 3 null]: 10 with the null entry, which stays: [null 1 11 2 3 10]; 11 with 3: [null 1 3 2 | 11 10].
TEST(RerouteCast, CastsLeaveByATwoEndedSwap) {
    ModelBuilder m;
    m.add("cast", c);
    m.add("constant", 1);
    m.add("cast", c2);
    m.add("abs", 2);
    m.add("abs", 3);
    m.add_null();
    m.link(1, c).link(c, 2).link(1, c2).link(c2, 3);
    EXPECT_EQ(m.model.reroute_due_to_cast(), result_ok);
    EXPECT_THAT(m.ids(), ElementsAre(-1, 1, 3, 2));
}

TEST(RerouteCast, TypeStaysOnTheInputBehindTheCast) {
    ModelBuilder m;
    m.add("constant", a).output(0)->set_type(type_flt64);
    m.add("cast", c).type_rule = [](TestBlock& block) {
        block.output(0)->set_type_if_unset(type_int8);
        return block.base_type();
    };
    m.add("abs", x);
    m.link(a, c).link(c, x);
    EXPECT_EQ(m.model.create_links(), result_ok);
    EXPECT_EQ(m.model.calculate_types(), result_ok);
    EXPECT_EQ(m.model.reroute_due_to_cast(), result_ok);
    EXPECT_EQ(m.model.create_links(), result_ok);
    EXPECT_EQ(m.source(x), 1);
    EXPECT_EQ(m.at(x).input(0)->type(), type_int8);
    EXPECT_EQ(m.at(x).output(0)->type(), type_int8);
}

TEST(RerouteCast, NoInputStaysBoundToACastThatIsGone) {
    ModelBuilder m;
    m.add("constant", a);
    m.add("cast", c);
    m.add("abs", x);
    // the first link into the cast leads from a port that does not exist, so that its joined link binds nothing
    m.link(a, 5, c, 0).link(a, c).link(c, x);
    EXPECT_EQ(m.model.create_links(), result_ok);
    EXPECT_EQ(m.source(x), static_cast<std::int64_t>(c));
    EXPECT_EQ(m.model.reroute_due_to_cast(), result_ok);
    EXPECT_EQ(m.source(x), -1);
    EXPECT_EQ(m.model.create_links(), result_ok);
    EXPECT_EQ(m.source(x), -1);
    EXPECT_EQ(m.model.check_links(), result_source_missing);
}

}  // namespace
}  // namespace tessel::test
