// What a model file may change without changing the run.

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "core/hash.h"
#include "tests/properties/bench.h"
#include "tests/support/random_model.h"

namespace tessel::test {
namespace {

using nlohmann::json;
using series_t = std::map<std::string, std::vector<std::uint64_t>>;

constexpr std::uint64_t model_count = 200;

json model_of(std::uint64_t seed) {
    SeededChoices choices(seed);
    return random_model(choices, {10 + static_cast<unsigned>(seed % 35), 3, true});
}

/// Outputs of a run by the names of the blocks, with what `to_workspace` blocks left.
series_t series_of(const json& file) {
    prepare_bridge();
    Compiled compiled(file);
    const auto exec = compiled.build(engine_t::plan);
    Series series(compiled, *exec);
    exec->set_monitor(&series);
    exec->run();
    series.outputs.merge(recordings(compiled));
    return series.outputs;
}

TEST(Files, GiveEqualModelsEachTimeTheyAreCompiled) {
    for (std::uint64_t seed = 1; seed <= model_count; ++seed) {
        prepare_bridge();
        const json file = model_of(seed);
        Compiled first(file), second(file);
        ASSERT_EQ(text_of(first), text_of(second)) << seed;
        ASSERT_EQ(first.model.sort_by_zone(), result_ok);
        ASSERT_EQ(second.model.sort_by_zone(), result_ok);
        ASSERT_EQ(text_of(first), text_of(second)) << seed;
        ASSERT_EQ(first.model.group_by_subsystem(), result_ok);
        ASSERT_EQ(second.model.group_by_subsystem(), result_ok);
        ASSERT_EQ(text_of(first), text_of(second)) << seed;
    }
}

/// Gives every block another id, everywhere.
json renumbered(json file, Choices& choices) {
    std::map<std::uint64_t, std::uint64_t> ids{{0, 0}};
    std::set<std::uint64_t> taken;
    for (auto& element : file["blocks"]) {
        std::uint64_t id = 0;
        do {
            id = choices.below(1u << 30);
            id = 1 + (id << choices.below(22));
        } while (!taken.insert(id).second);
        ids[element.front()["id"]] = id;
    }
    for (auto& element : file["blocks"])
        for (const char* key : {"id", "parent"}) element.front()[key] = ids.at(element.front()[key]);
    for (auto& link : file["links"])
        for (const char* key : {"srcId", "dstId"}) link[key] = ids.at(link[key]);
    return file;
}

TEST(Files, RunAlikeUnderOtherIds) {
    for (std::uint64_t seed = 1; seed <= model_count; ++seed) {
        SeededChoices choices(seed + 77);
        const json file = model_of(seed);
        ASSERT_EQ(series_of(renumbered(file, choices)), series_of(file)) << seed;
    }
}

/// Whether two enable blocks stand in one zone and one gates the other: which of them comes first depends on the file.
bool gates_tie(const json& file) {
    prepare_bridge();
    Compiled compiled(file);
    for (const auto& block : compiled.model.blocks) {
        if (block->class_hash() != class_hash_of("enable")) continue;
        const IMetaBlock* gate = compiled.model.find_block(compiled.properties->enables_of(block->id()).second);
        if (gate != nullptr && gate->zone() == block->zone()) return true;
    }
    return false;
}

template <class List>
void shuffle(List& list, Choices& choices) {
    for (std::size_t n = list.size(); n > 1; --n) std::swap(list[n - 1], list[choices.below(static_cast<unsigned>(n))]);
}

/// How many inputs the host writes between steps.
auto hand_fed(const json& file) {
    return std::count_if(file["blocks"].begin(), file["blocks"].end(),
                         [](const json& block) { return block.contains("inport") && block.front()["parent"] == 0; });
}

// Blocks of one class and zone keep the order of the file. It matters only where a memory feeds a memory, which the
// random diagrams leave out, and where gates of one zone gate each other.
TEST(Files, RunAlikeInAnyOrderOfBlocks) {
    constexpr std::uint64_t count = 5 * model_count;
    std::size_t tested = 0, several_hand_fed = 0;
    for (std::uint64_t seed = 1; seed <= count; ++seed) {
        SeededChoices choices(seed + 99);
        json file = model_of(seed);
        if (gates_tie(file)) continue;
        if (hand_fed(file) > 1) ++several_hand_fed;
        const series_t expected = series_of(file);
        for (int round = 0; round < 3; ++round) {
            shuffle(file["blocks"], choices);
            ASSERT_EQ(series_of(file), expected) << seed;
        }
        ++tested;
    }
    EXPECT_GT(tested, count / 2);
    EXPECT_GT(several_hand_fed, 5u);
}

TEST(Files, RunAlikeInAnyOrderOfLinks) {
    for (std::uint64_t seed = 1; seed <= model_count; ++seed) {
        SeededChoices choices(seed + 111);
        json file = model_of(seed);
        const series_t expected = series_of(file);
        shuffle(file["links"], choices);
        ASSERT_EQ(series_of(file), expected) << seed;
    }
}

}  // namespace
}  // namespace tessel::test
