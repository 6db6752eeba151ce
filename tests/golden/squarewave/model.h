
#pragma once

#include "coder.h"

typedef struct {
    double port0;
    double time_on;
    double time_off;
    double value_on;
    double value_off;
    double state_change;
    bool state_value;
} squarewave_flt64_t;

typedef struct {
    squarewave_flt64_t Blk_42;

    double time_now_sec;
    double time_step_sec;
} model_t;

// initialize model for simulation
ZARN_API void init(model_t* p_model);

// simulation step
ZARN_API void step(model_t* p_model);
