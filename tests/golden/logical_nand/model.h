
#pragma once

#include "coder.h"

typedef struct {
    bool port0;
} constant_bool_t;

typedef struct {
    bool port0;
} logical_bool_t;

typedef struct {
    constant_bool_t In0_11;
    constant_bool_t In1_12;
    logical_bool_t Blk_42;

    double time_now_sec;
    double time_step_sec;
} model_t;

// initialize model for simulation
ZARN_API void init(model_t* p_model);

// simulation step
ZARN_API void step(model_t* p_model);
