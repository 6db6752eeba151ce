#include "host/edit/editor.h"

#include <gmock/gmock.h>

namespace {

using namespace zarn::edit;
using testing::HasSubstr;

constexpr const char* text = R"({"blocks": [
  {"constant": {"name": "c", "id": 3000000000000001, "expression": "2.0"}},
  {"abs":      {"name": "a", "id": 3000000000000002, "geometry": {"x": 1.50, "y": 2}}},
  {"display":  {"name": "d", "id": 3000000000000003}}],
 "links": [
  {"srcId": 3000000000000001, "dstId": 3000000000000002},
  {"srcId": 3000000000000002, "dstId": 3000000000000003, "breakpoints": [{"x": 5.0, "y": 6}]}],
 "kept": [1.50,  2]}
)";

class Edited : public testing::Test {
protected:
    /// Does an edit as one step.
    template <class Work>
    outcome_t step(const Work& work) {
        editor.begin();
        work();
        return editor.commit("edit");
    }

    Editor editor{text, "model.json"};
    const std::string c = "3000000000000001", a = "3000000000000002", d = "3000000000000003";
};

TEST_F(Edited, NothingChangesByReading) {
    EXPECT_EQ(editor.text(), text);
    EXPECT_FALSE(editor.modified());
}

TEST_F(Edited, AMoveChangesTheGeometryOnly) {
    step([&] { editor.move({a}, 2, 3); });
    std::string wanted = text;
    wanted.replace(wanted.find("1.50, \"y\": 2"), 12, "3.5, \"y\": 5");
    EXPECT_EQ(editor.text(), wanted);
}

TEST_F(Edited, BendsGoAlongWithBothEndsOnly) {
    step([&] { editor.move({a}, 1, 1); });
    EXPECT_THAT(editor.text(), HasSubstr(R"([{"x": 5.0, "y": 6}])"));
    step([&] { editor.move({a, d}, 1, 1); });
    EXPECT_THAT(editor.text(), HasSubstr(R"([{"x": 6.0, "y": 7}])"));
}

TEST_F(Edited, WhatIsRefusedChangesNothing) {
    editor.begin();
    editor.rename(c, "lost");
    EXPECT_THROW(editor.rename("1", "x"), Refusal);
    editor.abandon();
    EXPECT_EQ(editor.text(), text);
    EXPECT_THROW(editor.undo(), Refusal);
}

TEST_F(Edited, UndoGoesBackToTheLastByte) {
    step([&] { editor.remove({a}, {}, {}, true); });
    const std::string joined = editor.text();
    EXPECT_THAT(joined, testing::Not(HasSubstr("3000000000000002")));
    EXPECT_THAT(joined, HasSubstr(R"("srcId": 3000000000000001, "dstId": 3000000000000003)"));
    step([&] { editor.remove({c, d}, {}, {}, false); });
    EXPECT_THAT(editor.text(), HasSubstr("\"blocks\": []"));
    editor.undo();
    EXPECT_EQ(editor.text(), joined);
    editor.undo();
    EXPECT_EQ(editor.text(), text);
    EXPECT_FALSE(editor.modified());
    editor.redo();
    EXPECT_EQ(editor.text(), joined);
}

TEST_F(Edited, AnEditBehindAnUndoEndsWhatCouldBeDoneAgain) {
    step([&] { editor.rename(c, "x"); });
    editor.undo();
    step([&] { editor.rename(c, "y"); });
    EXPECT_THROW(editor.redo(), Refusal);
}

TEST_F(Edited, AWireThatClosesALoopIsRefused) {
    EXPECT_THAT(editor.obstacle({a, 0}, {a, 0}, true).why, HasSubstr("closes a loop"));
    EXPECT_THAT(editor.obstacle({c, 0}, {a, 0}, false).why, HasSubstr("has a wire already"));
    EXPECT_THAT(editor.obstacle({c, 1}, {a, 0}, true).why, HasSubstr("no output 1"));
    EXPECT_EQ(editor.obstacle({c, 0}, {a, 0}, true).why, "");
}

