#include "PropertiesModel.h"

#include <gtest/gtest.h>

#include <ctime>
#include <nlohmann/json.hpp>
#include <stdexcept>

namespace tessel {
namespace {

using nlohmann::json;

double setting(const PropertiesModel& p, const char* key) {
    EXPECT_EQ(p.get(key).type(), type_flt64) << key;
    return p.get(key).payload<double>();
}

std::string fault(PropertiesModel& p, const json& in, bool is_reference = false) {
    try {
        p.import_json(in, is_reference);
    } catch (const json::exception& error) {
        return error.what();
    }
    return {};
}

TEST(PropertiesModel, Defaults) {
    const PropertiesModel p;
    EXPECT_EQ(setting(p, "ti"), 0.0);
    EXPECT_EQ(setting(p, "tf"), 10.0);
    EXPECT_EQ(setting(p, "ts"), 1.0);
    EXPECT_EQ(p.parameters.size(), 3u);
    EXPECT_TRUE(p.links.empty());
    EXPECT_TRUE(p.enable_map.empty());
}

TEST(PropertiesModel, KeysAreSetAndRead) {
    PropertiesModel p;
    EXPECT_FALSE(p.is_key("solver"));
    p.set("solver", "fixed");
    EXPECT_TRUE(p.is_key("solver"));
    EXPECT_STREQ(p.get("solver").text(), "fixed");
    p.set("solver", 5);
    EXPECT_EQ(p.get("solver").type(), type_int32);
    EXPECT_TRUE(p.is_key("ts"));
    EXPECT_FALSE(p.is_key("t"));
    EXPECT_TRUE(p.is_key(std::string_view("ts and more", 2)));
}

TEST(PropertiesModel, AMissingKeyRaisesOutOfRange) {
    const PropertiesModel p;
    try {
        p.get("none");
        FAIL();
    } catch (const std::out_of_range& error) {
        EXPECT_STREQ(error.what(), "invalid unordered_map<K, T> key");
    }
    EXPECT_FALSE(p.is_key("none"));
}

TEST(PropertiesModel, LinksAreAppended) {
    PropertiesModel p;
    p.insert_link(1, 2, 3, -4, "a");
    std::vector<point_t> bends{{1, 2}, {3, 4}};
    const point_t* memory = bends.data();
    p.insert_link(5, 6, 7, 8, "b", std::move(bends), true);
    ASSERT_EQ(p.links.size(), 2u);
    EXPECT_EQ(p.links[0].srcId, 1u);
    EXPECT_EQ(p.links[0].dstId, 2u);
    EXPECT_EQ(p.links[0].srcPort, 3);
    EXPECT_EQ(p.links[0].dstPort, -4);
    EXPECT_EQ(p.links[0].label, "a");
    EXPECT_TRUE(p.links[0].breakpoints.empty());
    EXPECT_FALSE(p.links[0].resolved);
    EXPECT_FALSE(p.links[0].hidden);
    EXPECT_EQ(p.links[1].label, "b");
    EXPECT_EQ(p.links[1].breakpoints.data(), memory);
    EXPECT_FALSE(p.links[1].resolved);
    EXPECT_TRUE(p.links[1].hidden);
}

TEST(PropertiesModel, RemoveLinksKeepsTheOrderOfTheOthers) {
    PropertiesModel p;
    p.insert_link(1, 2, 0, 0, "a");
    p.insert_link(2, 1, 0, 0, "b");
    p.insert_link(1, 2, 1, 1, "c");
    p.insert_link(1, 3, 0, 0, "d");
    EXPECT_EQ(p.remove_links(1, 2), 2u);
    EXPECT_EQ(p.remove_links(1, 2), 0u);
    ASSERT_EQ(p.links.size(), 2u);
    EXPECT_EQ(p.links[0].label, "b");
    EXPECT_EQ(p.links[1].label, "d");
}

TEST(PropertiesModel, ExportOfLinks) {
    PropertiesModel p;
    p.insert_link(8000000000000001, 8000000000000002, 0, -1, "x", {{-5, 6}, {7, 8}}, false);
    p.insert_link(3, 4, 1, 2, "");
    p.insert_link(5, 6, 0, 0, "hidden", {}, true);
    json out;
    p.export_json(out);
    EXPECT_EQ(out["links"], json::parse(R"([
        {"srcId": 8000000000000001, "dstId": 8000000000000002, "srcPort": 0, "dstPort": -1, "label": "x",
         "breakpoints": [{"x": -5, "y": 6}, {"x": 7, "y": 8}]},
        {"srcId": 3, "dstId": 4, "srcPort": 1, "dstPort": 2, "label": "", "breakpoints": null}
    ])"));
    EXPECT_TRUE(out["links"][0]["srcId"].is_number_unsigned());
    EXPECT_FALSE(out["links"][0]["srcPort"].is_number_unsigned());
}

TEST(PropertiesModel, ExportWithoutAVisibleLinkHasNoLinksKey) {
    PropertiesModel p;
    json out;
    p.export_json(out);
    EXPECT_FALSE(out.contains("links"));
    p.insert_link(5, 6, 0, 0, "", {}, true);
    out = json();
    p.export_json(out);
    EXPECT_FALSE(out.contains("links"));
    PropertiesModel other;
    other.import_json(out, false);
    EXPECT_TRUE(other.links.empty());
}

TEST(PropertiesModel, ExportOfSettingsAndMetadata) {
    PropertiesModel p;
    p.set("ts", 0.125);
    p.set("solver", "fixed");
    const auto before = static_cast<std::int64_t>(std::time(nullptr));
    json out = {{"blocks", json::array()}};
    p.export_json(out);
    EXPECT_EQ(out["model"], json::parse(R"({"ti": 0.0, "tf": 10.0, "ts": 0.125})"));
    EXPECT_TRUE(out["model"]["tf"].is_number_float());
    EXPECT_GE(out["metadata"]["utc.save"].get<std::int64_t>(), before);
    EXPECT_LE(out["metadata"]["utc.save"].get<std::int64_t>(), before + 60);
    out["metadata"].erase("utc.save");
    EXPECT_EQ(out["metadata"], json::parse(R"({"version.hexcode": 1575936, "version.major": 24,
                                               "version.minor": 12, "version.patch": 0})"));
    EXPECT_TRUE(out.contains("blocks"));
    EXPECT_EQ(out.size(), 3u);
}

TEST(PropertiesModel, ExportCreatesAMissingSetting) {
    PropertiesModel p;
    p.parameters.erase("tf");
    json out;
    p.export_json(out);
    EXPECT_EQ(out["model"]["tf"], 0.0);
    EXPECT_TRUE(p.is_key("tf"));
    EXPECT_EQ(p.get("tf").type(), type_unknown);
}

TEST(PropertiesModel, ImportOfLinks) {
    PropertiesModel p;
    p.insert_link(1, 2, 0, 0, "kept");
    p.import_json(json::parse(R"({"links": [
        {"srcId": 8000000000000001, "dstId": 18446744073709551615, "srcPort": 3, "dstPort": 65535, "label": "x",
         "breakpoints": [{"x": -5, "y": 6}, {"y": 8}, {}]},
        {},
        {"breakpoints": null, "srcPort": 1.9, "other": 5}
    ]})"),
                  false);
    ASSERT_EQ(p.links.size(), 4u);
    EXPECT_EQ(p.links[0].label, "kept");
    const link_t& link = p.links[1];
    EXPECT_EQ(link.srcId, 8000000000000001u);
    EXPECT_EQ(link.dstId, 18446744073709551615u);
    EXPECT_EQ(link.srcPort, 3);
    EXPECT_EQ(link.dstPort, -1);
    EXPECT_EQ(link.label, "x");
    ASSERT_EQ(link.breakpoints.size(), 3u);
    EXPECT_EQ(link.breakpoints[0].x, -5);
    EXPECT_EQ(link.breakpoints[0].y, 6);
    EXPECT_EQ(link.breakpoints[1].x, 0);
    EXPECT_EQ(link.breakpoints[1].y, 8);
    EXPECT_EQ(link.breakpoints[2].y, 0);
    EXPECT_FALSE(link.resolved);
    EXPECT_FALSE(link.hidden);
    EXPECT_EQ(p.links[2].srcId, 0u);
    EXPECT_EQ(p.links[2].dstPort, 0);
    EXPECT_EQ(p.links[2].label, "");
    EXPECT_TRUE(p.links[2].breakpoints.empty());
    EXPECT_EQ(p.links[3].srcPort, 1);
    EXPECT_TRUE(p.links[3].breakpoints.empty());
}

