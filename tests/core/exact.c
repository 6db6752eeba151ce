/* What core/exact.h promises, checked without the library: exits with the line that does not hold. */
#define EXACT_WRAP
#include "core/exact.h"

#define HOLDS(condition) \
    if (!(condition)) return __LINE__

int main(void) {
    const double bp[] = {0.0, 1.0, 3.0};
    const double out[] = {10.0, 20.0, 0.0};
    const double grid[] = {0.0, 1.0, 2.0, 10.0, 11.0, 12.0, 20.0, 21.0, 22.0};
    const double none = exact_interpolate1d((double)NAN, bp, out, 3);

    HOLDS(exact_f64_to_i64(-2.9) == -2);
    HOLDS(exact_f64_to_i64(9223372036854775808.0) == INT64_MIN);
    HOLDS(exact_f64_to_i64((double)NAN) == INT64_MIN);
    HOLDS(exact_f64_to_i32(2147483647.9) == INT32_MAX);
    HOLDS(exact_f64_to_i32(2147483648.0) == INT32_MIN);
    HOLDS(exact_f64_to_i32(-2147483648.9) == INT32_MIN);
    HOLDS(exact_f64_to_u32(4294967297.5) == 1);
    HOLDS(exact_f64_to_u32(-1.0) == UINT32_MAX);
    HOLDS(exact_f64_to_u64(9223372036854777856.0) == UINT64_C(9223372036854777856));
    HOLDS(exact_f64_to_u64(18446744073709551616.0) == UINT64_C(0x8000000000000000));
    HOLDS(exact_f64_to_u64(-1.0) == UINT64_MAX);

    HOLDS(exact_divide_i32(-7, 2) == -3 && exact_remainder_i32(-7, 2) == -1);
    HOLDS(exact_divide_i64(-7, 0) == 0 && exact_remainder_i64(-7, 0) == 0);
    HOLDS(exact_divide_u32(7, 2) == 3 && exact_remainder_u32(7, 2) == 1);
    HOLDS(exact_divide_u64(7, 0) == 0 && exact_remainder_u64(7, 0) == 0);
    HOLDS(exact_divide_i32(INT32_MIN, -1) == INT32_MIN && exact_remainder_i32(INT32_MIN, -1) == 0);
    HOLDS(exact_divide_i64(INT64_MIN, -1) == INT64_MIN && exact_remainder_i64(INT64_MIN, -1) == 0);

    HOLDS(exact_between(1.0, 3.0, 0.5) == 2.0);
    HOLDS(exact_between(0.1, 0.7, 0.0) == 0.1 && exact_between(0.1, 0.7, 1.0) == 0.7);
    HOLDS(exact_between(-1.0, 1.0, 0.25) == -0.5);

    HOLDS(exact_interpolate1d(-5.0, bp, out, 3) == 10.0 && exact_interpolate1d(5.0, bp, out, 3) == 0.0);
    HOLDS(exact_interpolate1d(0.5, bp, out, 3) == 15.0 && exact_interpolate1d(2.0, bp, out, 3) == 10.0);
    HOLDS(none != none);
    HOLDS(exact_interpolate2d(0.5, 1.0, bp, bp, grid, 3, 3) == 6.0);
    HOLDS(exact_interpolate2d(9.0, 2.0, bp, bp, grid, 3, 3) == 21.5);

    HOLDS(exact_advance(bp, 3, 0, 1.0) == 1 && exact_advance(bp, 3, 2, 0.5) == 2 && exact_advance(bp, 3, 0, 4.0) == 3);
    return 0;
}
