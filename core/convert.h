// Conversion between the eleven value types.
//
// The results are those of the x86-64 conversion instructions, on every processor and without undefined behaviour:
// nothing saturates, integers are cut to their low bytes, a float outside the range of the 32 or 64 bit signed integer
// that it is truncated to gives that integer's lowest value.
#pragma once

#include <cstdint>
#include <limits>
#include <type_traits>

#if defined(__SSE2__) && defined(__x86_64__)
#include <emmintrin.h>
#define BLOCKS_NATIVE_CONVERSION 1
#endif

namespace tessel {

namespace portable {

/// Truncation to 64 bits; not-a-number and values outside the range give the lowest value.
template <class F>
constexpr std::int64_t truncate64(F v) noexcept {
    constexpr F limit = static_cast<F>(9223372036854775808.0);
    return v >= -limit && v < limit ? static_cast<std::int64_t>(v) : std::numeric_limits<std::int64_t>::min();
}

/// Truncation to 32 bits; not-a-number and values outside the range give the lowest value.
constexpr std::int32_t truncate32(double v) noexcept {
    return v > -2147483649.0 && v < 2147483648.0 ? static_cast<std::int32_t>(v)
                                                 : std::numeric_limits<std::int32_t>::min();
}
constexpr std::int32_t truncate32(float v) noexcept { return truncate32(static_cast<double>(v)); }

}  // namespace portable

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
#else
using portable::truncate32;
using portable::truncate64;
#endif

/// `uint64` to a float type: values with the top bit set are halved with a sticky bit, converted and doubled, which
/// rounds as a true unsigned conversion does.
template <class F>
constexpr F from_uint64(std::uint64_t v) noexcept {
    if (static_cast<std::int64_t>(v) >= 0) return static_cast<F>(static_cast<std::int64_t>(v));
    const std::uint64_t half = (v >> 1) | (v & 1u);
    const F f = static_cast<F>(static_cast<std::int64_t>(half));
    return f + f;
}

/// A float to `uint64`: at or above 2^63 the difference is truncated and the top bit set, below it the signed
/// truncation is read as unsigned; 2^64 and above give 2^63.
template <class F>
inline std::uint64_t to_uint64(F v) noexcept {
    constexpr F limit = static_cast<F>(9223372036854775808.0);
    constexpr std::uint64_t top = 0x8000000000000000u;
    if (!(v >= limit)) return static_cast<std::uint64_t>(truncate64(v));
    const F rest = v - limit;
    return rest < limit ? static_cast<std::uint64_t>(truncate64(rest)) + top : top;
}

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
    } else if constexpr (std::is_same_v<From, std::uint64_t>) {
        return from_uint64<To>(v);
    } else if constexpr (std::is_integral_v<From>) {
        return static_cast<To>(static_cast<std::int64_t>(v));
    } else if constexpr (std::is_floating_point_v<To>) {
        return static_cast<To>(v);
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