TEST(PropertiesModel, ExportAndImportAreInverse) {
    PropertiesModel p;
    p.insert_link(8000000000000001, 2, 5, -1, "x", {{-5, 6}}, false);
    p.insert_link(3, 4, 0, 0, "");
    p.set("tf", 2.5);
    json out;
    p.export_json(out);
    PropertiesModel other;
    other.import_json(out, false);
    ASSERT_EQ(other.links.size(), 2u);
    EXPECT_EQ(other.links[0].srcId, 8000000000000001u);
    EXPECT_EQ(other.links[0].dstPort, -1);
    EXPECT_EQ(other.links[0].breakpoints.size(), 1u);
    EXPECT_TRUE(other.links[1].breakpoints.empty());
    EXPECT_EQ(setting(other, "tf"), 2.5);
}

TEST(PropertiesModel, ImportedSettingsAreDoublesWithDefaults) {
    PropertiesModel p;
    p.set("tf", 99.0);
    p.set("ts", "text");
    p.import_json({{"model", {{"ti", 3}, {"extra", 7}}}}, false);
    EXPECT_EQ(setting(p, "ti"), 3.0);
    EXPECT_EQ(setting(p, "tf"), 10.0);
    EXPECT_EQ(setting(p, "ts"), 1.0);
    EXPECT_FALSE(p.is_key("extra"));
}

