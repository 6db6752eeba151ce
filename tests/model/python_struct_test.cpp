#include <gmock/gmock.h>

#include <algorithm>
#include <map>
#include <random>

#include "tests/support/LogCapture.h"
#include "tests/support/ModelBuilder.h"
#include "tests/support/RecordingWrap.h"

namespace tessel::test {
namespace {

using testing::ElementsAre;

TestBlock& named(ModelBuilder& b, const char* class_name, std::uint64_t id, std::uint64_t parent, const char* name) {
    TestBlock& block = b.add(class_name, id, parent);
    block.set_name(name);
    return block;
}

TEST(PythonStruct, MakesTheTreeAndWritesTheSettings) {
    ModelBuilder b;
    b.root();
    named(b, "subsys", 1, 0, "motor");
    named(b, "refsys", 2, 1, "pump");
    named(b, "abs", 3, 2, "gain");
    b.properties->set("ti", 0.5);
    b.properties->set("tf", 2.0);
    b.properties->set("ts", 0.25);
    RecordingWrap python;
    EXPECT_EQ(b.model.build_python_struct(), result_ok);
    EXPECT_THAT(python.calls,
                ElementsAre("assign(mainsys, zarn.Result())", "assign(mainsys.motor, zarn.Result())",
                            "assign(mainsys.motor.pump, zarn.Result())", "set_attribute(mainsys, ti, 0.5)",
                            "set_attribute(mainsys, tf, 2)", "set_attribute(mainsys, ts, 0.25)"));
    EXPECT_EQ(b.at(0).path(), "mainsys");
    EXPECT_EQ(b.at(2).path(), "mainsys.motor.pump");
    EXPECT_EQ(b.at(3).path(), "mainsys.motor.pump.gain");
    EXPECT_EQ(b.at(3).python_path(), "mainsys.motor.pump.gain");
}

TEST(PythonStruct, ObjectsComeInListOrder) {
    ModelBuilder b;
    named(b, "subsys", 2, 1, "inner");
    named(b, "subsys", 1, 0, "outer");
    b.root();
    RecordingWrap python;
    b.model.build_python_struct();
    python.calls.resize(3);
    EXPECT_THAT(python.calls, ElementsAre("assign(mainsys.outer.inner, zarn.Result())",
                                          "assign(mainsys.outer, zarn.Result())", "assign(mainsys, zarn.Result())"));
}

TEST(PythonStruct, NamesBecomeIdentifiers) {
    ModelBuilder b;
    b.root();
    const std::pair<const char*, const char*> cases[]{
        {"2 gain", "mainsys._2_gain"},  {"a.b", "mainsys.a_b"}, {"", "mainsys._"},          {"\r\n\"", "mainsys."},
        {"-x", "mainsys._x"},           {"x-1", "mainsys.x_1"}, {"\"q\"\n1", "mainsys.q1"}, {"\xc3\xa4", "mainsys.__"},
        {"a\xc3\xa4z", "mainsys.a__z"}, {"_1", "mainsys._1"},   {"\"7", "mainsys._7"},      {"class", "mainsys.class"}};
    std::uint64_t id = 1;
    for (const auto& [name, path] : cases) named(b, "abs", id++, 0, name);
    RecordingWrap python;
    b.model.build_python_struct();
    id = 1;
    for (const auto& [name, path] : cases) {
        EXPECT_EQ(b.at(id).path(), path) << name;
        EXPECT_EQ(b.at(id++).python_path(), path) << name;
    }
}

TEST(PythonStruct, ChangedRootNameStandsUnchangedInThePathAndSanitisedInThePythonPath) {
    ModelBuilder b;
    b.root("my root.1");
    named(b, "subsys", 1, 0, "s");
    named(b, "abs", 2, 1, "a");
    RecordingWrap python;
    b.model.build_python_struct();
    EXPECT_EQ(b.at(2).path(), "my root.1.s.a");
    EXPECT_EQ(b.at(2).python_path(), "my_root.1.s.a");
    EXPECT_THAT(python.calls, ElementsAre("assign(my_root.1, zarn.Result())", "assign(my_root.1.s, zarn.Result())",
                                          "set_attribute(mainsys, ti, 0)", "set_attribute(mainsys, tf, 10)",
                                          "set_attribute(mainsys, ts, 1)"));
}

TEST(PythonStruct, NamesThatSanitiseAlikeShareOneObject) {
    ModelBuilder b;
    b.root();
    named(b, "subsys", 1, 0, "a b");
    named(b, "subsys", 2, 0, "a_b");
    RecordingWrap python;
    b.model.build_python_struct();
    EXPECT_EQ(python.calls[1], "assign(mainsys.a_b, zarn.Result())");
    EXPECT_EQ(python.calls[2], python.calls[1]);
}

TEST(PythonStruct, BlockThatHangsUnderNoRootKeepsItsPaths) {
    ModelBuilder b;
    b.root();
    named(b, "subsys", 1, 99, "lost");
    named(b, "abs", 2, 1, "a");
    named(b, "subsys", 3, 4, "ring");
    named(b, "subsys", 4, 3, "ring");
    named(b, "abs", 5, 3, "b");
    named(b, "abs", 6, 0, "c");
    for (std::uint64_t id : {1u, 2u, 3u, 5u}) {
        b.at(id).set_path("old");
        b.at(id).set_python_path("older");
    }
    RecordingWrap python;
    EXPECT_EQ(b.model.build_python_struct(), result_ok);
    for (std::uint64_t id : {1u, 2u, 3u, 5u}) {
        EXPECT_EQ(b.at(id).path(), "old");
        EXPECT_EQ(b.at(id).python_path(), "older");
    }
    EXPECT_EQ(b.at(6).path(), "mainsys.c");
    EXPECT_EQ(python.calls.size(), 4u);
}

TEST(PythonStruct, ModelWithoutRootGetsNoPaths) {
    ModelBuilder b;
    b.add("subsys", 1);
    b.add_null();
    RecordingWrap python;
    b.model.build_python_struct();
    EXPECT_EQ(b.at(1).path(), "");
    EXPECT_THAT(python.calls, ElementsAre("set_attribute(mainsys, ti, 0)", "set_attribute(mainsys, tf, 10)",
                                          "set_attribute(mainsys, ts, 1)"));
}

TEST(PythonStruct, SecondRunOverwritesPathsAndMakesNewObjects) {
    ModelBuilder b;
    b.root();
    named(b, "subsys", 1, 0, "s");
    RecordingWrap python;
    b.model.build_python_struct();
    b.at(1).set_name("t");
    b.model.build_python_struct();
    EXPECT_EQ(b.at(1).path(), "mainsys.t");
    EXPECT_EQ(python.calls.size(), 10u);
    EXPECT_EQ(python.calls[6], "assign(mainsys.t, zarn.Result())");
}

TEST(PythonStruct, LogsEnterAndLeave) {
    ModelBuilder b;
    RecordingWrap python;
    const LogCapture log;
    b.model.build_python_struct();
    EXPECT_THAT(log.lines, ElementsAre("build_python_struct [enter]", "build_python_struct [leave]"));
}

// From any level to any other, and past subsystems that lead nowhere.
TEST(PythonStruct, PathsDoNotHangOnTheOrderOfTheBlocks) {
    const std::map<std::uint64_t, std::uint64_t> parents{{1, 0}, {2, 1},  {3, 2}, {4, 1},   {5, 4},   {6, 0},
                                                         {7, 6}, {8, 99}, {9, 8}, {10, 11}, {11, 10}, {12, 11}};
    std::vector<std::uint64_t> order;
    for (const auto& [id, parent] : parents) order.push_back(id);
    std::mt19937 random(1);
    for (int round = 0; round < 50; ++round) {
        ModelBuilder m;
        std::ranges::shuffle(order, random);
        for (const std::uint64_t id : order) named(m, "subsys", id, parents.at(id), ("s" + std::to_string(id)).c_str());
        m.root();
        const RecordingWrap python;
        m.model.build_python_struct();
        for (const std::uint64_t id : order) {
            std::string path;
            std::uint64_t at = id;
            for (; at != 0 && at < 8; at = parents.at(at)) path = ".s" + std::to_string(at) + path;
            EXPECT_EQ(m.at(id).path(), at == 0 ? "mainsys" + path : "") << id;
        }
    }
}

}  // namespace
}  // namespace tessel::test
