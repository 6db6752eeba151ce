/* The benchmark models written by hand in C, as the floor that the engine is measured against.
 *
 * Same arithmetic in the same order as the models of models.h, scalar C library functions, no contraction of multiply
 * and add. Time is t = t + DT from 0 on, as in a run. */
#ifndef BENCH_REFERENCE_H
#define BENCH_REFERENCE_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Control loop of 18 blocks: runs `steps` steps of DT seconds and writes y of each step to `y` unless it is null;
 * returns the last y. */
double reference_loop(size_t steps, double dt, double* y);

/* One chain of 8 blocks. */
typedef struct {
    double w, ph, c, d;      /* sine: rad/s and rad; factor; offset */
    double s, m, a, z, l, o; /* block outputs, z with the last step's a */
} chain_t;

/* Sets the parameters of chain i. */
void reference_chain_init(chain_t* chain, size_t i);

/* Runs `count` chains for `steps` steps; writes o of every chain in every step to `o`, step by step, unless it is null;
 * returns the sum of the last o. */
double reference_chains(chain_t* chains, size_t count, size_t steps, double dt, double* o);

#ifdef __cplusplus
}
#endif

#endif
