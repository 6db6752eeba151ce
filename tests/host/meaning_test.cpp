#include "host/session/meaning.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>
#include <random>

#include "host/session/session.h"
#include "tests/support/temp_folder.h"

namespace zarn {
namespace {

using nlohmann::json;

const std::string model_text = R"({
  "blocks": [
    {"constant": {"name": "a", "id": 1000000000000001, "expression": "2.0 * k"}},
    {"subsys": {"name": "part", "id": 1000000000000002, "inportCount": 1, "outportCount": 1}},
    {"inport": {"name": "u", "id": 1000000000000003, "parent": 1000000000000002, "portNumber": 0}},
    {"poly1st": {"name": "gain", "id": 1000000000000004, "parent": 1000000000000002, "coeffA": "2.0", "coeffB": "0.0"}},
    {"outport": {"name": "y", "id": 1000000000000005, "parent": 1000000000000002, "portNumber": 0}},
    {"subtract": {"name": "less", "id": 1000000000000006, "inportCount": 2}},
    {"outport": {"name": "z", "id": 1000000000000007, "portNumber": 0, "inportCount": 1}}],
  "links": [
    {"srcId": 1000000000000001, "dstId": 1000000000000002, "srcPort": 0, "dstPort": 0},
    {"srcId": 1000000000000003, "dstId": 1000000000000004, "srcPort": 0, "dstPort": 0},
    {"srcId": 1000000000000004, "dstId": 1000000000000005, "srcPort": 0, "dstPort": 0},
    {"srcId": 1000000000000002, "dstId": 1000000000000006, "srcPort": 0, "dstPort": 0},
    {"srcId": 1000000000000001, "dstId": 1000000000000006, "srcPort": 0, "dstPort": 1},
    {"srcId": 1000000000000006, "dstId": 1000000000000007, "srcPort": 0, "dstPort": 0}],
  "model": {"ti": 0.0, "tf": 1.0, "ts": 0.25}})";

std::string meaning(const std::string& text, const std::string& file = "m.json",
                    std::vector<std::pair<std::string, double>> settings = {}) {
    return Session({file, std::move(settings), nullptr, {}, {}, {}}, text).meaning();
}
std::string meaning(const json& model) { return meaning(model.dump()); }

json model() { return json::parse(model_text); }

json& block(json& model, std::size_t i) { return *model["blocks"][i].begin(); }

/// Ids of another model: each `by` more.
void renumber(json& model, std::uint64_t by) {
    const auto change = [by](json& object, const char* key) {
        if (object.contains(key)) object[key] = object[key].get<std::uint64_t>() + by;
    };
    for (std::size_t i = 0; i < model["blocks"].size(); ++i)
        for (const char* key : {"id", "parent"}) change(block(model, i), key);
    for (json& link : model["links"])
        for (const char* key : {"srcId", "dstId"}) change(link, key);
}

TEST(Meaning, IsWrittenInDigits) {
    EXPECT_EQ(meaning(model_text).size(), 32u);
    EXPECT_EQ(meaning(model_text).find_first_not_of("0123456789abcdef"), std::string::npos);
}

// Committed code holds the hash: it must be the same on every machine and with every version.
TEST(Meaning, StaysWhatItWas) { EXPECT_EQ(meaning(model_text), "ef39cc520068d8c11b889688bf497389"); }

TEST(Meaning, KnowsNoIds) {
    json other = model();
    renumber(other, 777);
    EXPECT_EQ(meaning(other), meaning(model_text));
}

TEST(Meaning, KnowsNoOrder) {
    std::mt19937 random(7);
    for (int i = 0; i < 20; ++i) {
        json other = model();
        std::shuffle(other["blocks"].begin(), other["blocks"].end(), random);
        std::shuffle(other["links"].begin(), other["links"].end(), random);
        ASSERT_EQ(meaning(other), meaning(model_text));
    }
}

TEST(Meaning, KnowsNoSpelling) {
    EXPECT_EQ(meaning(model().dump(3)), meaning(model_text));
    std::string text = model_text;
    text.replace(text.find("\"gain\""), 6, "\"g\\u0061in\"");
    text.replace(text.find("\"tf\": 1.0"), 9, "\"tf\": 10e-1");
    EXPECT_EQ(meaning(text), meaning(model_text));
}

