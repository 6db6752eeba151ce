
#pragma once

#include "coder.h"

typedef struct {
    double port0;
} constant_flt64_t;

typedef struct {
    double port0;
} sqrt_flt64_t;

typedef struct {
    constant_flt64_t In0_11;
    sqrt_flt64_t Blk_42;

    double time_now_sec;
    double time_step_sec;
} model_t;

// initialize model for simulation
ZARN_API void init(model_t* p_model);

// simulation step
ZARN_API void step(model_t* p_model);
