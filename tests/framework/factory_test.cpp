#include "factory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>
#include <string>

#include "core/hash.h"
#include "framework/classes.h"
#include "port.h"

namespace tessel {
namespace {

/// One class: port counts that hold whatever the properties say, and preset types of input 0 and output 0.
struct class_case_t {
    const char* name;
    std::uint32_t hash;
    int inputs;
    int outputs;
    type_t input_type;
    type_t output_type;
};

constexpr class_case_t class_cases[] = {
    {"abs", 0x0b873295u, 1, 1, type_unknown, type_unknown},
    {"acc", 0x0b873364u, 3, 1, type_unknown, type_unknown},
    {"acos", 0x7c6da01bu, 1, 1, type_unknown, type_unknown},
    {"add", 0x0b873244u, as_given, 1, type_unknown, type_unknown},
    {"asin", 0x7c6de550u, 1, 1, type_unknown, type_unknown},
    {"atan", 0x7c6dbe1fu, 1, 1, type_unknown, type_unknown},
    {"cast", 0x7c70c240u, 1, 1, type_unknown, type_unknown},
    {"clamp", 0x0a8b8ef6u, 3, 1, type_unknown, type_unknown},
    {"constant", 0x8ee861fbu, 0, 1, type_unknown, type_unknown},
    {"cos", 0x0b874c7au, 1, 1, type_unknown, type_unknown},
    {"debounce", 0x42e8a014u, 1, 1, type_unknown, type_bool},
    {"delta", 0x09c84efdu, 1, 1, type_unknown, type_unknown},
    {"display", 0xa78b551fu, 1, 0, type_unknown, type_unknown},
    {"divide", 0x43261456u, 2, 1, type_unknown, type_unknown},
    {"enable", 0x455ede04u, 1, as_given, type_unknown, type_unknown},
    {"from", 0x7c6e3bb3u, 0, 1, type_unknown, type_unknown},
    {"from_workspace", 0xf95c2409u, 0, 1, type_unknown, type_unknown},
    {"goto", 0x7c6ecbf6u, 1, 0, type_unknown, type_unknown},
    {"hysteresis", 0xd5b51988u, 1, 1, type_unknown, type_bool},
    {"if", 0x00596f2au, 3, 1, type_bool, type_unknown},
    {"inport", 0x5fb3f2fbu, 1, 1, type_unknown, type_unknown},
    {"lerp", 0x7c6f504eu, 1, 1, type_unknown, type_unknown},
    {"log", 0x0b873f21u, 1, 1, type_unknown, type_unknown},
    {"logical", 0xed56cb66u, as_given, 1, type_unknown, type_bool},
    {"lut1d", 0x0a617a1du, 1, 1, type_unknown, type_unknown},
    {"lut2d", 0x0a617afeu, 2, 1, type_unknown, type_unknown},
    {"max", 0x0b8743b1u, 1, 1, type_unknown, type_unknown},
    {"memory", 0x57831d84u, 1, 1, type_unknown, type_unknown},
    {"min", 0x0b8742afu, 1, 1, type_unknown, type_unknown},
    {"mod", 0x0b8743e3u, 2, 1, type_unknown, type_unknown},
    {"multiply", 0x1026a7c9u, as_given, 1, type_unknown, type_unknown},
    {"not", 0x0b8757b0u, 1, 1, type_bool, type_bool},
    {"outport", 0x3165c3f2u, 1, 1, type_unknown, type_unknown},
    {"poly1st", 0x9ba16579u, 1, 1, type_unknown, type_unknown},
    {"pow", 0x0b87732du, 2, 1, type_unknown, type_unknown},
    {"random", 0x7ee62cbeu, 0, 1, type_unknown, type_unknown},
    {"refsys", 0x7e9d6dadu, as_given, as_given, type_unknown, type_unknown},
    {"relational", 0xfebff78eu, as_given, 1, type_unknown, type_bool},
    {"sin", 0x0b8790b1u, 1, 1, type_unknown, type_unknown},
    {"sinewave", 0xd99eac91u, 0, 1, type_unknown, type_unknown},
    {"sqrt", 0x7c794421u, 1, 1, type_unknown, type_unknown},
    {"squarewave", 0xdd55eba1u, 0, 1, type_unknown, type_unknown},
    {"step", 0x7c793657u, 0, 1, type_unknown, type_unknown},
    {"subsys", 0x7f8a3818u, as_given, as_given, type_unknown, type_unknown},
    {"subsystem", 0xea0db9c4u, as_given, as_given, type_unknown, type_unknown},
    {"subtract", 0x8b512211u, as_given, 1, type_unknown, type_unknown},
    {"switch", 0x7fb03db7u, at_least_3, 1, type_int8, type_unknown},
    {"tan", 0x0b8761feu, 1, 1, type_unknown, type_unknown},
    {"time", 0x7c73c1f0u, 0, 1, type_unknown, type_unknown},
    {"to_workspace", 0xd047e764u, 1, 0, type_unknown, type_unknown},
    {"unpack", 0x6aa93c07u, 1, 1, type_unknown, type_unknown},
};

/// A default parameter; no text is the number of a port that has none yet.
struct default_case_t {
    const char* class_name;
    const char* key;
    const char* suffix;
    const char* text;
};

constexpr default_case_t default_cases[] = {
    {"cast", "type", "", "flt64"},
    {"constant", "expression", "", "1.0"},
    {"debounce", "fall", " [sec]", "1"},
    {"debounce", "rise", " [sec]", "1"},
    {"from", "target", "", ""},
    {"from_workspace", "expression", "", ""},
    {"goto", "target", "", ""},
    {"hysteresis", "valueOff", "", "0.0"},
    {"hysteresis", "valueOn", "", "1.0"},
    {"inport", "portNumber", "", nullptr},
    {"lerp", "coeffA", "", "0.0"},
    {"lerp", "coeffB", "", "2.0"},
    {"logical", "operator", "", "and"},
    {"lut1d", "bp1", "", "[0.0, 1.0, 2.0]"},
    {"lut1d", "out", "", "[0.0, 1.0, 2.0]"},
    {"lut2d", "bp1", "", "[0.0, 1.0]"},
    {"lut2d", "bp2", "", "[0.0, 1.0, 2.0]"},
    {"lut2d", "out", "", "[[0.0, 1.0, 2.0],[0.0, 1.0, 2.0]]"},
    {"outport", "portNumber", "", nullptr},
    {"poly1st", "coeffA", "", "1.0"},
    {"poly1st", "coeffB", "", "1.0"},
    {"random", "max", "", "1.0"},
    {"random", "min", "", "0.0"},
    {"random", "seed", "", "12345"},
    {"refsys", "path", "", ""},
    {"relational", "operator", "", "eq"},
    {"sinewave", "frequency", " [hz]", "10.0"},
    {"sinewave", "phase", " [deg]", "0.0"},
    {"squarewave", "timeOff", " [sec]", "1.0"},
    {"squarewave", "timeOn", " [sec]", "2.0"},
    {"squarewave", "valueOff", "", "-1.0"},
    {"squarewave", "valueOn", "", "1.0"},
    {"step", "initialValue", "", "0.0"},
    {"step", "finalValue", "", "1.0"},
    {"step", "stepTime", " [sec]", "2.0"},
    {"unpack", "lsb", "", "0"},
    {"unpack", "msb", "", "0"},
    {"unpack", "coeffA", "", "1.0"},
    {"unpack", "coeffB", "", "0.0"},
};

std::unique_ptr<IMetaBlock> create_with(const char* name, std::uint64_t inputs, std::uint64_t outputs) {
    auto properties = std::make_shared<PropertiesBlock>();
    properties->inportCount = inputs;
    properties->outportCount = outputs;
    return factory::create(name, properties);
}

std::uint64_t wanted(int rule, std::uint64_t given) {
    if (rule == at_least_3) return std::max<std::uint64_t>(given, 3);
    return rule == as_given ? given : static_cast<std::uint64_t>(rule);
}

TEST(Factory, EveryClassByNameAndHash) {
    // those that model files rely on; there may be more
    EXPECT_LE(std::size(class_cases), factory::class_rows().size());
    for (const auto& row : class_cases) {
        EXPECT_EQ(class_hash_of(row.name), row.hash) << row.name;
        const auto block = factory::create(row.name);
        ASSERT_NE(block, nullptr) << row.name;
        const bool alias = std::string(row.name) == "subsystem";
        EXPECT_STREQ(block->class_name(), alias ? "subsys" : row.name);
        EXPECT_EQ(block->class_hash(), alias ? 0x7f8a3818u : row.hash) << row.name;
    }
}

TEST(Factory, PortCountsAreForcedDownAndUp) {
    for (const auto& row : class_cases)
        for (const std::uint64_t given : {0u, 1u, 2u, 3u, 5u}) {
            const auto block = create_with(row.name, given, given);
            ASSERT_NE(block, nullptr) << row.name;
            EXPECT_EQ(block->input_count(), wanted(row.inputs, given)) << row.name << ' ' << given;
            EXPECT_EQ(block->output_count(), wanted(row.outputs, given)) << row.name << ' ' << given;
        }
}

TEST(Factory, PresetTypesStandOnTheFirstPortsOnly) {
    for (const auto& row : class_cases) {
        const auto block = create_with(row.name, 4, 4);
        for (std::int16_t i = 0; i < static_cast<std::int16_t>(block->input_count()); ++i)
            EXPECT_EQ(block->input(i)->type(), i == 0 ? row.input_type : type_unknown) << row.name << " input " << i;
        for (std::int16_t i = 0; i < static_cast<std::int16_t>(block->output_count()); ++i)
            EXPECT_EQ(block->output(i)->type(), i == 0 ? row.output_type : type_unknown) << row.name << " output " << i;
    }
}

TEST(Factory, DefaultParametersOfEveryClass) {
    std::map<std::string, std::set<std::string>> keys;
    for (const auto& row : default_cases) {
        keys[row.class_name].insert(row.key);
        auto properties = std::make_shared<PropertiesBlock>();
        const auto block = factory::create(row.class_name, properties);
        const auto found = properties->parameters.find(row.key);
        ASSERT_NE(found, properties->parameters.end()) << row.class_name << ' ' << row.key;
        EXPECT_STREQ(found->second.suffix, row.suffix) << row.class_name << ' ' << row.key;
        const var_t& value = block->param(row.key);
        if (row.text != nullptr) {
            EXPECT_EQ(value.type(), type_cstr) << row.class_name << ' ' << row.key;
            EXPECT_STREQ(value.text(), row.text) << row.class_name << ' ' << row.key;
        } else {
            EXPECT_EQ(value.type(), type_int32);
            EXPECT_EQ(value.payload<int>(), 2047);
        }
    }
    EXPECT_EQ(keys.size(), 21u);
    for (const auto& row : class_cases) {
        auto properties = std::make_shared<PropertiesBlock>();
        factory::create(row.name, properties);
        EXPECT_EQ(properties->parameters.size(), keys.contains(row.name) ? keys[row.name].size() : 0u) << row.name;
        const parameters_t* defaults = factory::defaults_of(row.name);
        EXPECT_EQ(defaults != nullptr ? defaults->size() : 0u, properties->parameters.size()) << row.name;
    }
}

TEST(Factory, NamesThatAreNoClassGiveNothing) {
    for (const char* name : {"", "Add", "ADD", "add ", " add", "gain", "sub", "subsystems", "refsy"})
        EXPECT_EQ(factory::create(name), nullptr) << name;
    EXPECT_EQ(factory::create(std::string_view()), nullptr);
    EXPECT_EQ(factory::create("gain", std::make_shared<PropertiesBlock>()), nullptr);
    EXPECT_EQ(factory::defaults_of("gain"), nullptr);
    EXPECT_EQ(factory::find_class(0), nullptr);
    EXPECT_EQ(factory::find_class(5381), nullptr);
}

TEST(Factory, TheNameIsReadUpToItsZero) {
    const auto block = factory::create(std::string_view("step", 2));
    ASSERT_NE(block, nullptr);
    EXPECT_STREQ(block->class_name(), "step");
    EXPECT_STREQ(factory::create(std::string_view("add\0rest", 8))->class_name(), "add");
}

TEST(Factory, AMapWithEntriesIsLeftAsItIs) {
    auto properties = std::make_shared<PropertiesBlock>();
    properties->parameters["stepTime"] = {"", "7"};
    const auto block = factory::create("step", properties);
    EXPECT_EQ(properties->parameters.size(), 1u);
    EXPECT_STREQ(block->param("stepTime").text(), "7");
    EXPECT_STREQ(properties->parameters.at("stepTime").suffix, "");
}

TEST(Factory, BlocksHaveMapsOfTheirOwn) {
    const auto a = factory::create("step");
    const auto b = factory::create("step");
    a->param("stepTime") = 9;
    EXPECT_STREQ(b->param("stepTime").text(), "2.0");
    EXPECT_STREQ(factory::create("step")->param("stepTime").text(), "2.0");
}

TEST(Factory, TheBlockSharesTheCallersProperties) {
    auto properties = std::make_shared<PropertiesBlock>();
    const auto block = factory::create("abs", properties);
    properties->id = 42;
    EXPECT_EQ(block->id(), 42u);
    EXPECT_EQ(properties.use_count(), 2);
}

TEST(Factory, RowsAreSortedByName) {
    const auto rows = factory::class_rows();
    EXPECT_TRUE(std::ranges::is_sorted(rows, {}, [](const class_row_t& row) { return std::string_view(row.name); }));
    for (const auto& row : rows) EXPECT_EQ(factory::find_class(class_hash_of(row.name)), &row);
}

}  // namespace
}  // namespace tessel