TEST(Meaning, KnowsNoLooks) {
    json other = model();
    block(other, 0)["geometry"] = {{"x", 5.0}, {"y", 6.0}, {"width", 70.0}, {"height", 80.0}, {"rotation", 90.0}};
    block(other, 1)["bg"] = {{"red", 0.5}, {"green", 0.5}, {"blue", 0.5}, {"alpha", 1.0}};
    other["links"][0]["label"] = "speed";
    other["links"][0]["breakpoints"] = json::array({{{"x", 1}, {"y", 2}}});
    other["metadata"] = {{"author", "somebody"}};
    EXPECT_EQ(meaning(other), meaning(model_text));
}

TEST(Meaning, KnowsDefaults) {
    json written = model(), left_out = model();
    block(written, 3)["coeffB"] = "1.0";
    block(left_out, 3).erase("coeffB");
    EXPECT_EQ(meaning(written), meaning(left_out));
}

/// Each change of what is computed gives a hash of its own.
TEST(Meaning, TellsEveryChangeApart) {
    std::map<std::string, json> changed;
    const auto change = [&changed](const std::string& what, const auto& edit) {
        json other = model();
        edit(other);
        changed[what] = other;
    };
    change("nothing", [](json&) {});
    for (const char* key : {"ti", "tf", "ts"}) change(key, [key](json& m) { m["model"][key] = 0.125; });
    change("an expression", [](json& m) { block(m, 0)["expression"] = "2.0*k"; });
    change("a number for a text", [](json& m) { block(m, 0)["expression"] = 2; });
    change("a number", [](json& m) { block(m, 0)["expression"] = "2"; });
    for (const char* key : {"coeffA", "coeffB"}) change(key, [key](json& m) { block(m, 3)[key] = "3.0"; });
    change("coefficients", [](json& m) { std::swap(block(m, 3)["coeffA"], block(m, 3)["coeffB"]); });
    change("a port's number", [](json& m) { block(m, 6)["portNumber"] = 1; });
    for (std::size_t i = 0; i < model()["blocks"].size(); ++i)
        change("name " + std::to_string(i), [i](json& m) { block(m, i)["name"] = "renamed"; });
    change("a parent", [](json& m) { block(m, 0)["parent"] = block(m, 1)["id"]; });
    change("a class", [](json& m) { m["blocks"][5] = {{"add", block(m, 5)}}; });
    change("a count of inputs", [](json& m) { block(m, 5)["inportCount"] = 3; });
    change("a block more", [](json& m) {
        m["blocks"].push_back({{"time", {{"name", "t"}, {"id", 1000000000000009}}}});
    });
    change("a block less", [](json& m) { m["blocks"].erase(0); });
    for (std::size_t i = 0; i < model()["links"].size(); ++i) {
        const std::string link = " of link " + std::to_string(i);
        change("loss" + link, [i](json& m) { m["links"].erase(i); });
        change("source" + link, [i](json& m) { m["links"][i]["srcId"] = m["links"][(i + 1) % 6]["srcId"]; });
        change("target" + link, [i](json& m) { m["links"][i]["dstId"] = 1000000000000003; });
        change("output" + link, [i](json& m) { m["links"][i]["srcPort"] = 1; });
        change("input" + link, [i](json& m) { m["links"][i]["dstPort"] = 2; });
    }
    change("inputs of a difference", [](json& m) { std::swap(m["links"][3]["dstPort"], m["links"][4]["dstPort"]); });
    // the sources of neighbouring links that are one block, and what is so already
    changed.erase("source of link 4");
    changed.erase("target of link 0");
    std::map<std::string, std::string> seen;
    for (const auto& [what, other] : changed) {
        const auto [first, is_new] = seen.emplace(meaning(other), what);
        EXPECT_TRUE(is_new) << what << " and " << first->second;
    }
    EXPECT_GT(seen.size(), 40u);
}

