#include "core/num.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <thread>
#include <vector>

namespace tessel::num {
namespace {

constexpr double nan64 = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity64 = std::numeric_limits<double>::infinity();

void expect_ids_are_fit(std::vector<std::uint64_t> ids) {
    for (const std::uint64_t id : ids) {
        ASSERT_GE(id, 1'000'000'000'000'000u);  // 16 digits
        ASSERT_LT(id, 1ull << 53);
    }
    std::ranges::sort(ids);
    EXPECT_EQ(std::ranges::adjacent_find(ids), ids.end());
}

TEST(CreateId, AMillionAreDistinctWith16DigitsBelow2To53) {
    std::vector<std::uint64_t> ids(1'000'000);
    std::ranges::generate(ids, create_id);
    expect_ids_are_fit(std::move(ids));
}

TEST(CreateId, DistinctOverThreads) {
    constexpr std::size_t per_thread = 50'000;
    std::array<std::vector<std::uint64_t>, 8> parts;
    std::vector<std::thread> threads;
    for (auto& part : parts)
        threads.emplace_back([&part] {
            part.resize(per_thread);
            std::ranges::generate(part, create_id);
        });
    for (auto& thread : threads) thread.join();
    std::vector<std::uint64_t> ids;
    for (const auto& part : parts) ids.insert(ids.end(), part.begin(), part.end());
    EXPECT_EQ(ids.size(), parts.size() * per_thread);
    expect_ids_are_fit(std::move(ids));
}

constexpr double bp[] = {-1.0, 0.0, 2.0, 3.0};
constexpr double out[] = {10.0, 20.0, 0.0, 5.0};

TEST(Interpolate1d, ClipsAtBothEnds) {
    EXPECT_EQ(interpolate1d_clip(-5.0, bp, out, 4), 10.0);
    EXPECT_EQ(interpolate1d_clip(-infinity64, bp, out, 4), 10.0);
    EXPECT_EQ(interpolate1d_clip(7.0, bp, out, 4), 5.0);
    EXPECT_EQ(interpolate1d_clip(infinity64, bp, out, 4), 5.0);
}

TEST(Interpolate1d, HitsTheBreakpoints) {
    for (int i = 0; i < 4; ++i) EXPECT_EQ(interpolate1d_clip(bp[i], bp, out, 4), out[i]);
}

TEST(Interpolate1d, FollowsTheOrderOfOperations) {
    for (const double x : {-0.9, -0.5, 0.1, 0.3, 1.7, 1.99, 2.1, 2.9}) {
        int i = 0;
        while (!(bp[i] > x)) ++i;
        EXPECT_EQ(interpolate1d_clip(x, bp, out, 4),
                  (x - bp[i - 1]) / (bp[i] - bp[i - 1]) * (out[i] - out[i - 1]) + out[i - 1]);
    }
}

TEST(Interpolate1d, OnePointIsAConstant) {
    const double x = 2.0, y = 7.0;
    for (const double u : {-1.0, 2.0, 3.0, infinity64}) EXPECT_EQ(interpolate1d_clip(u, &x, &y, 1), 7.0);
    EXPECT_TRUE(std::isnan(interpolate1d_clip(nan64, &x, &y, 1)));
}

TEST(Interpolate1d, NotANumberPasses) { EXPECT_TRUE(std::isnan(interpolate1d_clip(nan64, bp, out, 4))); }

constexpr double rows[] = {0.0, 1.0, 3.0};
constexpr double columns[] = {0.0, 10.0};
constexpr double table[] = {1.0, 2.0, 5.0, 4.0, -3.0, 0.0};

double plane(double x1, double x2) { return interpolate2d_clip(x1, x2, rows, columns, table, 3, 2); }

TEST(Interpolate2d, HitsTheTable) {
    for (std::size_t r = 0; r < 3; ++r)
        for (std::size_t c = 0; c < 2; ++c) EXPECT_EQ(plane(rows[r], columns[c]), table[r * 2 + c]);
}

TEST(Interpolate2d, IsBilinear) {
    EXPECT_EQ(plane(0.5, 5.0), 3.0);
    EXPECT_EQ(plane(2.0, 2.5), 0.75 * 1.0 + 0.25 * 2.0);
    const double w1 = (1.7 - 1.0) / 2.0, w2 = 3.3 / 10.0;
    EXPECT_EQ(plane(1.7, 3.3), (1 - w1) * ((1 - w2) * 5.0 + w2 * 4.0) + w1 * ((1 - w2) * -3.0 + w2 * 0.0));
}

TEST(Interpolate2d, ClipsBothInputs) {
    EXPECT_EQ(plane(-4.0, -4.0), 1.0);
    EXPECT_EQ(plane(-4.0, 44.0), 2.0);
    EXPECT_EQ(plane(9.0, -1.0), -3.0);
    EXPECT_EQ(plane(infinity64, infinity64), 0.0);
    EXPECT_EQ(plane(-infinity64, 5.0), 1.5);
}

TEST(Interpolate2d, NotANumberPasses) {
    EXPECT_TRUE(std::isnan(plane(nan64, 1.0)));
    EXPECT_TRUE(std::isnan(plane(1.0, nan64)));
}

TEST(Interpolate2d, AnAxisOfOnePointStaysInsideTheTable) {
    const double one = 4.0;
    const double values[] = {1.0, 3.0};
    EXPECT_EQ(interpolate2d_clip(9.0, 5.0, &one, columns, values, 1, 2), 2.0);
    EXPECT_EQ(interpolate2d_clip(0.5, 9.0, rows, &one, values, 2, 1), 2.0);
    EXPECT_EQ(interpolate2d_clip(0.0, 0.0, &one, &one, values, 1, 1), 1.0);
    EXPECT_TRUE(std::isnan(interpolate2d_clip(nan64, 5.0, &one, columns, values, 1, 2)));
}

}  // namespace
}  // namespace tessel::num
