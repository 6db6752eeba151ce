/* The diagram of examples/motor by hand: a PID controller with a clamp around a DC motor, Euler's method. */
#ifndef BENCH_MOTOR_H
#define BENCH_MOTOR_H

#include <stdint.h>

typedef struct {
    struct {
        double kp, ki, kd; /* per step */
        double u_min, u_max;
    } pid;
    struct {
        double R, K, b;  /* ohm, V s/rad, N m s/rad */
        double h_L, h_J; /* step over inductance, step over inertia */
    } plant;
    struct {
        double before, after, time;
    } ref;
} hand_parameters_t;

typedef struct {
    hand_parameters_t p;
    double time;
    uint64_t tick;
    double i, w;            /* A, rad/s */
    double error, integral; /* of the step before */
    double speed, current, voltage;
} hand_t;

void hand_init(hand_t* h);
void hand_step(hand_t* h);
void hand_run(hand_t* h, uint32_t steps);

#endif
