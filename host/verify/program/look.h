/* The main program around a model that stands alone: runs it and prints the trace, and what the arguments ask for:
 *
 *   program STEPS FIRST BEHIND AT
 *
 * at most STEPS steps; the fold behind each of the steps from FIRST on and before BEHIND; the values behind step AT. The
 * text before this one defines MODEL (the structure), MODEL_INIT, MODEL_STEP, MODEL_END (the time that no step passes),
 * PORTS and INPUTS (how many there are), trace_ports and trace_inputs. */
#ifndef ZARN_VERIFY_LOOK_H
#define ZARN_VERIFY_LOOK_H

#include <stdio.h>
#include <stdlib.h>

static MODEL model;
static trace_t trace;

static uint64_t port_bits(uint32_t i) {
    return trace_bits((const char *)&model + trace_ports[i].offset, trace_ports[i].size, trace_ports[i].is_float);
}

/* Not every C library prints 64 bits. */
static void print_bits(char what, uint64_t bits) {
    printf("%c %08lx%08lx\n", what, (unsigned long)(bits >> 32), (unsigned long)(bits & UINT64_C(0xffffffff)));
}

static uint64_t wish(int count, char **arguments, int i) {
    return i < count ? strtoull(arguments[i], NULL, 10) : UINT64_C(0xffffffffffffffff);
}

static void set_inputs(uint64_t step) {
    uint32_t i;
    for (i = 0; i < INPUTS; ++i) {
        const double value = trace_input(step, i);
        memcpy((char *)&model + trace_inputs[i], &value, sizeof value);
    }
}

int main(int count, char **arguments) {
    const uint64_t steps = wish(count, arguments, 1), first = wish(count, arguments, 2);
    const uint64_t behind = wish(count, arguments, 3), at = wish(count, arguments, 4);
    uint32_t i;
    MODEL_INIT(&model);
    trace_begin(&trace);
    while (MODEL_END >= model.time && trace.steps < steps) {
        const uint64_t step = trace.steps;
        set_inputs(step);
        MODEL_STEP(&model);
        for (i = 0; i < PORTS; ++i) trace_value(&trace, port_bits(i));
        if (step == at)
            for (i = 0; i < PORTS; ++i) print_bits('v', port_bits(i));
        if (step >= first && step < behind) print_bits('f', trace.fold);
        trace_step(&trace);
    }
    for (i = 0; i < trace.count; ++i) print_bits('p', trace.points[i]);
    for (i = 0; i < PORTS; ++i) print_bits('e', port_bits(i));
    print_bits('t', trace.fold);
    print_bits('d', trace.stride);
    print_bits('s', trace.steps);
    return 0;
}

#endif
