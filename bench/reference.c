#include "reference.h"

#include <math.h>

double reference_loop(size_t steps, double dt, double* out) {
    double i_prev = 0, e_prev = 0, y = 0;
    double i = 0, e = 0, yn = 0;
    double t = 0;
    for (size_t k = 0; k < steps; ++k, t = t + dt) {
        i_prev = i;
        e_prev = e;
        y = yn;
        const double ref = t > 0.9995 ? 1.0 : 0.0;
        e = ref - y;
        const double p = e * 2.0;
        const double q = e * 0.002;
        i = i_prev + q;
        const double de = e - e_prev;
        const double d = de * 20.0;
        const double u = p + (i + d);
        const double du = u - y;
        const double bd = du * 0.002;
        yn = y + bd;
        if (out) out[k] = y;
    }
    return y;
}

void reference_chain_init(chain_t* chain, size_t i) {
    const double pi = 3.141592653589793;
    const double frequency = 0.5 + 0.01 * (double)(i % 100);
    const double degrees = 0.1 * (double)(i % 63) * 180.0 / pi;
    /* as the sinewave block makes them of its parameters in hertz and degrees */
    chain->w = 2 * pi * frequency;
    chain->ph = degrees * pi / 180.0;
    chain->c = 0.8 + 0.002 * (double)(i % 200);
    chain->d = -0.3 + 0.005 * (double)(i % 120);
    chain->s = chain->m = chain->a = chain->z = chain->l = chain->o = 0;
}

static double table(double x) {
    static const double bp[5] = {-1, -0.4, 0, 0.5, 1.2};
    static const double out[5] = {-0.8, -0.5, 0.1, 0.4, 1.0};
    if (x <= bp[0]) return out[0];
    if (x >= bp[4]) return out[4];
    size_t n = 1;
    while (bp[n] <= x) ++n;
    return (x - bp[n - 1]) / (bp[n] - bp[n - 1]) * (out[n] - out[n - 1]) + out[n - 1];
}

double reference_chains(chain_t* chains, size_t count, size_t steps, double dt, double* o) {
    double t = 0;
    for (size_t k = 0; k < steps; ++k, t = t + dt) {
        for (size_t n = 0; n < count; ++n) {
            chain_t* c = &chains[n];
            c->z = c->a;
            c->s = sin(c->w * t + c->ph);
            c->m = c->s * c->c;
            c->a = c->m + c->d;
            c->l = table(c->z);
            c->o = c->l + c->s;
            if (o) *o++ = c->o;
        }
    }
    double sum = 0;
    for (size_t n = 0; n < count; ++n) sum += chains[n].o;
    return sum;
}
