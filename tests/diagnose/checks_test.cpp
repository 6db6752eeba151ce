// Every code has models that have exactly its problem, with the exact message, and beside each the nearest valid one.
// BLOCKS_UPDATE_GOLDEN=1 rewrites the messages.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <set>

#include "host/diagnose/codes.h"
#include "models.h"

namespace zarn {
namespace {

/// Names of the bad models without "_bad.json": the code, and what tells the case apart.
std::vector<std::string> cases() {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(checks_folder())) {
        const std::string name = entry.path().filename().string();
        if (name.ends_with("_bad.json")) names.push_back(name.substr(0, name.size() - 9));
    }
    names.push_back("Z101");  // its bad model is a file that is not there
    std::ranges::sort(names);
    return names;
}

class Check : public testing::TestWithParam<std::string> {
protected:
    Check() { python::literal_bridge().set_series("speed", {0.0, 1.0}, {1.0, 2.0}); }
    ~Check() override { python::literal_bridge().clear(); }
};

TEST_P(Check, BadModelIsToldExactly) {
    const CurrentFolder there(checks_folder());
    const auto findings = diagnose(GetParam() + "_bad.json", {.final_bridge = false, .settings = {}, .confirm = true});
    const std::string code = GetParam().substr(0, 4);
    EXPECT_THAT(codes_of(findings), testing::ElementsAre(code)) << printed(findings);
    const std::filesystem::path golden = GetParam() + ".txt";
    if (std::getenv("BLOCKS_UPDATE_GOLDEN") != nullptr) write_text(golden, printed(findings));
    EXPECT_EQ(printed(findings), read_text(golden));
    for (const finding_t& finding : findings) {
        EXPECT_FALSE(finding.what.empty());
        EXPECT_FALSE(finding.mend.empty());
        EXPECT_EQ(finding.file.empty(), false);
    }
}

TEST_P(Check, NearestGoodModelPasses) {
    const CurrentFolder there(checks_folder());
    const auto findings = diagnose(GetParam() + "_ok.json", {.final_bridge = true, .settings = {}, .confirm = true});
    EXPECT_TRUE(findings.empty()) << printed(findings);
}

INSTANTIATE_TEST_SUITE_P(Codes, Check, testing::ValuesIn(cases()),
                         [](const testing::TestParamInfo<std::string>& test) { return test.param; });

TEST(Codes, EachHasABadModel) {
    std::set<std::string> told;
    for (const std::string& name : cases()) told.insert(name.substr(0, 4));
    for (const code_t& code : all_codes()) {
        if (code.code == "Z901") continue;  // the library refusing what passes: there must be no such model
        if (code.code == "Z422") continue;  // needs an interpreter: tests/host/command/test_check.py
        EXPECT_TRUE(told.contains(std::string(code.code))) << code.code;
    }
    for (const std::string& code : told) EXPECT_NE(find_code(code), nullptr) << code;
}

TEST(Codes, DocumentIsMadeFromTheTable) {
    EXPECT_EQ(read_text(std::filesystem::path(BLOCKS_DOCS) / "checks.md"), all_codes_markdown())
        << "zarn check --explain all --markdown > docs/checks.md";
}

TEST(Codes, PagesOfCodes) {
    EXPECT_THAT(explain_code("Z217", false), testing::StartsWith("Z217 algebraic-loop: "));
    EXPECT_THAT(explain_code("Z217", true), testing::StartsWith("### Z217 "));
    EXPECT_EQ(explain_code("Z000", false), "");
}

// Expressions: what the bridge at hand refuses is an error only when it is the one that runs the model.
TEST(Expressions, WeighByTheBridgeInUse) {
    const CurrentFolder there(checks_folder());
    auto findings = diagnose("Z402_bad.json", {});
    ASSERT_EQ(findings.size(), 1u);
    EXPECT_EQ(findings[0].code, "Z402");
    EXPECT_EQ(findings[0].severity, severity_t::warning);
    findings = diagnose("Z402_bad.json", {.final_bridge = true, .settings = {}, .confirm = false});
    ASSERT_EQ(findings.size(), 1u);
    EXPECT_EQ(findings[0].code, "Z401");
    EXPECT_EQ(findings[0].severity, severity_t::error);
    EXPECT_THAT(findings[0].what, testing::HasSubstr("gain * 2"));
}

TEST(Expressions, BridgeAndConsoleAreRestored) {
    std::string told;
    auto before = python::set_console([&told](std::string_view text) { told += text; });
    const CurrentFolder there(checks_folder());
    diagnose("Z402_bad.json", {});
    EXPECT_EQ(told, "") << "what the bridge says belongs to the findings";
    EXPECT_EQ(python::wrap(), &python::literal_bridge());
    python::pyout("x");
    EXPECT_EQ(told, "x");
    python::set_console(std::move(before));
}

TEST(Expressions, SeriesThatTheWorkspaceHasPasses) {
    python::literal_bridge().set_series("speed", {0.0, 1.0}, {1.0, 2.0});
    const TempModel model(
        R"({"blocks": [{"from_workspace": {"name": "u", "id": 101, "expression": "speed"}},
                       {"display": {"name": "d", "id": 102}}],
            "links": [{"srcId": 101, "dstId": 102}]})");
    EXPECT_TRUE(diagnose(model.path(), {.final_bridge = true, .settings = {}, .confirm = true}).empty());
    python::literal_bridge().clear();
    const auto findings = diagnose(model.path(), {.final_bridge = true, .settings = {}, .confirm = false});
    ASSERT_EQ(findings.size(), 1u);
    EXPECT_EQ(findings[0].code, "Z412");
}

