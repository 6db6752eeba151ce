#include "core/num.h"

#include <algorithm>
#include <atomic>
#include <cmath>

#include "core/random.h"

namespace tessel::num {
namespace {

// 16 digits from 10^15 up, below 2^53 (about 9.007 * 10^15).
constexpr std::uint64_t first_id = 1'000'000'000'000'000;
constexpr std::uint64_t id_count = 8'000'000'000'000'000;

// An odd step prime to id_count visits every id once before one comes again, and keeps neighbours far apart.
constexpr std::uint64_t id_step = 2'236'067'977'499'789;

struct axis_t {
    std::size_t first;
    std::size_t second;
    double weight;
};

axis_t locate(double x, const double* bp, std::size_t n) noexcept {
    if (n == 1) return {0, 0, std::isnan(x) ? x : 0.0};
    if (x <= bp[0]) return {0, 1, 0.0};
    if (x >= bp[n - 1]) return {n - 2, n - 1, 1.0};
    const auto above = static_cast<std::size_t>(std::upper_bound(bp, bp + n, x) - bp);
    const std::size_t second = std::clamp<std::size_t>(above, 1, n - 1);  // not-a-number compares false everywhere
    return {second - 1, second, (x - bp[second - 1]) / (bp[second] - bp[second - 1])};
}

}  // namespace

std::uint64_t create_id() {
    static std::atomic<std::uint64_t> counter{0};
    static const std::uint64_t start = random_bits() % id_count;
    const std::uint64_t n = counter.fetch_add(1, std::memory_order_relaxed) % id_count;
    // start + n * id_step modulo id_count, without overflow in 128 bits
    __extension__ using wide = unsigned __int128;
    return first_id + static_cast<std::uint64_t>((static_cast<wide>(n) * id_step + start) % id_count);
}

double interpolate1d_clip(double x, const double* __restrict bp, const double* __restrict out, std::size_t n) noexcept {
    if (x <= bp[0]) return out[0];
    if (x >= bp[n - 1]) return out[n - 1];
    if (n == 1) return x;  // only not-a-number passes both tests of a single point
    // at most n - 1, so that not-a-number reads inside the table
    const auto above = static_cast<std::size_t>(std::upper_bound(bp, bp + n, x) - bp);
    const std::size_t i = std::clamp<std::size_t>(above, 1, n - 1);
    return (x - bp[i - 1]) / (bp[i] - bp[i - 1]) * (out[i] - out[i - 1]) + out[i - 1];
}

double interpolate2d_clip(double x1, double x2, const double* __restrict bp1, const double* __restrict bp2,
                          const double* __restrict out, std::size_t n1, std::size_t n2) noexcept {
    const axis_t a = locate(x1, bp1, n1);
    const axis_t b = locate(x2, bp2, n2);
    const double o1 = out[a.first * n2 + b.first];
    const double o2 = out[a.first * n2 + b.second];
    const double o3 = out[a.second * n2 + b.first];
    const double o4 = out[a.second * n2 + b.second];
    return (1.0 - a.weight) * ((1.0 - b.weight) * o1 + b.weight * o2) +
           a.weight * ((1.0 - b.weight) * o3 + b.weight * o4);
}

}  // namespace tessel::num
