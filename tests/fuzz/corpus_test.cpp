// The fuzz targets on their corpora, with whatever compiler the tests are built by.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <vector>

#include "tests/fuzz/harness.h"
#include "tests/fuzz/targets.h"

namespace fuzz {
namespace {

struct target_t {
    const char* name;
    int (*one_input)(const std::uint8_t*, std::size_t);
};

void PrintTo(const target_t& target, std::ostream* out) { *out << target.name; }

class Corpus : public testing::TestWithParam<target_t> {
protected:
    static std::vector<std::vector<std::uint8_t>> inputs() {
        std::vector<std::vector<std::uint8_t>> all;
        const auto folder = std::filesystem::path(BLOCKS_TEST_DATA).parent_path() / "fuzz" / "corpus" / GetParam().name;
        for (const auto& file : std::filesystem::directory_iterator(folder)) {
            std::ifstream in(file.path(), std::ios::binary);
            all.emplace_back(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
        }
        return all;
    }
    static void feed(const std::vector<std::uint8_t>& bytes) {
        EXPECT_EQ(GetParam().one_input(bytes.data(), bytes.size()), 0);
    }
};

TEST_P(Corpus, Passes) {
    const auto all = inputs();
    ASSERT_FALSE(all.empty());
    for (const auto& bytes : all) feed(bytes);
    feed({});
}

TEST_P(Corpus, PassesWithBytesExchangedOrCutOff) {
    std::mt19937 random(7);
    const auto all = inputs();
    for (int round = 0; round < 200; ++round) {
        auto bytes = all[random() % all.size()];
        for (auto n = random() % 6; n > 0 && !bytes.empty(); --n)
            bytes[random() % bytes.size()] = static_cast<std::uint8_t>(random());
        if (random() % 4 == 0) bytes.resize(random() % (bytes.size() + 1));
        feed(bytes);
    }
}

INSTANTIATE_TEST_SUITE_P(Of, Corpus,
                         testing::Values(target_t{"loader", loader::one_input}, target_t{"models", models::one_input},
                                         target_t{"generators", generators::one_input},
                                         target_t{"literals", literals::one_input},
                                         target_t{"names", names::one_input}),
                         [](const auto& target) { return target.param.name; });

// ---- the targets see what they are meant to see

TEST(Harness, LetsEnoughDiagramsThroughAndRefusesOthers) {
    const Quiet quiet;
    tessel::test::prepare_bridge();
    std::mt19937 random(11);
    int runnable = 0, refused = 0;
    for (int round = 0; round < 300; ++round) {
        std::vector<std::uint8_t> bytes(20 + random() % 600);
        for (auto& byte : bytes) byte = static_cast<std::uint8_t>(random());
        tessel::test::ByteChoices choices(bytes);
        const auto model = compiled(model_of(choices).dump());
        if (model == nullptr) ++refused;
        else if (!can_fault(*model)) ++runnable;
    }
    EXPECT_GT(runnable, 60);
    EXPECT_GT(refused, 60);
}

TEST(Harness, RefusesALoopWithoutMemory) {
    const Quiet quiet;
    const auto file = [](const char* feedback) {
        return nlohmann::json{{"blocks",
                               {{{"constant", {{"name", "c"}, {"id", 11}}}},
                                {{"add", {{"name", "a"}, {"id", 12}, {"inportCount", 2}}}},
                                {{"cast", {{"name", "k"}, {"id", 13}}}},
                                {{feedback, {{"name", "f"}, {"id", 14}}}}}},
                              {"links",
                               {{{"srcId", 11}, {"dstId", 12}, {"srcPort", 0}, {"dstPort", 0}},
                                {{"srcId", 14}, {"dstId", 12}, {"srcPort", 0}, {"dstPort", 1}},
                                {{"srcId", 12}, {"dstId", 13}, {"srcPort", 0}, {"dstPort", 0}},
                                {{"srcId", 13}, {"dstId", 14}, {"srcPort", 0}, {"dstPort", 0}}}}}
            .dump();
    };
    EXPECT_NE(compiled(file("memory")), nullptr);
    EXPECT_EQ(compiled(file("abs")), nullptr);
}

}  // namespace
}  // namespace fuzz
