#include "exec/team.h"

#include <gtest/gtest.h>

#include <chrono>
#include <numeric>
#include <thread>
#include <vector>

namespace tessel {
namespace {

class Teams : public ::testing::TestWithParam<unsigned> {
protected:
    void SetUp() override { sys::set_hardware_threads(GetParam()); }
    void TearDown() override { sys::set_hardware_threads(0); }
};

/// What the parts of a phase write: plain cells, which only the order of phases keeps apart.
struct sums_t {
    std::vector<std::uint64_t> own;
    std::uint64_t last_total = 0;  // written by the caller between phases

    static void add(void* p, std::size_t i) { ++static_cast<sums_t*>(p)->own[i]; }
    /// The same when the part sees what the caller wrote before the phase.
    static void add_when_told(void* p, std::size_t i) {
        auto& sums = *static_cast<sums_t*>(p);
        if (sums.last_total == sums.own[i] * sums.own.size()) ++sums.own[i];
    }
};

TEST_P(Teams, DoEveryPartOfEveryPhaseOnce) {
    for (const std::size_t parts : {std::size_t{1}, std::size_t{2}, std::size_t{3}, std::size_t{8}}) {
        sums_t sums{std::vector<std::uint64_t>(parts)};
        Team team(parts, &sums_t::add_when_told, &sums);
        for (std::uint64_t phase = 1; phase <= 2000; ++phase) {
            team.run_phase();
            sums.last_total = std::accumulate(sums.own.begin(), sums.own.end(), std::uint64_t{0});
            ASSERT_EQ(sums.last_total, phase * parts);
            for (const std::uint64_t own : sums.own) ASSERT_EQ(own, phase);
        }
    }
}

TEST_P(Teams, WakeAfterARest) {
    sums_t sums{std::vector<std::uint64_t>(4)};
    Team team(4, &sums_t::add, &sums);
    for (std::uint64_t phase = 1; phase <= 3; ++phase) {
        team.run_phase();
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        for (const std::uint64_t own : sums.own) EXPECT_EQ(own, phase);
    }
}

TEST_P(Teams, EndWithoutAPhase) {
    sums_t sums{std::vector<std::uint64_t>(3)};
    for (int i = 0; i < 100; ++i) const Team team(3, &sums_t::add, &sums);
    EXPECT_EQ(sums.own, std::vector<std::uint64_t>(3));
}

// The workers are with another team, or with nobody: the caller does what nobody takes.
TEST_P(Teams, ShareThePoolWithOthers) {
    sums_t outer{std::vector<std::uint64_t>(2)};
    sums_t inner{std::vector<std::uint64_t>(2)};
    Team first(2, &sums_t::add, &outer);
    first.run_phase();
    Team second(2, &sums_t::add, &inner);
    for (int i = 0; i < 100; ++i) {
        first.run_phase();
        second.run_phase();
    }
    EXPECT_EQ(outer.own, std::vector<std::uint64_t>(2, 101));
    EXPECT_EQ(inner.own, std::vector<std::uint64_t>(2, 100));
}

INSTANTIATE_TEST_SUITE_P(Threads, Teams, ::testing::Values(1U, 2U, 3U, 8U));

}  // namespace
}  // namespace tessel