TEST(Settings, OverridesStandInForTheModels) {
    const CurrentFolder there(checks_folder());
    const check_options_t options{.final_bridge = false, .settings = {{"ts", -1.0}}, .confirm = false};
    EXPECT_THAT(codes_of(diagnose("Z116_ok.json", options)), testing::ElementsAre("Z116"));
    EXPECT_TRUE(
        diagnose("Z116_bad.json", {.final_bridge = false, .settings = {{"ts", 0.5}}, .confirm = false}).empty());
}

// Several problems of several kinds come in one go, in the order of the file.
TEST(Findings, AllInOneGoInTheOrderOfTheFile) {
    const TempModel model(
        R"({"blocks": [{"constant": {"name": "c", "id": 101, "expression": "gain"}},
                       {"sinewave": {"name": "w", "id": 102, "frequency": "-1"}},
                       {"add": {"name": "s", "id": 103, "inportCount": 2}},
                       {"abs": {"name": "a", "id": 104}},
                       {"abs": {"name": "b", "id": 105}},
                       {"cats": {"name": "k", "id": 106}}],
            "links": [{"srcId": 101, "dstId": 103}, {"srcId": 104, "dstId": 105}, {"srcId": 105, "dstId": 104}],
            "model": {"ts": 0}})");
    const auto findings = diagnose(model.path(), {});
    std::vector<std::string> codes;
    for (const finding_t& finding : findings) codes.push_back(finding.code);
    EXPECT_THAT(codes, testing::ElementsAre("Z402", "Z407", "Z201", "Z217", "Z301", "Z108", "Z116"))
        << printed(findings);
}

// Models that were made to mislead: what is told of them, in full.
class Attack : public testing::TestWithParam<const char*> {};

TEST_P(Attack, IsToldExactly) {
    const CurrentFolder there(std::filesystem::path(BLOCKS_TEST_DATA) / "attacks");
    const std::string name = GetParam();
    const auto findings = diagnose(name + ".json", {.final_bridge = true, .settings = {}, .confirm = true});
    EXPECT_FALSE(has_errors(findings));
    if (std::getenv("BLOCKS_UPDATE_GOLDEN") != nullptr) write_text(name + ".txt", printed(findings));
    EXPECT_EQ(printed(findings), read_text(name + ".txt"));
}

INSTANTIATE_TEST_SUITE_P(Models, Attack,
                         testing::Values("falsealarm_Z114", "idle_random", "leak", "ref_main", "refsys_empty",
                                         "refsys_pagemap"),
                         [](const testing::TestParamInfo<const char*>& test) { return std::string(test.param); });

TEST(Findings, LoopIsListedLinkByLinkThroughBordersWithThePlaceOfAMemory) {
    const CurrentFolder there(checks_folder());
    const auto findings = diagnose("Z217_subsystem_bad.json", {});
    ASSERT_EQ(findings.size(), 1u);
    std::string steps;
    for (const std::string& step : findings[0].steps) steps += step + "\n";
    for (const char* path : {"mainsys.plant.back (inport)", "mainsys.plant.sum (add)", "mainsys.plant.out (outport)"})
        EXPECT_THAT(steps, testing::HasSubstr(path));
    EXPECT_EQ(
        std::ranges::count_if(findings[0].steps,
                              [](const std::string& step) { return step.find("<- a memory") != std::string::npos; }),
        1);
    EXPECT_THAT(findings[0].mend, testing::StartsWith("put a memory between "));
}

}  // namespace
}  // namespace zarn
