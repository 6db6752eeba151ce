// Findings as text, JSON and SARIF.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <set>

#include "PropertiesModel.h"
#include "factory.h"
#include "models.h"

namespace zarn {
namespace {

using nlohmann::json;

std::vector<finding_t> findings_of(const char* model) {
    const CurrentFolder there(checks_folder());
    return diagnose(model, {});
}

TEST(Text, HeadlineSaysWhereAndHowToMend) {
    const auto findings = findings_of("Z203_bad.json");
    EXPECT_EQ(printed(findings),
              "warning Z203 mainsys.s (add): a link leads to input 2, but the block has 2 inputs\n"
              "    at   Z203_bad.json:11:5 /links/3\n"
              "    mend link to input 0 or 1, or take the link out\n");
    EXPECT_EQ(summary(findings), "0 errors, 1 warning, 0 notes");
    EXPECT_EQ(summary({}), "no problem found");
}

TEST(Text, ColorsOnDemandOnly) {
    const auto findings = findings_of("Z201_bad.json");
    std::ostringstream plain, colored;
    print(findings, plain, false);
    print(findings, colored, true);
    EXPECT_THAT(plain.str(), testing::Not(testing::HasSubstr("\033")));
    EXPECT_THAT(colored.str(), testing::StartsWith("\033[31merror Z201\033[0m "));
}

TEST(Text, LongWaysAreCut) {
    std::string blocks, links;
    constexpr int count = 100;
    for (int i = 0; i < count; ++i) {
        blocks += (i == 0 ? "" : ",") + std::string("{\"abs\": {\"name\": \"a") + std::to_string(i) +
                  "\", \"id\": " + std::to_string(1000 + i) + "}}";
        links += (i == 0 ? "" : ",") + std::string("{\"srcId\": ") + std::to_string(1000 + i) +
                 ", \"dstId\": " + std::to_string(1000 + (i + 1) % count) + "}";
    }
    const TempModel model("{\"blocks\": [" + blocks + "], \"links\": [" + links + "]}");
    auto findings = diagnose(model.path(), {});
    std::erase_if(findings, [](const finding_t& f) { return f.code != "Z217"; });
    ASSERT_EQ(findings.size(), 1u);
    EXPECT_EQ(findings[0].steps.size(), static_cast<std::size_t>(count)) << "the whole loop is listed";
    EXPECT_THAT(printed(findings), testing::HasSubstr("... and 60 more"));
}

TEST(Json, HoldsAllOfAFinding) {
    const auto findings = findings_of("Z217_bad.json");
    const json whole = json::parse(to_json("Z217_bad.json", findings));
    EXPECT_EQ(whole["model"], "Z217_bad.json");
    EXPECT_EQ(whole["errors"], 1);
    EXPECT_EQ(whole["warnings"], 0);
    EXPECT_EQ(whole["notes"], 0);
    ASSERT_EQ(whole["findings"].size(), 1u);
    const json& finding = whole["findings"][0];
    EXPECT_EQ(finding["code"], "Z217");
    EXPECT_EQ(finding["severity"], "error");
    EXPECT_EQ(finding["file"], "Z217_bad.json");
    EXPECT_EQ(finding["pointer"], "/blocks/1/add");
    EXPECT_EQ(finding["line"], 4);
    EXPECT_EQ(finding["path"], "mainsys.sum");
    EXPECT_EQ(finding["class"], "add");
    EXPECT_EQ(finding["steps"].size(), findings[0].steps.size());
    EXPECT_EQ(finding["what"], findings[0].what);
    EXPECT_EQ(finding["mend"], findings[0].mend);
}

TEST(Json, WithoutAPlaceOrABlockHasNull) {
    const auto findings = findings_of("Z101_bad.json");
    const json finding = json::parse(to_json("Z101_bad.json", findings))["findings"][0];
    EXPECT_TRUE(finding["line"].is_null());
    EXPECT_TRUE(finding["column"].is_null());
    EXPECT_TRUE(finding["path"].is_null());
    EXPECT_TRUE(finding["class"].is_null());
}

// The properties that SARIF 2.1.0 requires of a log, a run, a tool, a rule, a result and a location.
TEST(Sarif, HasWhatTheFormatRequires) {
    std::vector<finding_t> all;
    for (const char* model : {"Z101_bad.json", "Z102_bad.json", "Z203_bad.json", "Z217_two_bad.json", "Z120_bad.json"})
        for (finding_t& finding : findings_of(model)) all.push_back(std::move(finding));
    all[0].file = "a folder/ä.json";
    const json log = json::parse(to_sarif(all, "1.2.3"));
    EXPECT_EQ(log["version"], "2.1.0");
    EXPECT_THAT(log["$schema"].get<std::string>(), testing::HasSubstr("sarif-2.1.0"));
    ASSERT_TRUE(log["runs"].is_array());
    ASSERT_EQ(log["runs"].size(), 1u);
    const json& driver = log["runs"][0]["tool"]["driver"];
    EXPECT_EQ(driver["name"], "zarn");
    EXPECT_EQ(driver["semanticVersion"], "1.2.3");
    std::set<std::string> ids;
    for (const json& rule : driver["rules"]) {
        EXPECT_TRUE(ids.insert(rule["id"]).second) << "a rule stands once";
        for (const char* key : {"shortDescription", "fullDescription", "help"})
            EXPECT_FALSE(rule[key]["text"].get<std::string>().empty());
    }
    const json& results = log["runs"][0]["results"];
    ASSERT_EQ(results.size(), all.size());
    for (std::size_t i = 0; i < results.size(); ++i) {
        const json& result = results[i];
        EXPECT_EQ(result["ruleId"], all[i].code);
        EXPECT_EQ(driver["rules"][result["ruleIndex"].get<std::size_t>()]["id"], all[i].code);
        EXPECT_THAT(result["level"].get<std::string>(), testing::AnyOf("note", "warning", "error"));
        EXPECT_FALSE(result["message"]["text"].get<std::string>().empty());
        ASSERT_EQ(result["locations"].size(), 1u);
        const json& physical = result["locations"][0]["physicalLocation"];
        EXPECT_FALSE(physical["artifactLocation"]["uri"].get<std::string>().empty());
        if (all[i].line != 0) {
            EXPECT_EQ(physical["region"]["startLine"], all[i].line);
            EXPECT_GE(physical["region"]["startColumn"].get<int>(), 1);
        } else {
            EXPECT_FALSE(physical.contains("region"));
        }
    }
    EXPECT_EQ(results[0]["locations"][0]["physicalLocation"]["artifactLocation"]["uri"], "a%20folder/%C3%A4.json");
}

TEST(Sarif, OfNothingIsAWholeLog) {
    const json log = json::parse(to_sarif({}, "1.2.3"));
    EXPECT_TRUE(log["runs"][0]["results"].is_array());
    EXPECT_TRUE(log["runs"][0]["results"].empty());
}

// A name that is no valid text leaves the output one.
TEST(Json, SurvivesBytesThatAreNoText) {
    finding_t finding;
    finding.code = "Z201";
    finding.what = "\xff\xfe";
    EXPECT_TRUE(json::accept(to_json("m", std::vector{finding})));
    EXPECT_TRUE(json::accept(to_sarif(std::vector{finding}, "1")));
}

TEST(Results, AreTellableWithTheBlocksThatTheyMarked) {
    auto model = tessel::create_empty_meta_model();
    model->set_properties(std::make_shared<tessel::PropertiesModel>());
    auto block = tessel::factory::create("add");
    block->set_name("sum");
    block->set_failed(true);
    model->add_block(std::move(block));
    EXPECT_EQ(describe_result(tessel::result_too_many_inputs, *model),
              "10 (result_too_many_inputs): a block has more than 8 inputs; marked: sum");
    EXPECT_THAT(describe_result(static_cast<tessel::result_t>(5), *model), testing::StartsWith("5 (no name): "));
}

}  // namespace
}  // namespace zarn
