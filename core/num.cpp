#include "core/num.h"

#include <atomic>

#include "core/exact.h"
#include "core/random.h"

namespace tessel::num {
namespace {

// 16 digits from 10^15 up, below 2^53 (about 9.007 * 10^15).
constexpr std::uint64_t first_id = 1'000'000'000'000'000;
constexpr std::uint64_t id_count = 8'000'000'000'000'000;

// An odd step prime to id_count visits every id once before one comes again, and keeps neighbours far apart.
constexpr std::uint64_t id_step = 2'236'067'977'499'789;

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
    return exact_interpolate1d(x, bp, out, n);
}

double interpolate2d_clip(double x1, double x2, const double* __restrict bp1, const double* __restrict bp2,
                          const double* __restrict out, std::size_t n1, std::size_t n2) noexcept {
    return exact_interpolate2d(x1, x2, bp1, bp2, out, n1, n2);
}

}  // namespace tessel::num