TEST(Meaning, HasTheSettingsOfTheSession) {
    EXPECT_EQ(meaning(model_text, "m.json", {{"tf", 1.0}}), meaning(model_text));
    EXPECT_NE(meaning(model_text, "m.json", {{"tf", 2.0}}), meaning(model_text));
}

TEST(Meaning, OfAReferenceIsWhatItHolds) {
    const test::TempFolder folder;
    const auto host = [](const char* path) {
        return json{{"blocks", {{{"refsys", {{"name", "r"}, {"id", 2000000000000001}, {"path", path}}}}}},
                    {"links", json::array()}}
            .dump();
    };
    json part = model();
    folder.write("a.json", part.dump());
    renumber(part, 5000);
    folder.write("b.json", part.dump(2));
    block(part, 3)["coeffA"] = "2.5";
    folder.write("c.json", part.dump());
    const std::string file = (folder.path() / "m.json").string();
    EXPECT_EQ(meaning(host("a.json"), file), meaning(host("b.json"), file));
    EXPECT_NE(meaning(host("b.json"), file), meaning(host("c.json"), file));
}

/// Two pairs of one name: which constant feeds which gain counts, and which stands first in the file does not.
TEST(Meaning, TellsNamesakesApartByTheirWires) {
    const auto pairs = [](int first, bool crossed, bool reversed) {
        json m{{"blocks", json::array()}, {"links", json::array()}};
        for (int i = 0; i < 2; ++i) {
            const auto id = 1000000000000010 + i;
            m["blocks"].push_back({{"constant", {{"name", "c"}, {"id", id}, {"expression", std::to_string(i)}}}});
            m["blocks"].push_back({{"abs", {{"name", "gain"}, {"id", id + 10}}}});
            m["blocks"].push_back({{"memory", {{"name", i == first ? "x" : "y"}, {"id", id + 20}}}});
            m["links"].push_back({{"srcId", id}, {"dstId", (crossed ? 1000000000000011 - i : id) + 10}});
            m["links"].push_back({{"srcId", id + 10}, {"dstId", id + 20}});
        }
        if (reversed) std::reverse(m["blocks"].begin(), m["blocks"].end());
        return meaning(m);
    };
    EXPECT_EQ(pairs(0, false, false), pairs(0, false, true));
    EXPECT_NE(pairs(0, false, false), pairs(0, true, false));
    EXPECT_EQ(pairs(0, true, false), pairs(1, false, true));
}

/// Subsystems of one name whose contents are alike but for one parameter.
TEST(Meaning, LooksIntoSubsystemsOfOneName) {
    const auto twins = [](const char* a, const char* b) {
        json m{{"blocks", json::array()}, {"links", json::array()}};
        std::uint64_t id = 1000000000000100;
        for (const char* value : {a, b}) {
            const auto own = id++;
            m["blocks"].push_back({{"subsys", {{"name", "s"}, {"id", own}}}});
            m["blocks"].push_back(
                {{"constant", {{"name", "c"}, {"id", id++}, {"parent", own}, {"expression", value}}}});
        }
        return meaning(m);
    };
    EXPECT_EQ(twins("1", "2"), twins("2", "1"));
    EXPECT_NE(twins("1", "2"), twins("1", "1"));
}

TEST(Meaning, EndsWhereParentsStandInARing) {
    json ring = model();
    block(ring, 1)["parent"] = block(ring, 2)["id"];
    EXPECT_EQ(meaning(ring).size(), 32u);
}

TEST(Meaning, OfWhatDoesNotLoadIsRefused) {
    EXPECT_THROW(meaning(std::string("{")), SessionError);
    EXPECT_THROW(Session({"/nowhere/m.json", {}, nullptr, {}, {}, {}}).meaning(), SessionError);
}

TEST(Meaning, IsTheSameAfterACompile) {
    Session session({"m.json", {}, nullptr, {}, {}, {}}, model_text);
    const std::string before = session.meaning();
    session.library_result();
    EXPECT_EQ(session.meaning(), before);
    EXPECT_TRUE(session.findings().empty());
}

}  // namespace
}  // namespace zarn
