/* What is kept of a run, however long it is: one number into which the values of every step are folded, and that number
 * at up to TRACE_POINTS steps, spread evenly. Two runs with equal values have equal traces; of two that differ, the first
 * points that do tell between which steps it began. C99 and C++, so that the command and a program that stands alone
 * hold the same text. */
#ifndef ZARN_VERIFY_TRACE_H
#define ZARN_VERIFY_TRACE_H

#include <stdint.h>
#include <string.h>

#define TRACE_POINTS 1024

typedef struct {
    uint64_t fold;   /* of all values so far */
    uint64_t steps;  /* that are done */
    uint64_t stride; /* steps from point to point */
    uint32_t count;  /* of the points */
    uint64_t points[TRACE_POINTS];
} trace_t;

static inline void trace_begin(trace_t* trace) {
    trace->fold = UINT64_C(0xcbf29ce484222325);
    trace->steps = 0;
    trace->stride = 1;
    trace->count = 0;
}

/* Another value gives another fold, whatever comes behind it and is equal: each operation has an inverse. */
static inline void trace_value(trace_t* trace, uint64_t bits) {
    const uint64_t fold = (trace->fold ^ bits) * UINT64_C(0x100000001b3);
    trace->fold = fold ^ (fold >> 29);
}

/* Ends a step. Where there is no room for a point more, every other one goes. */
static inline void trace_step(trace_t* trace) {
    uint32_t i;
    if (++trace->steps % trace->stride != 0) return;
    trace->points[trace->count++] = trace->fold;
    if (trace->count < TRACE_POINTS) return;
    trace->count /= 2;
    trace->stride *= 2;
    for (i = 0; i < trace->count; ++i) trace->points[i] = trace->points[2 * i + 1];
}

/* The bits of a value of `size` bytes: any not-a-number is one and the same. */
static inline uint64_t trace_bits(const void* value, uint32_t size, int is_float) {
    uint64_t b64 = 0;
    uint32_t b32 = 0;
    uint16_t b16 = 0;
    uint8_t b8 = 0;
    switch (size) {
        case 8:
            memcpy(&b64, value, 8);
            if (is_float && (b64 & UINT64_C(0x7fffffffffffffff)) > UINT64_C(0x7ff0000000000000))
                b64 = UINT64_C(0x7ff8000000000000);
            return b64;
        case 4:
            memcpy(&b32, value, 4);
            if (is_float && (b32 & UINT32_C(0x7fffffff)) > UINT32_C(0x7f800000)) b32 = UINT32_C(0x7fc00000);
            return b32;
        case 2: memcpy(&b16, value, 2); return b16;
        default: memcpy(&b8, value, 1); return b8;
    }
}

/* A value for the input of that number in a step: anything between -16 and 16, exact in every float. */
static inline double trace_input(uint64_t step, uint32_t input) {
    uint64_t x = (step / 3 + 1) * UINT64_C(0x9e3779b97f4a7c15) + (input + 1) * UINT64_C(0xbf58476d1ce4e5b9);
    x = (x ^ (x >> 30)) * UINT64_C(0x94d049bb133111eb);
    return ((double)(int32_t)((x >> 40) % 4097) - 2048.0) / 128.0;
}

/* Where a program keeps the value of a port. */
typedef struct {
    uint64_t offset;
    uint32_t size;
    int is_float;
} trace_port_t;

#endif
