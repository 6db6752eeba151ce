// Properties written and read back.

#include <gtest/gtest.h>

#include <array>
#include <limits>

#include "PropertiesBlock.h"
#include "PropertiesModel.h"
#include "framework/classes.h"
#include "tests/support/random_model.h"

namespace tessel::test {
namespace {

using nlohmann::json;

constexpr int round_count = 500;

std::string random_text(Choices& choices) {
    static constexpr std::array parts{"gain", " ", ".", "\"", "\\", "\n", "7", "\u00e9", "{}", "/*", "%s", "x"};
    std::string text;
    for (unsigned n = choices.below(7); n > 0; --n) text += parts[choices.below(parts.size())];
    return text;
}

float random_float(Choices& choices) {
    const auto dividend = static_cast<float>(choices.below(1u << 30));
    const auto divisor = static_cast<float>(1 + choices.below(1000));
    return dividend / divisor - 5000.0f;
}

/// The properties of a block of a class, with texts and whole numbers as parameters.
PropertiesBlock random_block(const parameters_t& parameters, Choices& choices) {
    PropertiesBlock block;
    block.name = random_text(choices);
    block.id = std::uint64_t{choices.below(1u << 31)} << 22;
    block.id += choices.below(1000);
    block.parent = choices.once_in(3) ? 0 : 1 + choices.below(1u << 31);
    block.inportCount = choices.below(9);
    block.outportCount = choices.below(9);
    for (float* field : {&block.x, &block.y, &block.width, &block.height, &block.rotation})
        *field = random_float(choices);
    if (choices.once_in(2)) {
        for (float* field : {&block.red, &block.green, &block.blue})
            *field = static_cast<float>(choices.below(256)) / 255.0f;
        block.alpha = static_cast<float>(1 + choices.below(255)) / 255.0f;
    }
    block.parameters = parameters;
    for (auto& [key, parameter] : block.parameters) {
        if (choices.once_in(3)) parameter.value = var_t(static_cast<int>(choices.below(2000)) - 1000);
        else parameter.value = random_text(choices);
    }
    return block;
}

void expect_equal(const PropertiesBlock& a, const PropertiesBlock& b) {
    EXPECT_EQ(a.name, b.name);
    EXPECT_EQ(a.id, b.id);
    EXPECT_EQ(a.parent, b.parent);
    EXPECT_EQ(a.inportCount, b.inportCount);
    EXPECT_EQ(a.outportCount, b.outportCount);
    const auto floats = [](const PropertiesBlock& p) {
        return std::array{p.x, p.y, p.width, p.height, p.rotation, p.red, p.green, p.blue, p.alpha};
    };
    EXPECT_EQ(floats(a), floats(b));
    ASSERT_EQ(a.parameters.size(), b.parameters.size());
    for (const auto& [key, parameter] : a.parameters) {
        const var_t& other = b.parameters.at(key).value;
        EXPECT_EQ(parameter.value.type(), other.type()) << key;
        EXPECT_EQ(parameter.value.to_string(), other.to_string()) << key;
    }
}

TEST(Json, OfABlockReadsBackAsItWas) {
    SeededChoices choices(1);
    for (const class_row_t& row : factory::class_rows()) {
        const parameters_t* defaults = factory::defaults_of(row.name);
        const parameters_t parameters = defaults != nullptr ? *defaults : parameters_t{};
        for (int round = 0; round < round_count / 10; ++round) {
            const PropertiesBlock block = random_block(parameters, choices);
            json out;
            block.export_json(out);
            PropertiesBlock read;
            read.parameters = parameters;
            read.import_json(json::parse(out.dump()));
            expect_equal(read, block);
            if (testing::Test::HasFailure()) FAIL() << row.name << "\n" << out.dump(1);
        }
    }
}

TEST(Json, OfAModelReadsBackAsItWas) {
    SeededChoices choices(2);
    for (int round = 0; round < round_count; ++round) {
        PropertiesModel model;
        model.set("ti", random_float(choices) / 3.0);
        model.set("tf", random_float(choices) / 7.0);
        model.set("ts", 0.1 * choices.below(9));
        for (unsigned n = choices.below(6); n > 0; --n) {
            std::vector<point_t> points;
            for (unsigned k = choices.below(4); k > 0; --k)
                points.push_back({static_cast<std::int32_t>(choices.below(1u << 31)),
                                  std::numeric_limits<std::int32_t>::min() + static_cast<std::int32_t>(k)});
            const std::uint64_t src = std::uint64_t{choices.below(1u << 31)} << 22;
            const std::uint64_t dst = choices.below(100);
            const auto src_port = static_cast<short>(choices.below(9));
            const auto dst_port = static_cast<short>(static_cast<short>(choices.below(9)) - 1);
            const std::string label = random_text(choices);
            model.insert_link(src, dst, src_port, dst_port, label, std::move(points), false);
        }
        json out;
        model.export_json(out);
        PropertiesModel read;
        read.import_json(json::parse(out.dump()), false);
        for (const char* key : {"ti", "tf", "ts"})
            ASSERT_EQ(read.get(key).payload<double>(), model.get(key).payload<double>());
        ASSERT_EQ(read.links.size(), model.links.size());
        json again;
        read.export_json(again);
        out.erase("metadata");
        again.erase("metadata");
        ASSERT_EQ(again, out);
        for (std::size_t i = 0; i < read.links.size(); ++i) {
            const link_t &a = read.links[i], &b = model.links[i];
            ASSERT_EQ(std::tie(a.srcId, a.dstId, a.srcPort, a.dstPort, a.label, a.resolved, a.hidden),
                      std::tie(b.srcId, b.dstId, b.srcPort, b.dstPort, b.label, b.resolved, b.hidden));
            ASSERT_EQ(a.breakpoints.size(), b.breakpoints.size());
            for (std::size_t k = 0; k < a.breakpoints.size(); ++k) {
                ASSERT_EQ(a.breakpoints[k].x, b.breakpoints[k].x);
                ASSERT_EQ(a.breakpoints[k].y, b.breakpoints[k].y);
            }
        }
    }
}

}  // namespace
}  // namespace tessel::test
