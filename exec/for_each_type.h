// Macros over the runnable value types, for explicit instantiations.
#pragma once

#include <cstdint>

#define BLOCKS_FOR_EACH_BUT_BOOL(M) \
    M(std::int8_t)                  \
    M(std::uint8_t)                 \
    M(std::int16_t)                 \
    M(std::uint16_t)                \
    M(std::int32_t)                 \
    M(std::uint32_t)                \
    M(std::int64_t)                 \
    M(std::uint64_t)                \
    M(float)                        \
    M(double)

#define BLOCKS_FOR_EACH_TYPE(M) M(bool) BLOCKS_FOR_EACH_BUT_BOOL(M)

#define BLOCKS_FOR_EACH_SECOND(M, A) \
    M(A, bool)                       \
    M(A, std::int8_t)                \
    M(A, std::uint8_t)               \
    M(A, std::int16_t)               \
    M(A, std::uint16_t)              \
    M(A, std::int32_t)               \
    M(A, std::uint32_t)              \
    M(A, std::int64_t)               \
    M(A, std::uint64_t)              \
    M(A, float)                      \
    M(A, double)

#define BLOCKS_FOR_EACH_PAIR(M)              \
    BLOCKS_FOR_EACH_SECOND(M, bool)          \
    BLOCKS_FOR_EACH_SECOND(M, std::int8_t)   \
    BLOCKS_FOR_EACH_SECOND(M, std::uint8_t)  \
    BLOCKS_FOR_EACH_SECOND(M, std::int16_t)  \
    BLOCKS_FOR_EACH_SECOND(M, std::uint16_t) \
    BLOCKS_FOR_EACH_SECOND(M, std::int32_t)  \
    BLOCKS_FOR_EACH_SECOND(M, std::uint32_t) \
    BLOCKS_FOR_EACH_SECOND(M, std::int64_t)  \
    BLOCKS_FOR_EACH_SECOND(M, std::uint64_t) \
    BLOCKS_FOR_EACH_SECOND(M, float)         \
    BLOCKS_FOR_EACH_SECOND(M, double)