TEST_F(Edited, ASubsystemAndBackComputesTheSame) {
    step([&] { editor.group({a}, "g"); });
    const std::string group = editor.state().created.empty() ? "" : editor.state().created.front();
    editor.undo();
    outcome_t made = step([&] { editor.group({a}, "g"); });
    ASSERT_FALSE(made.created.empty());
    EXPECT_EQ(editor.inputs_of(editor.block_at(made.created.back())), std::vector<int>{0});
    EXPECT_EQ(editor.outputs_of(editor.block_at(made.created.back())), std::vector<int>{0});
    step([&] { editor.ungroup(made.created.back()); });
    EXPECT_NO_THROW(editor.wire_at(c + ":0>" + a + ":0"));
    EXPECT_NO_THROW(editor.wire_at(a + ":0>" + d + ":0"));
    EXPECT_EQ(editor.sheet().items(list_t::blocks).size(), 3u);
    EXPECT_EQ(editor.sheet().items(list_t::links).size(), 2u);
}

TEST_F(Edited, PortsOfASubsystemGoWithTheirBlocks) {
    std::string sub, in;
    step([&] {
        sub = editor.add_block({"subsys", "0", "s", 0, 0, {}, {}, {}, {}, {}, {}});
        new_block_t port;
        port.class_name = "inport";
        port.level = sub;
        in = editor.add_block(port);
        editor.add_block(port);
    });
    EXPECT_EQ(editor.inputs_of(editor.block_at(sub)), (std::vector<int>{0, 1}));
    step([&] { editor.connect({c, 0}, {sub, 0}, {}, "", false); });
    step([&] { editor.remove({in}, {}, {}, false); });
    EXPECT_EQ(editor.inputs_of(editor.block_at(sub)), std::vector<int>{1});
    EXPECT_THROW(editor.wire_at(c + ":0>" + sub + ":0"), Refusal);
}

TEST_F(Edited, APastedPieceKeepsItsNumbersAndGetsIdsOfItsOwn) {
    const std::string fragment = editor.copy({c, a});
    EXPECT_THAT(fragment, HasSubstr("1.50"));
    const outcome_t made = step([&] { editor.paste(fragment, "0", 100, 200); });
    ASSERT_EQ(made.created.size(), 2u);
    EXPECT_NO_THROW(editor.wire_at(made.created[0] + ":0>" + made.created[1] + ":0"));
    EXPECT_EQ(editor.name_of(editor.block_at(made.created[0])), "c2");
}

TEST_F(Edited, ChangesOfTwoAreJoinedWhereTheyDoNotMeet) {
    step([&] { editor.rename(c, "mine"); });
    std::string theirs = text;
    theirs.replace(theirs.find("\"d\""), 3, "\"theirs\"");
    editor.begin();
    EXPECT_TRUE(editor.merge(text, theirs).empty());
    editor.commit("merge");
    EXPECT_THAT(editor.text(), HasSubstr("\"mine\""));
    EXPECT_THAT(editor.text(), HasSubstr("\"theirs\""));
    std::string clash = text;
    clash.replace(clash.find("\"c\""), 3, "\"clash\"");
    editor.begin();
    EXPECT_EQ(editor.merge(text, clash), std::vector<std::string>{c});
}

TEST(Editor, TextsThatAreNoModelsAreRefused) {
    for (const char* other : {"", "[]", "{\"blocks\": {}}", "{\"blocks\": [], \"blocks\": []}", "{\"blocks\": ["})
        EXPECT_THROW(Editor(other, "m.json"), Refusal) << other;
    EXPECT_NO_THROW(Editor("{}", "m.json"));
}

TEST(Editor, ListsAreMadeWhereThereAreNone) {
    Editor editor("{\n \"model\": {\"tf\": 2.0}\n}\n", "m.json");
    editor.begin();
    editor.add_block({"constant", "0", "c", 1, 2, {}, {}, {}, {}, {}, {}});
    editor.comment("0", "why", {0, 0, 10, 10});
    editor.set_setting("ts", 0.5);
    editor.commit("edit");
    const auto json = nlohmann::json::parse(editor.text());
    EXPECT_EQ(json["blocks"].size(), 1u);
    EXPECT_EQ(json["comments"][0]["text"], "why");
    EXPECT_EQ(json["model"]["ts"], 0.5);
    EXPECT_EQ(json["model"]["tf"], 2.0);
    editor.undo();
    EXPECT_EQ(editor.text(), "{\n \"model\": {\"tf\": 2.0}\n}\n");
}

}  // namespace
