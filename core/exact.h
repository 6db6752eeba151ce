/* Arithmetic that C leaves open, or that differs from processor to processor, as every step of a model computes it:
 * truncation, integer division, interpolation. Everything else is the language's own on IEEE 754 numbers: conversion of
 * an integer to a float rounds to nearest, of one to a narrower one cuts its upper bytes.
 *
 * C99 and C++20, for every processor, so that a program without this library can hold the same text. To be compiled
 * without contraction of floating point expressions (-ffp-contract=off). */
#ifndef BLOCKS_CORE_EXACT_H
#define BLOCKS_CORE_EXACT_H

#include <math.h>
#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
#define EXACT inline
#else
#define EXACT static inline
#endif

/* ---- a float to an integer: truncated; outside the range and for not-a-number the lowest value. Narrower integers are
 * cut from the truncation to 32 bits. A float of 32 bits goes through 64: that changes nothing. */
EXACT int64_t exact_f64_to_i64(double v) {
    return v >= -9223372036854775808.0 && v < 9223372036854775808.0 ? (int64_t)v : INT64_MIN;
}

EXACT int32_t exact_f64_to_i32(double v) { return v > -2147483649.0 && v < 2147483648.0 ? (int32_t)v : INT32_MIN; }

EXACT uint32_t exact_f64_to_u32(double v) { return (uint32_t)exact_f64_to_i64(v); }

/* From 2^63 on the excess is truncated and the top bit set: 2^64 and more give 2^63. */
EXACT uint64_t exact_f64_to_u64(double v) {
    const double top = 9223372036854775808.0;
    if (v >= top) return (uint64_t)exact_f64_to_i64(v - top) | UINT64_C(0x8000000000000000);
    return (uint64_t)exact_f64_to_i64(v);
}

/* ---- integer division: truncates toward zero; over 0 both quotient and remainder are 0. The lowest value over -1 has
 * no quotient: with EXACT_WRAP it wraps and leaves no remainder, without it is the processor's affair, which may end
 * the process. */
#ifdef EXACT_WRAP
#define EXACT_NO_QUOTIENT(b) ((b) == -1)
#else
#define EXACT_NO_QUOTIENT(b) false
#endif

EXACT int32_t exact_divide_i32(int32_t a, int32_t b) {
    if (EXACT_NO_QUOTIENT(b)) return (int32_t)(0u - (uint32_t)a);
    return b == 0 ? 0 : a / b;
}
EXACT int64_t exact_divide_i64(int64_t a, int64_t b) {
    if (EXACT_NO_QUOTIENT(b)) return (int64_t)(UINT64_C(0) - (uint64_t)a);
    return b == 0 ? 0 : a / b;
}
EXACT uint32_t exact_divide_u32(uint32_t a, uint32_t b) { return b == 0 ? 0 : a / b; }
EXACT uint64_t exact_divide_u64(uint64_t a, uint64_t b) { return b == 0 ? 0 : a / b; }

EXACT int32_t exact_remainder_i32(int32_t a, int32_t b) { return b == 0 || EXACT_NO_QUOTIENT(b) ? 0 : a % b; }
EXACT int64_t exact_remainder_i64(int64_t a, int64_t b) { return b == 0 || EXACT_NO_QUOTIENT(b) ? 0 : a % b; }
EXACT uint32_t exact_remainder_u32(uint32_t a, uint32_t b) { return b == 0 ? 0 : a % b; }
EXACT uint64_t exact_remainder_u64(uint64_t a, uint64_t b) { return b == 0 ? 0 : a % b; }

#undef EXACT_NO_QUOTIENT

/* ---- from a to b: exact at x = 0 and x = 1, never past b between them; rounds once where a and b have one sign. */
EXACT double exact_between(double a, double b, double x) {
    if ((a <= 0.0 && b >= 0.0) || (a >= 0.0 && b <= 0.0)) return (1.0 - x) * a + b * x;
    if (x == 1.0) return b;
    const double y = fma(x, b - a, a);
    if ((x > 1.0) == (b > a)) return y < b ? b : y;
    return y > b ? b : y;
}

/* ---- tables: n >= 1 rising values */
/* The first value above x, n where none is, as for not-a-number. */
EXACT size_t exact_first_above(double x, const double* values, size_t n) {
    const double* first = values;
    while (n > 0) {
        const size_t half = n / 2;
        const double* middle = first + half;
        if (x < *middle) {
            n = half;
        } else {
            first = middle + 1;
            n = n - half - 1;
        }
    }
    return (size_t)(first - values);
}

/* Linear interpolation in n points; beyond an end the end's value. Not-a-number gives not-a-number. */
EXACT double exact_interpolate1d(double x, const double* bp, const double* out, size_t n) {
    if (x <= bp[0]) return out[0];
    if (x >= bp[n - 1]) return out[n - 1];
    if (n == 1) return x; /* only not-a-number passes both tests of a single point */
    const size_t above = exact_first_above(x, bp, n);
    const size_t i = above < n ? above : n - 1;
    return (x - bp[i - 1]) / (bp[i] - bp[i - 1]) * (out[i] - out[i - 1]) + out[i - 1];
}

/* The two values around x and how far x is on its way between them, clipped to the table. */
typedef struct {
    size_t first;
    size_t second;
    double weight;
} exact_axis_t;

EXACT exact_axis_t exact_locate(double x, const double* bp, size_t n) {
    exact_axis_t axis = {0, 0, 0.0};
    if (n == 1) {
        if (x != x) axis.weight = x;
    } else if (x <= bp[0]) {
        axis.second = 1;
    } else if (x >= bp[n - 1]) {
        axis.first = n - 2;
        axis.second = n - 1;
        axis.weight = 1.0;
    } else {
        const size_t above = exact_first_above(x, bp, n);
        axis.second = above < n ? above : n - 1;
        axis.first = axis.second - 1;
        axis.weight = (x - bp[axis.first]) / (bp[axis.second] - bp[axis.first]);
    }
    return axis;
}

/* Bilinear interpolation in a table of n1 rows of n2 values, stored row by row; inputs are clipped to the table, along
 * an axis of one value nothing changes. Not-a-number gives not-a-number. */
EXACT double exact_interpolate2d(double x1, double x2, const double* bp1, const double* bp2, const double* out,
                                 size_t n1, size_t n2) {
    const exact_axis_t a = exact_locate(x1, bp1, n1);
    const exact_axis_t b = exact_locate(x2, bp2, n2);
    const double o1 = out[a.first * n2 + b.first];
    const double o2 = out[a.first * n2 + b.second];
    const double o3 = out[a.second * n2 + b.first];
    const double o4 = out[a.second * n2 + b.second];
    return (1.0 - a.weight) * ((1.0 - b.weight) * o1 + b.weight * o2) +
           a.weight * ((1.0 - b.weight) * o3 + b.weight * o4);
}

/* ---- a recorded signal: the first sample from `index` on whose time is not before t, n past the last. */
EXACT uint64_t exact_advance(const double* times, uint64_t n, uint64_t index, double t) {
    while (index < n && t > times[index]) ++index;
    return index;
}

#endif
