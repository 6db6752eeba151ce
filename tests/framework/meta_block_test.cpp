#include "framework/MetaBlock.h"

#include <gtest/gtest.h>

#include <cmath>
#include <new>
#include <nlohmann/json.hpp>
#include <utility>
#include <vector>

#include "ExecBlock.h"
#include "factory.h"
#include "tests/support/temp_folder.h"

namespace tessel {
namespace {

using nlohmann::json;

/// A class of its own with nothing overridden; its writing helpers can be called.
class Probe final : public MetaBlock {
public:
    using MetaBlock::in_value;
    using MetaBlock::MetaBlock;
    using MetaBlock::own_port;
    using MetaBlock::own_state;
    using MetaBlock::param_text;
    using MetaBlock::write_indented;
    using MetaBlock::write_step_c;
    using MetaBlock::write_step_py;

    std::uint32_t class_hash() const noexcept override { return 3; }
    const char* class_name() const noexcept override { return "probe"; }
    std::unique_ptr<ExecBlock> create_exec() override { return nullptr; }
    using MetaBlock::zone_;
};

struct MetaBlockTest : testing::Test {
    std::shared_ptr<PropertiesBlock> properties = std::make_shared<PropertiesBlock>();

    Probe probe(std::uint64_t inputs = 0, std::uint64_t outputs = 0) {
        properties->inportCount = inputs;
        properties->outportCount = outputs;
        return Probe(properties);
    }

    test::TempFolder temp;

