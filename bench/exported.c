/* Steps of the exported motor and of the one by hand, in turn; prints their least times per step in nanoseconds. */
#define _POSIX_C_SOURCE 199309L
#include <stdio.h>
#include <string.h>
#include <time.h>

#include "export/motor.h"
#include "motor.h"

static motor_t exported;
static hand_t by_hand;

static double now(void) {
    struct timespec t;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
    return (double)t.tv_sec * 1e9 + (double)t.tv_nsec;
}

int main(void) {
    enum { rounds = 200, steps = 100000 };
    double best[2] = {1e30, 1e30};
    int round;
    motor_init(&exported);
    hand_init(&by_hand);
    for (round = 0; round < rounds; round++) {
        const double begin = now();
        double middle, end;
        motor_run(&exported, steps);
        middle = now();
        hand_run(&by_hand, steps);
        end = now();
        if (middle - begin < best[0]) best[0] = middle - begin;
        if (end - middle < best[1]) best[1] = end - middle;
        if (memcmp(&exported.outputs.speed, &by_hand.speed, sizeof(double)) != 0 ||
            memcmp(&exported.outputs.current, &by_hand.current, sizeof(double)) != 0 ||
            memcmp(&exported.outputs.voltage, &by_hand.voltage, sizeof(double)) != 0) {
            fprintf(stderr, "the values differ after %d steps\n", (round + 1) * steps);
            return 1;
        }
        if ((round + 1) % 20 == 0) { /* not for ever in the steady state */
            motor_init(&exported);
            hand_init(&by_hand);
        }
    }
    printf("%.3f %.3f\n", best[0] / steps, best[1] / steps);
    return 0;
}
