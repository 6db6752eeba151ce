
#pragma once

#include "coder.h"

typedef struct {
    int port0;
} constant_int32_t;

typedef struct {
    int port0;
} mod_int32_t;

typedef struct {
    constant_int32_t In0_11;
    constant_int32_t In1_12;
    mod_int32_t Blk_42;

    double time_now_sec;
    double time_step_sec;
} model_t;

// initialize model for simulation
ZARN_API void init(model_t* p_model);

// simulation step
ZARN_API void step(model_t* p_model);