TEST(PropertiesModel, WithoutAModelObjectTheSettingsStay) {
    PropertiesModel p;
    p.set("tf", 99.0);
    p.import_json({{"metadata", {{"version.major", 1}}}}, false);
    EXPECT_EQ(setting(p, "tf"), 99.0);
}

TEST(PropertiesModel, AReferenceGivesHiddenLinksAndNoSettings) {
    PropertiesModel p;
    p.set("ts", 0.5);
    p.import_json({{"links", {{{"srcId", 1}, {"dstId", 2}}}}, {"model", {{"ts", 7.0}, {"ti", 1.0}}}}, true);
    EXPECT_EQ(setting(p, "ts"), 0.5);
    EXPECT_EQ(setting(p, "ti"), 0.0);
    ASSERT_EQ(p.links.size(), 1u);
    EXPECT_TRUE(p.links[0].hidden);
    json out;
    p.export_json(out);
    EXPECT_FALSE(out.contains("links"));
    EXPECT_EQ(fault(p, {{"model", 5}}, true), "");
}

TEST(PropertiesModel, WhatIsNoObjectHasNoKeys) {
    for (const json& in : {json(), json(5), json("links"), json::array({1})}) {
        PropertiesModel p;
        EXPECT_EQ(fault(p, in), "");
        EXPECT_TRUE(p.links.empty());
    }
}

TEST(PropertiesModel, LinksThatAreAnObjectGiveTheirValues) {
    PropertiesModel p;
    p.import_json({{"links", {{"b", {{"srcId", 2}}}, {"a", {{"srcId", 1}}}}}}, false);
    ASSERT_EQ(p.links.size(), 2u);
    EXPECT_EQ(p.links[0].srcId, 1u);
    EXPECT_EQ(p.links[1].srcId, 2u);
}

TEST(PropertiesModel, WrongTypesRaise) {
    const std::string no_object = "[json.exception.type_error.306] cannot use value() with ";
    const std::string wrong_type = "[json.exception.type_error.302] type must be ";
    const std::pair<const char*, std::string> rows[] = {
        {R"({"links": [5]})", no_object + "number"},
        {R"({"links": [null]})", no_object + "null"},
        {R"({"links": 5})", no_object + "number"},
        {R"({"links": [{"srcId": "1"}]})", wrong_type + "number, but is string"},
        {R"({"links": [{"dstPort": null}]})", wrong_type + "number, but is null"},
        {R"({"links": [{"label": 5}]})", wrong_type + "string, but is number"},
        {R"({"links": [{"breakpoints": [5]}]})", no_object + "number"},
        {R"({"links": [{"breakpoints": 5}]})", no_object + "number"},
        {R"({"links": [{"breakpoints": "x"}]})", no_object + "string"},
        {R"({"links": [{"breakpoints": [{"x": "1"}]}]})", wrong_type + "number, but is string"},
        {R"({"model": null})", no_object + "null"},
        {R"({"model": []})", no_object + "array"},
        {R"({"model": "x"})", no_object + "string"},
        {R"({"model": {"ts": "1"}})", wrong_type + "number, but is string"},
        {R"({"model": {"ts": true}})", wrong_type + "number, but is boolean"},
    };
    for (const auto& [text, want] : rows) {
        PropertiesModel p;
        EXPECT_EQ(fault(p, json::parse(text)), want) << text;
    }
}

TEST(PropertiesModel, LinksBeforeAFaultyOneStay) {
    PropertiesModel p;
    EXPECT_NE(fault(p, {{"links", {{{"srcId", 1}}, {{"srcId", "x"}}}}}), "");
    EXPECT_EQ(p.links.size(), 1u);
}

}  // namespace
}  // namespace tessel
