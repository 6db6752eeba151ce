/* @NAME@ as an FMU for co-simulation, version @VERSION@ of the interface.
 *
 * @BANNER@
 *
 * This file and what it includes are all there is to compile, as C99 and without contraction of products and sums
 * (-ffp-contract=off). It takes no memory but for instances and for the states that it is asked to save, and has no
 * global that can change.
 */
#if !defined(FMI@VERSION@_FUNCTION_PREFIX)
#define FMI@VERSION@_FUNCTION_PREFIX @NAME@_
#endif
#include "fmi@VERSION@Functions.h"

#include <float.h>
#include <math.h>
#include <stdarg.h>
#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "@NAME@.c"

/* ---- the model */

#define TOKEN "@TOKEN@"
#define START_TIME @START@
#define INTERNAL_STEP @STEP@

typedef @NAME@_t fmu_model_t;

static void fmu_model_init(fmu_model_t* model) { @NAME@_init(model); }
static void fmu_model_step(fmu_model_t* model) { @NAME@_step(model); }

/* the time of the first step, and what begins as that time */
static void fmu_model_start_at(fmu_model_t* model, double time)
{
    model->time = time;
@STARTS@}

typedef enum {
    TYPE_BOOL,
    TYPE_INT8,
    TYPE_UINT8,
    TYPE_INT16,
    TYPE_UINT16,
    TYPE_INT32,
    TYPE_UINT32,
    TYPE_INT64,
    TYPE_UINT64,
    TYPE_FLT32,
    TYPE_FLT64
} fmu_type_t;

typedef enum { ROLE_TIME, ROLE_INPUT, ROLE_PARAMETER, ROLE_RESULT } fmu_role_t;

/* a variable: where its values stand in the model, and how many */
typedef struct {
    size_t offset;
    uint32_t count;
    unsigned char type, role;
} fmu_variable_t;

#define VARIABLE_COUNT @COUNT@u
#define AT(member) offsetof(fmu_model_t, member)

/* by value reference */
static const fmu_variable_t fmu_variables[VARIABLE_COUNT] = {
@VARIABLES@};