    /// What `write` writes into a file.
    template <class Write>
    std::string written(Write write) {
        {
            sys::File file(temp.path() / "out", sys::file_create);
            write(file);
            file.close();
        }
        return temp.read("out");
    }
};

/// A source with outputs of the types, at a zone and tier.
struct Source {
    explicit Source(std::vector<type_t> types, std::int32_t zone = 0, std::int32_t tier = -1) {
        auto properties = std::make_shared<PropertiesBlock>();
        properties->outportCount = types.size();
        properties->name = "src";
        properties->id = 7;
        block = std::make_unique<Probe>(properties);
        for (std::size_t i = 0; i < types.size(); ++i) block->output(static_cast<std::int16_t>(i))->set_type(types[i]);
        block->zone_ = zone;
        block->set_tier(tier);
    }
    std::unique_ptr<Probe> block;
};

TEST_F(MetaBlockTest, ConstructionSizesThePorts) {
    Probe block = probe(3, 2);
    EXPECT_EQ(block.input_count(), 3u);
    EXPECT_EQ(block.output_count(), 2u);
    EXPECT_EQ(block.tier(), -1);
    EXPECT_EQ(block.zone(), -1);
    EXPECT_FALSE(block.failed());
    EXPECT_EQ(block.input(2)->type(), type_unknown);
    EXPECT_EQ(block.input(2)->source_block(), nullptr);
    EXPECT_EQ(std::as_const(block).input(1), block.input(1));
    EXPECT_EQ(std::as_const(block).output(1), block.output(1));
    EXPECT_EQ(block.input(2) - block.input(0), 2);
}

TEST_F(MetaBlockTest, IdentityComesFromTheProperties) {
    Probe block = probe();
    properties->id = 5;
    properties->parent = 6;
    properties->name = "n";
    EXPECT_EQ(block.id(), 5u);
    EXPECT_EQ(block.parent_id(), 6u);
    EXPECT_EQ(block.name(), "n");
    block.set_name(std::string_view("other text", 5));
    block.set_path("mainsys.p");
    block.set_python_path("mainsys.q");
    block.set_parent_id(9);
    EXPECT_EQ(properties->name, "other");
    EXPECT_EQ(properties->path, "mainsys.p");
    EXPECT_EQ(properties->python_path, "mainsys.q");
    const IMetaBlock& through = block;
    EXPECT_EQ(through.path(), "mainsys.p");
    EXPECT_EQ(through.python_path(), "mainsys.q");
    EXPECT_EQ(properties->parent, 9u);
}

TEST_F(MetaBlockTest, FlagsAndTier) {
    Probe block = probe();
    block.set_failed(true);
    EXPECT_TRUE(block.failed());
    block.set_failed(false);
    EXPECT_FALSE(block.failed());
    block.set_tier(4);
    EXPECT_EQ(block.tier(), 4);
}

TEST_F(MetaBlockTest, ParamCreatesAnUnknownKey) {
    Probe block = probe();
    EXPECT_EQ(block.param("gain").type(), type_unknown);
    EXPECT_EQ(properties->parameters.size(), 1u);
    block.param("gain") = 5;
    EXPECT_EQ(properties->parameters.at("gain").value.payload<int>(), 5);
    EXPECT_STREQ(properties->parameters.at("gain").suffix, "");
}

TEST_F(MetaBlockTest, HasAllTypesLooksAtInputsAndOutputs) {
    EXPECT_TRUE(probe().has_all_types());
    Probe block = probe(1, 2);
    block.input(0)->set_type(type_bool);
    block.output(0)->set_type(type_bool);
    EXPECT_FALSE(block.has_all_types());
    block.output(1)->set_type(type_bool);
    EXPECT_TRUE(block.has_all_types());
    block.input(0)->set_type(type_unknown);
    EXPECT_FALSE(block.has_all_types());
}

TEST_F(MetaBlockTest, HasAllSourcesLooksAtInputsOnly) {
    EXPECT_TRUE(probe(0, 2).has_all_sources());
    const Source source({type_bool});
    Probe block = probe(2, 1);
    block.input(0)->link(source.block.get(), 0);
    EXPECT_FALSE(block.has_all_sources());
    block.input(1)->link(source.block.get(), 0);
    EXPECT_TRUE(block.has_all_sources());
}

TEST_F(MetaBlockTest, ColorsAndGeometryAreTheFieldsInOrder) {
    Probe block = probe();
    properties->red = 1;
    properties->green = 2;
    properties->blue = 3;
    properties->alpha = 4;
    properties->x = 5;
    properties->y = 6;
    properties->width = 7;
    properties->height = 8;
    properties->rotation = 9;
    for (int i = 0; i < 4; ++i) EXPECT_EQ(block.colors()[i], static_cast<float>(1 + i));
    for (int i = 0; i < 5; ++i) EXPECT_EQ(block.geometry()[i], static_cast<float>(5 + i));
}

TEST_F(MetaBlockTest, SetColorsTakesEachComponentInRange) {
    Probe block = probe();
    properties->alpha = 0.5f;
    const float all[] = {0.0f, 1.0f, 0.5f};
    block.set_colors(all);
    EXPECT_EQ(properties->red, 0.0f);
    EXPECT_EQ(properties->green, 1.0f);
    EXPECT_EQ(properties->blue, 0.5f);
    const float some[] = {-0.1f, 0.25f, 1.1f};
    block.set_colors(some);
    EXPECT_EQ(properties->red, 0.0f);
    EXPECT_EQ(properties->green, 0.25f);
    EXPECT_EQ(properties->blue, 0.5f);
    EXPECT_EQ(properties->alpha, 0.5f);
    const float none[] = {std::nanf(""), std::nanf(""), std::nanf("")};
    block.set_colors(none);
    EXPECT_EQ(properties->green, 0.25f);
}

TEST_F(MetaBlockTest, SetGeometryTakesEachComponentInRange) {
    Probe block = probe();
    properties->rotation = 90.0f;
    const float ends[] = {0.0f, 10000.0f, 1.0f, 1000.0f};
    block.set_geometry(ends);
    EXPECT_EQ(properties->x, 0.0f);
    EXPECT_EQ(properties->y, 10000.0f);
    EXPECT_EQ(properties->width, 1.0f);
    EXPECT_EQ(properties->height, 1000.0f);
    const float some[] = {-1.0f, 5.0f, 0.5f, 100.0f};
    block.set_geometry(some);
    EXPECT_EQ(properties->x, 0.0f);
    EXPECT_EQ(properties->y, 5.0f);
    EXPECT_EQ(properties->width, 1.0f);
    EXPECT_EQ(properties->height, 100.0f);
    const float beyond[] = {10000.5f, 10001.0f, 1000.5f, 1001.0f};
    block.set_geometry(beyond);
    EXPECT_EQ(properties->x, 0.0f);
    EXPECT_EQ(properties->y, 5.0f);
    EXPECT_EQ(properties->width, 1.0f);
    EXPECT_EQ(properties->height, 100.0f);
    EXPECT_EQ(properties->rotation, 90.0f);
}

TEST_F(MetaBlockTest, ExportPutsTheBlockAtTheIndexOfItsClassHash) {
    Probe block = probe();
    properties->name = "n";
    json out = {"before"};
    block.export_json(out);
    ASSERT_EQ(out.size(), 2u);
    ASSERT_TRUE(out[1].is_array());
    ASSERT_EQ(out[1].size(), 4u);
    for (int i = 0; i < 3; ++i) EXPECT_TRUE(out[1][static_cast<std::size_t>(i)].is_null());
    EXPECT_EQ(out[1][3]["name"], "n");
    json fresh;
    block.export_json(fresh);
    EXPECT_EQ(fresh.size(), 1u);
}

TEST_F(MetaBlockTest, ImportGrowsInputsAndNothingElse) {
    Probe block = probe(2, 1);
    block.import_json({{"name", "n"}, {"inportCount", 5}, {"outportCount", 4}});
    EXPECT_EQ(block.name(), "n");
    EXPECT_EQ(block.input_count(), 5u);
    EXPECT_EQ(block.output_count(), 1u);
    block.import_json({{"inportCount", 1}});
    EXPECT_EQ(block.input_count(), 5u);
    EXPECT_EQ(properties->inportCount, 1u);
}

TEST_F(MetaBlockTest, ACountBeyondEveryDiagramIsAnAllocationError) {
    for (const json& count :
         {json(-1), json(-2147483648), json(2000000000), json(1048577), json(1e18), json(1000000000000000000)}) {
        Probe block = probe(2);
        EXPECT_THROW(block.import_json({{"inportCount", count}}), std::bad_alloc) << count;
        EXPECT_EQ(block.input_count(), 2u);
    }
    properties->inportCount = 0;
    properties->outportCount = ~0ull;
    EXPECT_THROW(Probe{properties}, std::bad_alloc);
    try {
        probe().import_json({{"inportCount", -1}});
    } catch (const std::exception& error) {
        EXPECT_STREQ(error.what(), "a block cannot have more than 1048576 inputs or outputs");
    }
}

TEST_F(MetaBlockTest, CountsThat16BitsCannotHoldAreCounts) {
    Probe block = probe();
    block.import_json({{"inportCount", 65545}});
    EXPECT_EQ(block.input_count(), 65545u);
    block.import_json({{"inportCount", 1048576}});
    EXPECT_EQ(block.input_count(), 1048576u);
}

TEST_F(MetaBlockTest, ResizeDropsAtTheEndAndAddsUntyped) {
    Probe block = probe(3, 1);
    block.input(0)->set_type(type_int8);
    block.input(2)->set_type(type_int8);
    block.resize_ports(2, 3);
    EXPECT_EQ(block.input_count(), 2u);
    EXPECT_EQ(block.output_count(), 3u);
    block.resize_ports(3, -1);
    EXPECT_EQ(block.output_count(), 3u);
    EXPECT_EQ(block.input(0)->type(), type_int8);
    EXPECT_EQ(block.input(2)->type(), type_unknown);
    EXPECT_EQ(block.input(2)->source_block(), nullptr);
    block.resize_ports(-1, 0);
    EXPECT_EQ(block.input_count(), 3u);
    EXPECT_EQ(block.output_count(), 0u);
}

// ---- the default rules of types and zones

TEST_F(MetaBlockTest, TheOutputTakesTheHighestTypeOfTheInputs) {
    const Source source({type_int8, type_uint16, type_flt32, type_cstr, type_int16, type_uint8});
    const auto output_type = [&](std::vector<std::int16_t> indices) {
        Probe block = probe(indices.size(), 2);
        for (std::size_t i = 0; i < indices.size(); ++i)
            block.input(static_cast<std::int16_t>(i))->link(source.block.get(), indices[i]);
        EXPECT_EQ(block.calculate_type(), result_ok);
        EXPECT_EQ(block.output(1)->type(), type_unknown);  // only the first output is typed
        return block.output(0)->type();
    };
    EXPECT_EQ(output_type({0, 1, 2}), type_flt32);
    EXPECT_EQ(output_type({0}), type_int8);
    EXPECT_EQ(output_type({5, 0}), type_uint8);
    EXPECT_EQ(output_type({5, 4}), type_int16);
    EXPECT_EQ(output_type({2, 3}), type_cstr);
    EXPECT_EQ(output_type({}), type_unknown);
}

TEST_F(MetaBlockTest, MissingInputTypesHoldTheOutputBackButNotTheOtherInputs) {
    const Source source({type_unknown, type_int8});
    Probe block = probe(2, 1);
    block.input(0)->link(source.block.get(), 0);
    block.input(1)->link(source.block.get(), 1);
    EXPECT_EQ(block.calculate_type(), result_ok);
    EXPECT_EQ(block.input(0)->type(), type_unknown);
    EXPECT_EQ(block.input(1)->type(), type_int8);
    EXPECT_EQ(block.output(0)->type(), type_unknown);
    source.block->output(0)->set_type(type_flt64);
    EXPECT_EQ(block.calculate_type(), result_ok);
    EXPECT_EQ(block.output(0)->type(), type_flt64);
}

TEST_F(MetaBlockTest, TypesThatStandAreKept) {
    const Source source({type_flt64});
    Probe block = probe(1, 1);
    block.input(0)->set_type(type_bool);
    block.input(0)->link(source.block.get(), 0);
    block.output(0)->set_type(type_int8);
    EXPECT_EQ(block.calculate_type(), result_ok);
    EXPECT_EQ(block.input(0)->type(), type_bool);
    EXPECT_EQ(block.output(0)->type(), type_int8);
    Probe sink = probe(1, 0);
    sink.input(0)->link(source.block.get(), 0);
    EXPECT_EQ(sink.calculate_type(), result_ok);
    EXPECT_EQ(sink.input(0)->type(), type_flt64);
}

TEST_F(MetaBlockTest, AnInputWithoutSourceStaysUntyped) {
    Probe block = probe(1, 1);
    EXPECT_EQ(block.calculate_type(), result_ok);
    EXPECT_EQ(block.output(0)->type(), type_unknown);
}

TEST_F(MetaBlockTest, TheZoneIsAboveTheSources) {
    const Source low({type_bool}, 2), high({type_bool}, 5);
    Probe block = probe(3);
    block.input(0)->link(low.block.get(), 0);
    block.input(1)->link(high.block.get(), 0);
    block.input(2)->link(low.block.get(), 0);
    EXPECT_EQ(block.calculate_zone(), 0);
    EXPECT_EQ(block.zone(), 6);
    EXPECT_EQ(block.calculate_zone(), 0);
    EXPECT_EQ(block.zone(), 6);
}

TEST_F(MetaBlockTest, ASourceOfAnotherTierAddsAThousand) {
    const Source inner({type_bool}, 4, 2);
    Probe block = probe(1);
    block.set_tier(1);
    block.input(0)->link(inner.block.get(), 0);
    EXPECT_EQ(block.calculate_zone(), 0);
    EXPECT_EQ(block.zone(), 1005);
}

TEST_F(MetaBlockTest, AnUnknownZoneOfASourceIsNotYet) {
    const Source known({type_bool}, 4), unknown({type_bool}, -1);
    Probe block = probe(2);
    block.input(0)->link(known.block.get(), 0);
    block.input(1)->link(unknown.block.get(), 0);
    EXPECT_EQ(block.calculate_zone(), -1);
    EXPECT_EQ(block.zone(), -1);
}

TEST_F(MetaBlockTest, WithoutInputsTheZoneStays) {
    Probe block = probe();
    EXPECT_EQ(block.calculate_zone(), 0);
    EXPECT_EQ(block.zone(), -1);
}

// ---- generated text

TEST_F(MetaBlockTest, IndentsAreInUnitsOfFourBlanks) {
    Probe block = probe();
    block.set_tier(1);
    EXPECT_EQ(written([&](sys::File& file) {
                  Probe::write_indented(0, file, "a\n");
                  Probe::write_indented(2, file, "{:s}{{\n", "b");
                  block.write_step_c(file, 0, "c\n");
                  block.write_step_c(file, 1, "{:d}\n", 5);
                  block.write_step_py(file, 0, "d\n");
                  block.write_step_py(file, 1, "e\n");
              }),
              "a\n        b{\n        c\n            5\n            d\n                e\n");
}

TEST_F(MetaBlockTest, PendingTextStandsInFrontOfTheIndent) {
    EXPECT_EQ(written([&](sys::File& file) {
                  file.set_pending("first\n");
                  Probe::write_indented(1, file, "second\n");
              }),
              "first\n    second\n");
}

TEST_F(MetaBlockTest, CommentOfAFreshBlock) {
    Probe block = probe();
    properties->path = "mainsys.a b";
    properties->id = 18446744073709551615u;
    properties->parent = 3;
    EXPECT_EQ(written([&](sys::File& file) { EXPECT_EQ(block.code_comment_c(file, 1), result_ok); }),
              "    /*\n"
              "     * path: mainsys.a b\n"
              "     * class: probe\n"
              "     * id: 18446744073709551615, parent: 3, tier: -1, zone: -1\n"
              "     */\n");
    EXPECT_EQ(written([&](sys::File& file) { EXPECT_EQ(block.code_comment_py(file, 2), result_ok); }),
              "        # path: mainsys.a b\n"
              "        # class: probe\n"
              "        # id: 18446744073709551615, parent: 3, tier: -1, zone: -1\n");
}

TEST_F(MetaBlockTest, StructOfTheOutputs) {
    Probe block = probe(1, 2);
    block.output(0)->set_type(type_flt64);
    block.output(1)->set_type(type_uint64);
    EXPECT_EQ(written([&](sys::File& file) { EXPECT_EQ(block.code_struct_c(file), result_ok); }),
              "typedef struct\n{\n    double port0;\n    unsigned long int port1;\n} probe_flt64uint64_t;\n\n");
    EXPECT_EQ(written([&](sys::File& file) { EXPECT_EQ(block.code_struct_py(file), result_ok); }),
              "class probe_t():\n    def __init__(self):\n        self.port0 = 0\n        self.port1 = 0\n\n");
}

TEST_F(MetaBlockTest, StructWithoutOutputsHasNoFields) {
    Probe block = probe(1, 0);
    EXPECT_EQ(written([&](sys::File& file) { EXPECT_EQ(block.code_struct_c(file), result_ok); }),
              "typedef struct\n{\n} probe_t;\n\n");
    EXPECT_EQ(written([&](sys::File& file) { EXPECT_EQ(block.code_struct_py(file), result_ok); }),
              "class probe_t():\n    def __init__(self):\n\n");
}

TEST_F(MetaBlockTest, DefaultInitAndStep) {
    Probe block = probe();
    block.set_tier(2);
    EXPECT_EQ(written([&](sys::File& file) {
                  EXPECT_EQ(block.code_init_c(file, "p_model->"), result_ok);
                  EXPECT_EQ(block.code_init_py(file, "self."), result_ok);
                  EXPECT_EQ(block.code_step_c(file, "p_model->"), result_ok);
                  EXPECT_EQ(block.code_step_py(file, "self."), result_ok);
              }),
              "    // no initialization is required\n"
              "        # no initialization is required\n"
              "            // no code generated\n"
              "                # no code generated\n");
}

TEST_F(MetaBlockTest, AFullDeviceRaises) {
    if (!std::filesystem::exists("/dev/full")) GTEST_SKIP() << "no device that is always full";
    Probe block = probe();
    sys::File file("/dev/full", sys::file_create);
    EXPECT_THROW(
        {
            for (int i = 0; i < 100'000; ++i) block.code_comment_c(file, 0);
        },
        std::system_error);
}

TEST_F(MetaBlockTest, StructNames) {
    EXPECT_EQ(probe().struct_name(), "probe_t");
    EXPECT_EQ(probe().struct_name_py(), "probe_t");
    properties->inportCount = 1;
    properties->outportCount = 2;
    const auto enable = factory::create("enable", properties);
    enable->output(0)->set_type(type_flt64);
    enable->output(1)->set_type(type_bool);
    EXPECT_EQ(enable->struct_name(), "enable_flt64bool_t");
    const auto add = factory::create("add");
    add->output(0)->set_type(type_flt64);
    EXPECT_EQ(add->struct_name(), "add_flt64_t");
    EXPECT_EQ(add->struct_name_py(), "add_t");
}

TEST_F(MetaBlockTest, UntypedPortsHaveADefinedText) {
    Probe block = probe(0, 1);
    EXPECT_EQ(block.struct_name(), "probe_(null)_t");
    block.output(0)->set_type(static_cast<type_t>(2));
    EXPECT_EQ(block.struct_name(), "probe_(null)_t");
    EXPECT_NE(written([&](sys::File& file) { block.code_struct_c(file); }).find("(null) port0;"), std::string::npos);
}

TEST_F(MetaBlockTest, VariablesOfGeneratedCode) {
    const Source source({type_bool, type_flt64});
    Probe block = probe(2, 2);
    properties->name = std::string(1000, 'n');
    properties->id = 42;
    block.input(1)->link(source.block.get(), 1);
    EXPECT_EQ(block.own_state("p_model->"), "p_model->" + properties->name + "_42");
    EXPECT_EQ(block.own_port("self.", 1), "self." + properties->name + "_42.port1");
    EXPECT_EQ(block.in_value("p_model->", 1), "p_model->src_7.port1");
    EXPECT_EQ(block.in_value("p_model->", 0), "0");
    EXPECT_EQ(block.in_value("p_model->", 2), "0");
}

TEST_F(MetaBlockTest, ParametersAsText) {
    Probe block = probe();
    block.param("text") = std::string("a + b");
    block.param("number") = -7;
    EXPECT_EQ(block.param_text("text"), "a + b");
    EXPECT_EQ(block.param_text("number"), "-7");
    EXPECT_EQ(block.param_text("absent"), "");
    EXPECT_EQ(properties->parameters.size(), 2u);
}

}  // namespace
}  // namespace tessel
