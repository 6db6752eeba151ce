#include "host/diagnose/workspace.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/hash.h"
#include "framework/classes.h"
#include "host/diagnose/everyday.h"

namespace zarn {
namespace {

using testing::ElementsAre;

TEST(Workspace, NamesThatAnExpressionTakesFromIt) {
    EXPECT_THAT(names_in("K * 2 + L.rows - max(R, K)"), ElementsAre("K", "L", "R"));
    EXPECT_THAT(names_in("math.sin(1e3) if True else 0x1F"), ElementsAre());
    EXPECT_THAT(names_in("'name' + \"it's\" + zeta . y"), ElementsAre("zeta"));
    EXPECT_THAT(names_in("'open"), ElementsAre());
    EXPECT_THAT(names_in(""), ElementsAre());
}

TEST(Workspace, FewOfMany) {
    EXPECT_EQ(few_of({}), "");
    EXPECT_EQ(few_of({"K"}), "K");
    EXPECT_EQ(few_of({"K", "L"}), "K and L");
    EXPECT_EQ(few_of({"K", "L", "R"}), "K, L and R");
    EXPECT_EQ(few_of({"K", "L", "R", "S"}), "K, L, R ...");
}

TEST(Everyday, NamesMeanAParameterOfTheClassOrAKnownKey) {
    const auto of = [](const char* name) {
        return tessel::factory::find_class(tessel::class_hash_of(name))->traits().parameters;
    };
    EXPECT_EQ(everyday_key("gain", {}, of("poly1st")), "coeffA");
    EXPECT_EQ(everyday_key("value", {}, of("constant")), "expression");
    EXPECT_EQ(everyday_key("Stop_Time", {"ti", "tf"}), "tf");
    EXPECT_EQ(everyday_key("dt", {"srcId"}), "");
    EXPECT_EQ(everyday_key("zoom", {"ts"}, of("constant")), "");
}

}  // namespace
}  // namespace zarn
