#include <gmock/gmock.h>

#include <random>

#include "tests/support/LogCapture.h"
#include "tests/support/ModelBuilder.h"

namespace tessel::test {
namespace {

using testing::ElementsAre;

/// A chain of one-input blocks from a typed constant with id 1, in file order or against it.
void chain(ModelBuilder& b, std::uint64_t count, bool reversed, const char* class_name = "abs") {
    for (std::uint64_t n = 1; n <= count; ++n) {
        const std::uint64_t id = reversed ? count + 1 - n : n;
        if (id == 1) b.add("constant", 1).output(0)->set_type(type_int16);
        else b.add(class_name, id);
    }
    for (std::uint64_t id = 2; id <= count; ++id) b.link(id - 1, id);
    b.model.create_links();
}

type_t sum_type(type_t left, type_t right) {
    ModelBuilder b;
    b.add("constant", 1).output(0)->set_type(left);
    b.add("constant", 2).output(0)->set_type(right);
    b.add("add", 3);
    b.link(1, 0, 3, 0).link(2, 0, 3, 1);
    b.model.create_links();
    EXPECT_EQ(b.model.calculate_types(), result_ok);
    return b.at(3).output(0)->type();
}

TEST(Types, OutputTakesTheHighestInputType) {
    EXPECT_EQ(sum_type(type_int32, type_flt32), type_flt32);
    EXPECT_EQ(sum_type(type_bool, type_uint8), type_uint8);
    EXPECT_EQ(sum_type(type_uint64, type_int64), type_uint64);
    EXPECT_EQ(sum_type(type_int16, type_uint8), type_int16);
    EXPECT_EQ(sum_type(type_int8, type_uint8), type_uint8);
    EXPECT_EQ(sum_type(type_flt32, type_flt64), type_flt64);
    EXPECT_EQ(sum_type(type_cstr, type_flt64), type_cstr);
}

TEST(Types, PropagateAlongAChainInAnyFileOrder) {
    for (const bool reversed : {false, true}) {
        ModelBuilder b;
        chain(b, 50, reversed);
        EXPECT_EQ(b.model.calculate_types(), result_ok);
        for (std::uint64_t id = 1; id <= 50; ++id) EXPECT_EQ(b.at(id).output(0)->type(), type_int16);
    }
}

TEST(Types, CompleteBlocksAreNotCalled) {
    ModelBuilder b;
    chain(b, 3, false);
    b.at(2).input(0)->set_type(type_flt64);
    b.at(2).output(0)->set_type(type_flt32);
    EXPECT_EQ(b.model.calculate_types(), result_ok);
    EXPECT_EQ(b.at(1).type_calls, 0);
    EXPECT_EQ(b.at(2).type_calls, 0);
    EXPECT_EQ(b.at(3).type_calls, 1);
    EXPECT_EQ(b.at(3).output(0)->type(), type_flt32);
}

TEST(Types, PresetTypesStay) {
    ModelBuilder b;
    chain(b, 2, false);
    b.at(2).input(0)->set_type(type_bool);
    EXPECT_EQ(b.model.calculate_types(), result_ok);
    EXPECT_EQ(b.at(2).output(0)->type(), type_bool);
}

TEST(Types, LoopWithoutATypeIsUnresolved) {
    ModelBuilder b;
    b.add("memory", 1);
    b.add("abs", 2);
    b.link(1, 2).link(2, 1);
    b.model.create_links();
    const LogCapture log;
    EXPECT_EQ(b.model.calculate_types(), result_types_unresolved);
    EXPECT_THAT(b.failed(), testing::IsEmpty());
    EXPECT_THAT(log.lines, ElementsAre("calculate_types [enter]", "calculate_types [leave]"));
}

TEST(Types, SweepThatCompletesNoBlockIsNoProgress) {
    // 1 types a port at each call, and would be complete at the third
    const auto gradual = [](TestBlock& block) {
        for (std::int16_t i = 0; i < 3; ++i) {
            if (block.output(i)->has_type()) continue;
            block.output(i)->set_type(type_bool);
            break;
        }
        return result_ok;
    };
    ModelBuilder alone;
    alone.add("slow", 1, 0, 0, 3).type_rule = gradual;
    EXPECT_EQ(alone.model.calculate_types(), result_types_unresolved);
    EXPECT_EQ(alone.at(1).type_calls, 1);

    // a chain that completes one block in each sweep gives it the time
    ModelBuilder b;
    b.add("slow", 100, 0, 0, 3).type_rule = gradual;
    chain(b, 3, true);
    EXPECT_EQ(b.model.calculate_types(), result_ok);
    EXPECT_EQ(b.at(100).type_calls, 3);
}

TEST(Types, FailureOfABlockEndsThePassWithItsCode) {
    for (const result_t failure : {result_bad_parameter, result_table_mismatch, result_failure, result_t{5}}) {
        ModelBuilder b;
        chain(b, 3, false);
        b.at(2).type_rule = [failure](TestBlock&) { return failure; };
        const LogCapture log;
        EXPECT_EQ(b.model.calculate_types(), failure);
        EXPECT_EQ(b.at(3).type_calls, 0);
        EXPECT_THAT(b.failed(), testing::IsEmpty());
        EXPECT_THAT(log.lines, ElementsAre("calculate_types [enter]", "calculate_types [leave]"));
    }
}

TEST(Types, EmptyModelAndNullEntriesAreFine) {
    ModelBuilder b;
    EXPECT_EQ(b.model.calculate_types(), result_ok);
    b.add_null();
    EXPECT_EQ(b.model.calculate_types(), result_ok);
}

TEST(Types, InputBoundToNoPortStaysUntyped) {
    ModelBuilder b;
    b.add("abs", 1);
    EXPECT_EQ(b.model.calculate_types(), result_types_unresolved);
}

// The interpreter can see how often a class evaluates its texts, and a host how often its own class is asked: once in
// every sweep that finds the block incomplete.
TEST(Types, EvaluatingClassesAreCalledInEverySweep) {
    for (const char* class_name :
         {"constant", "debounce", "hysteresis", "lerp", "lut1d", "lut2d", "poly1st", "unpack", "a host's own"}) {
        ModelBuilder b;
        b.add(class_name, 50, 0, 1, 1);
        b.link(4, 50);
        chain(b, 4, true);
        EXPECT_EQ(b.model.calculate_types(), result_ok);
        EXPECT_EQ(b.at(50).type_calls, 4) << class_name;
    }
}

TEST(Types, LongChainAgainstFileOrderTakesTimeInItsLengthOnly) {
    ModelBuilder b;
    constexpr std::uint64_t count = 100000;
    chain(b, count, true);
    EXPECT_EQ(b.model.calculate_types(), result_ok);
    EXPECT_EQ(b.model.blocks[0]->output(0)->type(), type_int16);
}

TEST(Types, NullEntriesInALongChainArePassedOver) {
    ModelBuilder b;
    constexpr std::uint64_t count = 1000;
    chain(b, count, true);
    for (std::size_t at = 10; at < b.model.blocks.size(); at += 10)
        b.model.blocks.emplace(b.model.blocks.begin() + static_cast<std::ptrdiff_t>(at));
    EXPECT_EQ(b.model.calculate_types(), result_ok);
    EXPECT_EQ(b.model.blocks[0]->output(0)->type(), type_int16);
}

/// Calls every incomplete block in every sweep.
result_t slow_types(MetaModel& model) {
    const auto open = [&model] {
        return std::ranges::count_if(model.blocks, [](const auto& block) { return !block->has_all_types(); });
    };
    for (;;) {
        const auto before = open();
        for (const auto& block : model.blocks) {
            if (block->has_all_types()) continue;
            if (const result_t result = block->calculate_type(); result != result_ok) return result;
        }
        const auto after = open();
        if (model.blocks.empty() || after == 0) return result_ok;
        if (after == before) return result_types_unresolved;
    }
}

void give_rule(TestBlock& block, std::mt19937& random) {
    const auto type = static_cast<type_t>(3 + random() % 10);
    if (block.input_count() == 0 && random() % 100 != 0) block.output(0)->set_type(type);
    const auto rule = random() % 8;
    if (rule != 1 && rule != 3 && block.output_count() > 1) block.output(1)->set_type(type);
    switch (rule) {
        case 0:  // declares its output
            block.type_rule = [type](TestBlock& b) {
                if (b.output_count() > 0) b.output(0)->set_type_if_unset(type);
                return b.base_type();
            };
            break;
        case 1:  // one port a call, outputs first
            block.type_rule = [type](TestBlock& b) {
                for (std::uint64_t i = b.output_count(); i-- > 0;) {
                    port_t& port = *b.output(static_cast<std::int16_t>(i));
                    if (port.has_type()) continue;
                    port.set_type(type);
                    return result_ok;
                }
                return b.base_type();
            };
            break;
        case 2:  // no value for some types
            block.type_rule = [type](TestBlock& b) {
                b.base_type();
                return b.input_count() > 0 && b.input(0)->type() > type_int32 && type == type_int8
                           ? result_bad_parameter
                           : result_ok;
            };
            break;
        case 3:  // its second output takes the type of the last input
            block.type_rule = [](TestBlock& b) {
                const result_t result = b.base_type();
                if (b.output_count() > 1 && b.input_count() > 0) {
                    const port_t* source = b.input(static_cast<std::int16_t>(b.input_count() - 1))->source_port();
                    if (source != nullptr) b.output(1)->set_type_if_unset(source->type());
                }
                return result;
            };
            break;
        default: break;
    }
}

TEST(Types, EqualSweepingOverAllBlocksOnRandomDiagrams) {
    std::mt19937 random(3);
    std::map<int, int> results;
    for (int round = 0; round < 2000; ++round) {
        ModelBuilder fast, slow;
        const auto seed = random();
        for (ModelBuilder* b : {&fast, &slow}) {
            std::mt19937 same(seed);
            const std::uint64_t count = 1 + same() % (round % 2 == 0 ? 14 : 70);
            for (std::uint64_t id = 1; id <= count; ++id) {
                const char* const classes[]{"abs", "lerp", "add", "unpack"};
                const int inputs = id == 1 ? 0 : static_cast<int>(same() % 3);
                give_rule(b->add(classes[same() % 4], id, 0, inputs, 1 + static_cast<int>(same() % 2)), same);
            }
            for (std::uint64_t id = 1; id <= count; ++id)
                for (std::uint64_t i = 0; i < b->at(id).input_count(); ++i)
                    if (same() % 400 != 0)
                        b->link(1 + (same() % 60 != 0 && id > 1 ? (id - 2) - same() % std::min<std::uint64_t>(id - 1, 4)
                                                                : same() % count),
                                static_cast<int>(same() % 2), id, static_cast<int>(i));
            b->model.create_links();
            if (same() % 2 == 0) std::ranges::shuffle(b->model.blocks, same);
            else std::ranges::reverse(b->model.blocks);
        }
        const result_t result = slow_types(slow.model);
        ASSERT_EQ(fast.model.calculate_types(), result) << round;
        ++results[result];
        for (std::size_t i = 0; i < slow.model.blocks.size(); ++i) {
            auto& expected = static_cast<TestBlock&>(*slow.model.blocks[i]);
            auto& actual = static_cast<TestBlock&>(*fast.model.blocks[i]);
            ASSERT_EQ(actual.signature(), expected.signature()) << round;
            const bool evaluates = expected.class_name()[0] == 'l' || expected.class_name()[0] == 'u';
            if (evaluates) ASSERT_EQ(actual.type_calls, expected.type_calls) << round;
            else ASSERT_LE(actual.type_calls, expected.type_calls) << round;
        }
    }
    EXPECT_GT(results[result_ok], 200);
    EXPECT_GT(results[result_types_unresolved], 200);
    EXPECT_GT(results[result_bad_parameter], 20);
}

}  // namespace
}  // namespace tessel::test
