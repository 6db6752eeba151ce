#include "motor.h"

static const hand_parameters_t defaults = {
    {0.4, 0.002, 1.0, -24.0, 24.0},
    {1.0, 0.1, 0.0005, 0.02, 0.5},
    {0.0, 100.0, 0.1},
};

void hand_init(hand_t* h) {
    h->p = defaults;
    h->time = 0.0;
    h->tick = 0u;
    h->i = h->w = 0.0;
    h->error = h->integral = 0.0;
    h->speed = h->current = h->voltage = 0.0;
}

void hand_step(hand_t* h) {
    const double i = h->i;
    const double w = h->w;
    const double ref = h->time > h->p.ref.time ? h->p.ref.after : h->p.ref.before;

    const double error = ref - w;
    const double delta = error - h->error;
    double u;
    h->integral = error * h->p.pid.ki + h->integral;
    u = error * h->p.pid.kp + (h->integral + delta * h->p.pid.kd);
    h->error = error;
    if (u > h->p.pid.u_max) {
        u = h->p.pid.u_max;
    } else if (u < h->p.pid.u_min) {
        u = h->p.pid.u_min;
    }

    h->i = i + ((u - i * h->p.plant.R) - w * h->p.plant.K) * h->p.plant.h_L;
    h->w = w + (i * h->p.plant.K - w * h->p.plant.b) * h->p.plant.h_J;

    h->speed = w;
    h->current = i;
    h->voltage = u;
    h->time += 0.001;
    h->tick++;
}

void hand_run(hand_t* h, uint32_t steps) {
    uint32_t n;
    for (n = 0u; n < steps; n++) {
        hand_step(h);
    }
}
