// Checks and library agree: a model has errors exactly when the library refuses it, and none is left to chance.

#include <gmock/gmock.h>

#include "ExecBlock.h"
#include "PropertiesModel.h"
#include "json.h"
#include "model/rules/zones.h"
#include "models.h"

namespace zarn {
namespace {

std::filesystem::path agreeing() { return std::filesystem::path(BLOCKS_TEST_DATA) / "agree"; }

std::vector<std::string> files() {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(agreeing()))
        names.push_back(entry.path().stem().string());
    std::ranges::sort(names);
    return names;
}

/// What load and compile come to.
int library_result(const std::filesystem::path& file) {
    auto console = python::set_console([](std::string_view) {});
    const auto model = tessel::rules::create_watched_meta_model([](const auto&) {});
    model->set_properties(std::make_shared<tessel::PropertiesModel>());
    int result = tessel::json::load(model.get(), file.string());
    if (result == 0) result = model->compile();
    python::set_console(std::move(console));
    return result;
}

class Agree : public testing::TestWithParam<std::string> {};

TEST_P(Agree, OnWhatIsRefused) {
    const std::filesystem::path file = agreeing() / (GetParam() + ".json");
    const auto findings = diagnose(file, {.final_bridge = true, .settings = {}, .confirm = true});
    EXPECT_THAT(codes_of(findings), testing::Not(testing::Contains("Z901"))) << printed(findings);
    EXPECT_EQ(has_errors(findings), library_result(file) != 0) << printed(findings);
}

INSTANTIATE_TEST_SUITE_P(Models, Agree, testing::ValuesIn(files()),
                         [](const testing::TestParamInfo<std::string>& test) { return test.param; });

// What the library passes over weighs a warning.
TEST(Agree, WhatIsPassedOverIsAWarning) {
    const auto severity_of = [](const char* name, const char* code) {
        for (const finding_t& finding : diagnose(agreeing() / name))
            if (finding.code == code) return finding.severity;
        ADD_FAILURE() << code;
        return severity_t::note;
    };
    EXPECT_EQ(severity_of("outport_numbered_by_text.json", "Z206"), severity_t::warning);
    EXPECT_EQ(severity_of("from_to_nothing.json", "Z207"), severity_t::warning);
    EXPECT_EQ(severity_of("enable_without_id.json", "Z114"), severity_t::warning);
    EXPECT_EQ(severity_of("cast_and_the_root.json", "Z122"), severity_t::warning);
}

}  // namespace
}  // namespace zarn
