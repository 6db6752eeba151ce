#include "core/id_index.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <unordered_map>
#include <vector>

namespace tessel {
namespace {

/// Ids in sequence, as an editor makes them, by chance, and such as fall on one place of any table of that size.
std::vector<std::vector<std::uint64_t>> kinds_of_ids(std::size_t count) {
    std::mt19937_64 random(3);
    std::vector<std::vector<std::uint64_t>> kinds(6);
    for (std::uint64_t i = 0; i < count; ++i) {
        kinds[0].push_back(i);
        kinds[1].push_back(1000000000000000u + 7 * i);
        kinds[2].push_back(random());
        kinds[3].push_back(i << 32);
        kinds[4].push_back(i % 2 == 0 ? i : (i << 40) + i % 64);
        kinds[5].push_back(~i);
    }
    return kinds;
}

TEST(IdIndex, FindsTheFirstPointerOfEachId) {
    for (const std::size_t count : {0u, 1u, 3u, 1000u, 50000u}) {
        for (const auto& ids : kinds_of_ids(count)) {
            std::vector<int> values(2 * count);
            std::unordered_map<std::uint64_t, int*> expected;
            IdIndex<int> index(count);
            for (std::size_t i = 0; i < count; ++i) {
                index.add(ids[i], &values[i]);
                expected.emplace(ids[i], &values[i]);
                if (i % 3 == 0) index.add(ids[i / 2], &values[count + i]);
            }
            for (std::size_t i = 0; i < count; ++i) {
                ASSERT_EQ(index.find(ids[i]), expected.at(ids[i]));
                const std::uint64_t other = ids[i] + 0x5555555555u;
                const auto found = expected.find(other);
                ASSERT_EQ(index.find(other), found != expected.end() ? found->second : nullptr);
            }
            EXPECT_EQ(index.find(0xDEADBEEFDEADBEEFu), nullptr);
        }
    }
}

// Minutes, were each of them to pass over all before it.
TEST(IdIndex, IdsMadeToCollideDoNotSlowItDown) {
    constexpr std::size_t count = 1u << 20;
    IdIndex<const char> index(count);
    const char value = 0;
    for (std::uint64_t i = 0; i < count; ++i) index.add(i << 30, &value);
    for (std::uint64_t i = 0; i < count; ++i) ASSERT_EQ(index.find(i << 30), &value);
    for (std::uint64_t i = 0; i < count; ++i) ASSERT_EQ(index.find((i << 30) + 1), nullptr);
}

// A run of ids without a gap has no free slot to end the search for one that is missing.
TEST(IdIndex, MissingIdsBesideALongRunAreMissedSoon) {
    constexpr std::size_t count = 1u << 20;
    IdIndex<const char> index(count);
    const char value = 0;
    for (std::uint64_t i = 0; i < count; ++i) index.add(i, &value);
    for (std::uint64_t i = 0; i < count; ++i) ASSERT_EQ(index.find((std::uint64_t{1} << 40) + i), nullptr);
}

}  // namespace
}  // namespace tessel
