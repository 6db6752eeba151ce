// Conversion between the eleven value types.
//
// The results are those of the x86-64 conversion instructions, on every processor and without undefined behaviour:
// nothing saturates, integers are cut to their low bytes, a float outside the range of the 32 or 64 bit signed integer
// that it is truncated to gives that integer's lowest value. The rules are those of core/exact.h; where the processor's
// instructions follow them by themselves, these are taken.
#pragma once

#include <cstdint>
#include <type_traits>

#include "core/exact.h"

#if defined(__SSE2__) && defined(__x86_64__)
#include <emmintrin.h>
#define BLOCKS_NATIVE_CONVERSION 1
#endif

namespace tessel {

#if defined(BLOCKS_NATIVE_CONVERSION)
/// Hides a value from the optimizer: GCC folds these instructions for constants as if they saturated.
template <class F>
inline F opaque(F v) noexcept {
    asm("" : "+x"(v));
    return v;
}

inline std::int64_t truncate64(double v) noexcept { return _mm_cvttsd_si64(_mm_set_sd(opaque(v))); }
inline std::int64_t truncate64(float v) noexcept { return _mm_cvttss_si64(_mm_set_ss(opaque(v))); }
inline std::int32_t truncate32(double v) noexcept { return _mm_cvttsd_si32(_mm_set_sd(opaque(v))); }
inline std::int32_t truncate32(float v) noexcept { return _mm_cvttss_si32(_mm_set_ss(opaque(v))); }

/// See exact_f64_to_u64.
template <class F>
inline std::uint64_t to_uint64(F v) noexcept {
    constexpr F top = static_cast<F>(9223372036854775808.0);
    if (v >= top) return static_cast<std::uint64_t>(truncate64(v - top)) | 0x8000000000000000u;
    return static_cast<std::uint64_t>(truncate64(v));
}
#else
inline std::int64_t truncate64(double v) noexcept { return exact_f64_to_i64(v); }
inline std::int32_t truncate32(double v) noexcept { return exact_f64_to_i32(v); }
inline std::uint64_t to_uint64(double v) noexcept { return exact_f64_to_u64(v); }
#endif

/// Converts a value of one of the eleven types to another.
template <class To, class From>
inline To convert(From v) noexcept {
    if constexpr (std::is_same_v<To, From>) {
        return v;
    } else if constexpr (std::is_same_v<To, bool>) {
        return v != From{0};  // not-a-number differs from 0 and gives true
    } else if constexpr (std::is_same_v<From, bool>) {
        return v ? To{1} : To{0};
    } else if constexpr (std::is_integral_v<From> && std::is_integral_v<To>) {
        return static_cast<To>(v);
    } else if constexpr (std::is_integral_v<From> || std::is_floating_point_v<To>) {
        return static_cast<To>(v);  // rounds to nearest
    } else if constexpr (std::is_same_v<To, std::uint64_t>) {
        return to_uint64(v);
    } else if constexpr (std::is_same_v<To, std::int64_t>) {
        return truncate64(v);
    } else if constexpr (std::is_same_v<To, std::uint32_t>) {
        return static_cast<std::uint32_t>(static_cast<std::uint64_t>(truncate64(v)));
    } else {
        return static_cast<To>(truncate32(v));
    }
}

}  // namespace tessel
