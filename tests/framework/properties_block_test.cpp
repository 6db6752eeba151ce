#include "PropertiesBlock.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <type_traits>

namespace tessel {
namespace {

using nlohmann::json;

/// A block with every field off its default.
PropertiesBlock filled() {
    PropertiesBlock p;
    p.name = "gain";
    p.path = "mainsys.gain";
    p.python_path = "mainsys.gain_";
    p.id = 0xFFFFFFFFFFFFFFFFu;
    p.parent = 12;
    p.x = 1.5f;
    p.y = 2.5f;
    p.width = 30.0f;
    p.height = 40.0f;
    p.rotation = 90.0f;
    p.red = 0.25f;
    p.green = 0.5f;
    p.blue = 0.75f;
    p.alpha = 1.0f;
    p.reserved_flag = true;
    p.inportCount = 2;
    p.outportCount = 1;
    p.parameters["stepTime"] = {" [sec]", "2.0"};
    return p;
}

void expect_equal(const PropertiesBlock& a, const PropertiesBlock& b) {
    EXPECT_EQ(a.name, b.name);
    EXPECT_EQ(a.path, b.path);
    EXPECT_EQ(a.python_path, b.python_path);
    EXPECT_EQ(a.id, b.id);
    EXPECT_EQ(a.parent, b.parent);
    EXPECT_EQ(a.x, b.x);
    EXPECT_EQ(a.y, b.y);
    EXPECT_EQ(a.width, b.width);
    EXPECT_EQ(a.height, b.height);
    EXPECT_EQ(a.rotation, b.rotation);
    EXPECT_EQ(a.red, b.red);
    EXPECT_EQ(a.green, b.green);
    EXPECT_EQ(a.blue, b.blue);
    EXPECT_EQ(a.alpha, b.alpha);
    EXPECT_EQ(a.reserved_flag, b.reserved_flag);
    EXPECT_EQ(a.inportCount, b.inportCount);
    EXPECT_EQ(a.outportCount, b.outportCount);
    ASSERT_EQ(a.parameters.size(), b.parameters.size());
    for (const auto& [key, parameter] : a.parameters) {
        EXPECT_STREQ(parameter.suffix, b.parameters.at(key).suffix);
        EXPECT_TRUE(parameter.value == b.parameters.at(key).value);
    }
}

/// The text of the exception that importing raises, "" for none.
std::string fault(PropertiesBlock& p, const json& in, int* id = nullptr) {
    try {
        p.import_json(in);
    } catch (const json::exception& error) {
        if (id != nullptr) *id = error.id;
        return error.what();
    }
    return {};
}

TEST(PropertiesBlock, Defaults) {
    const PropertiesBlock p;
    EXPECT_EQ(p.name, "");
    EXPECT_EQ(p.path, "");
    EXPECT_EQ(p.python_path, "");
    EXPECT_EQ(p.id, 0u);
    EXPECT_EQ(p.parent, 0u);
    for (const float v : {p.x, p.y, p.width, p.height, p.rotation, p.red, p.green, p.blue, p.alpha}) EXPECT_EQ(v, 0.0f);
    EXPECT_FALSE(p.reserved_flag);
    EXPECT_EQ(p.inportCount, 0u);
    EXPECT_EQ(p.outportCount, 0u);
    EXPECT_TRUE(p.parameters.empty());
    EXPECT_STREQ(param_t{}.suffix, "");
}

TEST(PropertiesBlock, CopiesAreDeep) {
    PropertiesBlock original = filled();
    const PropertiesBlock copy(original);
    PropertiesBlock assigned;
    assigned = original;
    expect_equal(copy, original);
    expect_equal(assigned, original);
    original.parameters["stepTime"].value = 5;
    original.name = "other";
    EXPECT_STREQ(copy.parameters.at("stepTime").value.text(), "2.0");
    EXPECT_STREQ(assigned.parameters.at("stepTime").value.text(), "2.0");
    EXPECT_EQ(copy.name, "gain");
}

TEST(PropertiesBlock, AssigningToItselfChangesNothing) {
    PropertiesBlock p = filled();
    PropertiesBlock& same = p;
    p = same;
    expect_equal(p, filled());
}

TEST(PropertiesBlock, ExportHasTheseKeys) {
    json out;
    filled().export_json(out);
    EXPECT_EQ(out, json::parse(R"({
        "name": "gain", "id": 18446744073709551615, "parent": 12, "inportCount": 2, "outportCount": 1,
        "geometry": {"x": 1.5, "y": 2.5, "width": 30.0, "height": 40.0, "rotation": 90.0},
        "bg": {"red": 0.25, "green": 0.5, "blue": 0.75, "alpha": 1.0},
        "stepTime": "2.0"
    })"));
    EXPECT_TRUE(out["id"].is_number_unsigned());
    EXPECT_TRUE(out["parent"].is_number_unsigned());
    EXPECT_TRUE(out["inportCount"].is_number_unsigned());
    EXPECT_TRUE(out["outportCount"].is_number_unsigned());
    EXPECT_TRUE(out["geometry"]["width"].is_number_float());
    EXPECT_TRUE(out["bg"]["alpha"].is_number_float());
}

TEST(PropertiesBlock, ExportWidensFloats) {
    PropertiesBlock p;
    p.x = 0.1f;
    json out;
    p.export_json(out);
    EXPECT_EQ(out["geometry"]["x"].get<double>(), 0.100000001490116119384765625);
}

TEST(PropertiesBlock, ExportAddsToAnObject) {
    json out = {{"other", 1}, {"name", "old"}};
    filled().export_json(out);
    EXPECT_EQ(out["other"], 1);
    EXPECT_EQ(out["name"], "gain");
}

TEST(PropertiesBlock, TransparentBlocksExportNoColorAndKeepTheColorOfTheImporter) {
    PropertiesBlock p = filled();
    p.alpha = 0.0f;
    json out;
    p.export_json(out);
    EXPECT_FALSE(out.contains("bg"));
    PropertiesBlock other = filled();
    other.import_json(out);
    EXPECT_EQ(other.red, 0.25f);
    EXPECT_EQ(other.alpha, 1.0f);
}

template <class T>
json exported(T value) {
    PropertiesBlock p;
    p.parameters["key"] = {"", var_t(value)};
    json out;
    p.export_json(out);
    return out.contains("key") ? out["key"] : json("absent");
}

TEST(PropertiesBlock, ExportOfAParameterFollowsItsTag) {
    EXPECT_TRUE(exported(true).is_boolean());
    EXPECT_EQ(exported(true), true);
    const auto is_signed = [](const json& v) { return v.is_number_integer() && !v.is_number_unsigned(); };
    EXPECT_TRUE(is_signed(exported(static_cast<signed char>(-5))));
    EXPECT_EQ(exported(static_cast<signed char>(-5)), -5);
    EXPECT_EQ(exported(static_cast<short>(-300)), -300);
    EXPECT_TRUE(is_signed(exported(2047)));
    EXPECT_EQ(exported(-9000000000000000000ll), -9000000000000000000ll);
    EXPECT_TRUE(exported(static_cast<unsigned char>(250)).is_number_unsigned());
    EXPECT_EQ(exported(static_cast<unsigned char>(250)), 250);
    EXPECT_EQ(exported(static_cast<unsigned short>(60000)), 60000);
    EXPECT_EQ(exported(4000000000u), 4000000000u);
    EXPECT_EQ(exported(18000000000000000000ull), 18000000000000000000ull);
    EXPECT_TRUE(exported(2.0f).is_number_float());
    EXPECT_EQ(exported(0.1f), 0.100000001490116119384765625);
    EXPECT_EQ(exported(0.1), 0.1);
    EXPECT_EQ(exported("[1.0]"), "[1.0]");
    EXPECT_EQ(exported(var_t()), "absent");
}

TEST(PropertiesBlock, ExportAndImportAreInverse) {
    json out;
    filled().export_json(out);
    PropertiesBlock p = filled();
    p.name = "x";
    p.id = 1;
    p.parent = 1;
    p.x = p.y = p.width = p.height = p.rotation = p.red = p.green = p.blue = p.alpha = 9.0f;
    p.inportCount = p.outportCount = 9;
    p.parameters["stepTime"].value = 9;
    p.import_json(out);
    expect_equal(p, filled());
}

TEST(PropertiesBlock, ImportOfAnEmptyObject) {
    PropertiesBlock p = filled();
    p.import_json(json::object());
    EXPECT_EQ(p.name, "");
    EXPECT_EQ(p.id, 0u);
    EXPECT_EQ(p.inportCount, 0u);
    EXPECT_EQ(p.outportCount, 0u);
    // what an absent key leaves alone
    const PropertiesBlock before = filled();
    EXPECT_EQ(p.parent, before.parent);
    EXPECT_EQ(p.x, before.x);
    EXPECT_EQ(p.rotation, before.rotation);
    EXPECT_EQ(p.alpha, before.alpha);
    EXPECT_EQ(p.path, before.path);
    EXPECT_EQ(p.python_path, before.python_path);
    EXPECT_STREQ(p.parameters.at("stepTime").value.text(), "2.0");
}

TEST(PropertiesBlock, ParentZeroInAFileLeavesThePresetParent) {
    PropertiesBlock p;
    p.parent = 77;
    p.import_json({{"parent", 0}});
    EXPECT_EQ(p.parent, 77u);
    p.import_json({{"parent", 5}});
    EXPECT_EQ(p.parent, 5u);
}

TEST(PropertiesBlock, NegativeCountsAreSignExtended) {
    PropertiesBlock p;
    p.import_json({{"inportCount", -1}, {"outportCount", -2}});
    EXPECT_EQ(p.inportCount, 0xFFFFFFFFFFFFFFFFu);
    EXPECT_EQ(p.outportCount, 0xFFFFFFFFFFFFFFFEu);
}

TEST(PropertiesBlock, IntegersOutOfRangeAreCutAndFloatsConvertAsPortsDo) {
    PropertiesBlock p;
    p.import_json({{"inportCount", 4294967299}, {"id", -1}});
    EXPECT_EQ(p.inportCount, 3u);
    EXPECT_EQ(p.id, 0xFFFFFFFFFFFFFFFFu);
    p.import_json({{"inportCount", 1e18}, {"id", 1e30}, {"outportCount", 2.9}, {"parent", 7.9}});
    EXPECT_EQ(p.inportCount, 0xFFFFFFFF80000000u);
    EXPECT_EQ(p.id, 0x8000000000000000u);
    EXPECT_EQ(p.outportCount, 2u);
    EXPECT_EQ(p.parent, 7u);
}

TEST(PropertiesBlock, GeometryIsTakenWithoutRangeAndItsAbsentKeysAreZero) {
    PropertiesBlock p = filled();
    p.import_json({{"geometry", {{"x", -5.5}, {"width", 100000}}}});
    EXPECT_EQ(p.x, -5.5f);
    EXPECT_EQ(p.y, 0.0f);
    EXPECT_EQ(p.width, 100000.0f);
    EXPECT_EQ(p.height, 0.0f);
    EXPECT_EQ(p.rotation, 0.0f);
}

TEST(PropertiesBlock, TheOlderColorKeyServesWhereTheOtherIsAbsent) {
    PropertiesBlock p;
    p.import_json({{"backgroundColor", {{"red", 0.5}, {"alpha", 2.0}}}});
    EXPECT_EQ(p.red, 0.5f);
    EXPECT_EQ(p.green, 0.0f);
    EXPECT_EQ(p.alpha, 2.0f);
    p.import_json({{"bg", {{"green", 0.25}}}, {"backgroundColor", {{"red", 1.0}, {"blue", 1.0}}}});
    EXPECT_EQ(p.red, 0.0f);
    EXPECT_EQ(p.green, 0.25f);
    EXPECT_EQ(p.blue, 0.0f);
}

TEST(PropertiesBlock, NumbersOfParametersArriveAsInt) {
    PropertiesBlock p = filled();
    const auto imported = [&p](const json& value) {
        p.import_json({{"stepTime", value}});
        return p.parameters.at("stepTime").value;
    };
    for (const auto& [value, want] : {std::pair<json, int>{2.9, 2}, {-2.9, -2}, {7, 7}, {-7, -7}, {4294967297, 1}}) {
        const var_t got = imported(value);
        EXPECT_EQ(got.type(), type_int32);
        EXPECT_EQ(got.payload<int>(), want) << value;
    }
    EXPECT_EQ(imported("2.9").type(), type_cstr);
    EXPECT_STREQ(imported("2.9").text(), "2.9");
    EXPECT_STREQ(imported("").text(), "");
    EXPECT_STREQ(p.parameters.at("stepTime").suffix, " [sec]");
}

TEST(PropertiesBlock, UnknownKeysAreDropped) {
    PropertiesBlock p = filled();
    p.import_json({{"gain", "5"}, {"suffix", "x"}});
    EXPECT_EQ(p.parameters.size(), 1u);
}

TEST(PropertiesBlock, ANonObjectRaises306) {
    const std::pair<json, const char*> rows[] = {
        {json::array(), "array"}, {json(5), "number"},     {json("x"), "string"},
        {json(nullptr), "null"},  {json(true), "boolean"},
    };
    for (const auto& [in, type] : rows) {
        PropertiesBlock p;
        int id = 0;
        EXPECT_EQ(fault(p, in, &id), std::string("[json.exception.type_error.306] cannot use value() with ") + type);
        EXPECT_EQ(id, 306);
    }
}

TEST(PropertiesBlock, WrongTypesRaise302) {
    const std::string prefix = "[json.exception.type_error.302] type must be ";
    const std::pair<json, const char*> rows[] = {
        {{{"name", 5}}, "string, but is number"},
        {{{"name", nullptr}}, "string, but is null"},
        {{{"id", "5"}}, "number, but is string"},
        {{{"id", true}}, "number, but is boolean"},
        {{{"parent", json::array()}}, "number, but is array"},
        {{{"inportCount", "1"}}, "number, but is string"},
        {{{"outportCount", nullptr}}, "number, but is null"},
        {{{"geometry", {{"x", "1"}}}}, "number, but is string"},
        {{{"bg", {{"alpha", nullptr}}}}, "number, but is null"},
        {{{"stepTime", true}}, "string, but is boolean"},
        {{{"stepTime", nullptr}}, "string, but is null"},
        {{{"stepTime", json::array()}}, "string, but is array"},
        {{{"stepTime", json::object()}}, "string, but is object"},
    };
    for (const auto& [in, text] : rows) {
        PropertiesBlock p = filled();
        int id = 0;
        EXPECT_EQ(fault(p, in, &id), prefix + text) << in;
        EXPECT_EQ(id, 302);
    }
    PropertiesBlock p;
    EXPECT_EQ(fault(p, {{"geometry", 5}}), "[json.exception.type_error.306] cannot use value() with number");
    EXPECT_EQ(fault(p, {{"bg", nullptr}}), "[json.exception.type_error.306] cannot use value() with null");
}

TEST(PropertiesBlock, ABooleanParameterIsWrittenButNotReadBack) {
    PropertiesBlock p;
    p.parameters["flag"] = {"", true};
    json out;
    p.export_json(out);
    EXPECT_EQ(fault(p, out), "[json.exception.type_error.302] type must be string, but is boolean");
}

}  // namespace
}  // namespace tessel
