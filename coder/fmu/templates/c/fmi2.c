
/* ---- what the importer calls: the functions that every FMU has, and those of co-simulation */

static fmi2Status fmu_status(bool done) { return done ? fmi2OK : fmi2Error; }

/* "fmi2X" of the function that is being written */
#define IN(function) ((fmu_call_t){c, #function})

const char* fmi2GetTypesPlatform(void) { return fmi2TypesPlatform; }

const char* fmi2GetVersion(void) { return "2.0"; }

fmi2Status fmi2SetDebugLogging(fmi2Component c, fmi2Boolean loggingOn, size_t nCategories,
                               const fmi2String categories[])
{
    if (c == NULL) return fmi2Error;
    return fmu_status(fmu_set_logging(c, "fmi2SetDebugLogging", loggingOn != fmi2False, nCategories, categories));
}

fmi2Component fmi2Instantiate(fmi2String instanceName, fmi2Type fmuType, fmi2String fmuGUID,
                              fmi2String fmuResourceLocation, const fmi2CallbackFunctions* functions,
                              fmi2Boolean visible, fmi2Boolean loggingOn)
{
    fmu_log_t log = {NULL, NULL};
    (void)fmuResourceLocation; /* there is nothing in the resources */
    (void)visible;
    if (functions != NULL) {
        log.logger = functions->logger;
        log.environment = functions->componentEnvironment;
    }
    if (fmuType != fmi2CoSimulation) {
        fmu_log(&log, instanceName != NULL ? instanceName : "", LOG_ERROR, "fmi2Instantiate: for co-simulation only");
        return NULL;
    }
    return fmu_create("fmi2Instantiate", instanceName, fmuGUID, loggingOn != fmi2False, log);
}

void fmi2FreeInstance(fmi2Component c) { free(c); }

fmi2Status fmi2SetupExperiment(fmi2Component c, fmi2Boolean toleranceDefined, fmi2Real tolerance, fmi2Real startTime,
                               fmi2Boolean stopTimeDefined, fmi2Real stopTime)
{
    const char* const call = "fmi2SetupExperiment";
    (void)toleranceDefined; /* nothing is solved by approximation */
    (void)tolerance;
    if (c == NULL || !fmu_allows(c, call, MODE_INSTANTIATED)) return fmi2Error;
    return fmu_status(fmu_set_experiment(c, call, startTime, stopTimeDefined != fmi2False, stopTime));
}

fmi2Status fmi2EnterInitializationMode(fmi2Component c)
{
    const char* const call = "fmi2EnterInitializationMode";
    fmu_t* const fmu = c;
    if (fmu == NULL || !fmu_allows(fmu, call, MODE_INSTANTIATED)) return fmi2Error;
    if (!fmu->now.has_start) return fmu_status(fmu_refuse(fmu, call, "fmi2SetupExperiment has to come first"));
    fmu_enter_initialization(fmu);
    return fmi2OK;
}

fmi2Status fmi2ExitInitializationMode(fmi2Component c)
{
    if (c == NULL || !fmu_allows(c, "fmi2ExitInitializationMode", MODE_INITIALIZATION)) return fmi2Error;
    fmu_exit_initialization(c);
    return fmi2OK;
}

fmi2Status fmi2Terminate(fmi2Component c)
{
    if (c == NULL || !fmu_allows(c, "fmi2Terminate", MODE_STEP)) return fmi2Error;
    fmu_enter(c, MODE_TERMINATED);
    return fmi2OK;
}

fmi2Status fmi2Reset(fmi2Component c)
{
    if (c == NULL) return fmi2Error;
    fmu_restart(c);
    return fmi2OK;
}

/* ---- values: `Integer` has those of all types with up to 16 bits and of int32, `Real` has flt32 and flt64 */

static bool fmu_is_real(const fmu_variable_t* variable) { return variable->type == TYPE_FLT32 || variable->type == TYPE_FLT64; }

static bool fmu_is_boolean(const fmu_variable_t* variable) { return variable->type == TYPE_BOOL; }

static bool fmu_is_integer(const fmu_variable_t* variable) { return !fmu_is_real(variable) && !fmu_is_boolean(variable); }

/* whether all of these can be read, or set, as values of one type */
static bool fmu_can_access(fmu_call_t in, const fmi2ValueReference vr[], size_t nvr, const void* values,
                           bool (*fits)(const fmu_variable_t*), bool sets)
{
    size_t i;
    if (sets ? !fmu_can_set_now(in) : !fmu_can_get(in)) return false;
    if (nvr > 0 && (vr == NULL || values == NULL)) return fmu_refuse(in.fmu, in.call, "there is no array");
    for (i = 0; i < nvr; ++i) {
        const fmu_variable_t* const variable = fmu_find(in, vr[i]);
        if (variable == NULL || (sets && !fmu_can_set(in, variable, vr[i]))) return false;
        if (!fits(variable)) return fmu_wrong_type(in, vr[i]);
    }
    return true;
}

static double fmu_real(const unsigned char* at, unsigned type)
{
    double wide;
    float narrow;
    if (type == TYPE_FLT64) {
        memcpy(&wide, at, sizeof wide);
        return wide;
    }
    memcpy(&narrow, at, sizeof narrow);
    return (double)narrow;
}

static bool fmu_real_fits(double value, unsigned type)
{
    return type == TYPE_FLT64 || !fmu_is_number(value) || fabs(value) <= (double)FLT_MAX;
}

static void fmu_put_real(unsigned char* at, unsigned type, double value)
{
    const float narrow = type == TYPE_FLT32 ? (float)value : 0.0f;
    if (type == TYPE_FLT32) memcpy(at, &narrow, sizeof narrow);
    else memcpy(at, &value, sizeof value);
}

static int fmu_integer(const unsigned char* at, unsigned type)
{
    int8_t i8;
    uint8_t u8;
    int16_t i16;
    uint16_t u16;
    int32_t i32;
    switch (type) {
        case TYPE_INT8: memcpy(&i8, at, sizeof i8); return i8;
        case TYPE_UINT8: memcpy(&u8, at, sizeof u8); return u8;
        case TYPE_INT16: memcpy(&i16, at, sizeof i16); return i16;
        case TYPE_UINT16: memcpy(&u16, at, sizeof u16); return u16;
        default: memcpy(&i32, at, sizeof i32); return i32;
    }
}

static bool fmu_integer_fits(int value, unsigned type)
{
    switch (type) {
        case TYPE_INT8: return value >= INT8_MIN && value <= INT8_MAX;
        case TYPE_UINT8: return value >= 0 && value <= UINT8_MAX;
        case TYPE_INT16: return value >= INT16_MIN && value <= INT16_MAX;
        case TYPE_UINT16: return value >= 0 && value <= UINT16_MAX;
        default: return true;
    }
}

static void fmu_put_integer(unsigned char* at, unsigned type, int value)
{
    const int8_t i8 = (int8_t)value;
    const uint8_t u8 = (uint8_t)value;
    const int16_t i16 = (int16_t)value;
    const uint16_t u16 = (uint16_t)value;
    const int32_t i32 = value;
    switch (type) {
        case TYPE_INT8: memcpy(at, &i8, sizeof i8); break;
        case TYPE_UINT8: memcpy(at, &u8, sizeof u8); break;
        case TYPE_INT16: memcpy(at, &i16, sizeof i16); break;
        case TYPE_UINT16: memcpy(at, &u16, sizeof u16); break;
        default: memcpy(at, &i32, sizeof i32); break;
    }
}

fmi2Status fmi2GetReal(fmi2Component c, const fmi2ValueReference vr[], size_t nvr, fmi2Real value[])
{
    size_t i;
    if (c == NULL || !fmu_can_access(IN(fmi2GetReal), vr, nvr, value, fmu_is_real, false)) return fmi2Error;
    for (i = 0; i < nvr; ++i) value[i] = fmu_real(fmu_value(c, &fmu_variables[vr[i]]), fmu_variables[vr[i]].type);
    return fmi2OK;
}

fmi2Status fmi2GetInteger(fmi2Component c, const fmi2ValueReference vr[], size_t nvr, fmi2Integer value[])
{
    size_t i;
    if (c == NULL || !fmu_can_access(IN(fmi2GetInteger), vr, nvr, value, fmu_is_integer, false)) return fmi2Error;
    for (i = 0; i < nvr; ++i) value[i] = fmu_integer(fmu_value(c, &fmu_variables[vr[i]]), fmu_variables[vr[i]].type);
    return fmi2OK;
}

fmi2Status fmi2GetBoolean(fmi2Component c, const fmi2ValueReference vr[], size_t nvr, fmi2Boolean value[])
{
    size_t i;
    if (c == NULL || !fmu_can_access(IN(fmi2GetBoolean), vr, nvr, value, fmu_is_boolean, false)) return fmi2Error;
    for (i = 0; i < nvr; ++i) {
        bool truth;
        memcpy(&truth, fmu_value(c, &fmu_variables[vr[i]]), sizeof truth);
        value[i] = truth ? fmi2True : fmi2False;
    }
    return fmi2OK;
}

static bool fmu_is_text(const fmu_variable_t* variable)
{
    (void)variable;
    return false; /* there are none */
}

fmi2Status fmi2GetString(fmi2Component c, const fmi2ValueReference vr[], size_t nvr, fmi2String value[])
{
    if (c == NULL) return fmi2Error;
    return fmu_status(fmu_can_access(IN(fmi2GetString), vr, nvr, value, fmu_is_text, false));
}

fmi2Status fmi2SetReal(fmi2Component c, const fmi2ValueReference vr[], size_t nvr, const fmi2Real value[])
{
    size_t i;
    if (c == NULL || !fmu_can_access(IN(fmi2SetReal), vr, nvr, value, fmu_is_real, true)) return fmi2Error;
    for (i = 0; i < nvr; ++i)
        if (!fmu_real_fits(value[i], fmu_variables[vr[i]].type))
            return fmu_status(fmu_refuse(c, "fmi2SetReal", "%.17g is beyond the range of variable %u", value[i], vr[i]));
    for (i = 0; i < nvr; ++i) fmu_put_real(fmu_place(c, &fmu_variables[vr[i]]), fmu_variables[vr[i]].type, value[i]);
    fmu_was_set(c);
    return fmi2OK;
}

fmi2Status fmi2SetInteger(fmi2Component c, const fmi2ValueReference vr[], size_t nvr, const fmi2Integer value[])
{
    size_t i;
    if (c == NULL || !fmu_can_access(IN(fmi2SetInteger), vr, nvr, value, fmu_is_integer, true)) return fmi2Error;
    for (i = 0; i < nvr; ++i)
        if (!fmu_integer_fits(value[i], fmu_variables[vr[i]].type))
            return fmu_status(fmu_refuse(c, "fmi2SetInteger", "%d is beyond the range of variable %u", value[i], vr[i]));
    for (i = 0; i < nvr; ++i) fmu_put_integer(fmu_place(c, &fmu_variables[vr[i]]), fmu_variables[vr[i]].type, value[i]);
    fmu_was_set(c);
    return fmi2OK;
}

fmi2Status fmi2SetBoolean(fmi2Component c, const fmi2ValueReference vr[], size_t nvr, const fmi2Boolean value[])
{
    size_t i;
    if (c == NULL || !fmu_can_access(IN(fmi2SetBoolean), vr, nvr, value, fmu_is_boolean, true)) return fmi2Error;
    for (i = 0; i < nvr; ++i) {
        const bool truth = value[i] != fmi2False;
        memcpy(fmu_place(c, &fmu_variables[vr[i]]), &truth, sizeof truth);
    }
    fmu_was_set(c);
    return fmi2OK;
}

fmi2Status fmi2SetString(fmi2Component c, const fmi2ValueReference vr[], size_t nvr, const fmi2String value[])
{
    if (c == NULL) return fmi2Error;
    return fmu_status(fmu_can_access(IN(fmi2SetString), vr, nvr, value, fmu_is_text, true));
}

/* ---- saved states */

fmi2Status fmi2GetFMUstate(fmi2Component c, fmi2FMUstate* FMUstate)
{
    return c == NULL ? fmi2Error : fmu_status(fmu_get_state(c, "fmi2GetFMUstate", FMUstate));
}

fmi2Status fmi2SetFMUstate(fmi2Component c, fmi2FMUstate FMUstate)
{
    return c == NULL ? fmi2Error : fmu_status(fmu_set_state(c, "fmi2SetFMUstate", FMUstate));
}

fmi2Status fmi2FreeFMUstate(fmi2Component c, fmi2FMUstate* FMUstate)
{
    if (c == NULL) return fmi2Error;
    fmu_free_state(FMUstate);
    return fmi2OK;
}

fmi2Status fmi2SerializedFMUstateSize(fmi2Component c, fmi2FMUstate FMUstate, size_t* size)
{
    return c == NULL ? fmi2Error : fmu_status(fmu_size_of_state(c, "fmi2SerializedFMUstateSize", FMUstate, size));
}

fmi2Status fmi2SerializeFMUstate(fmi2Component c, fmi2FMUstate FMUstate, fmi2Byte serializedState[], size_t size)
{
    if (c == NULL) return fmi2Error;
    return fmu_status(fmu_write_state(c, "fmi2SerializeFMUstate", FMUstate, serializedState, size));
}

fmi2Status fmi2DeSerializeFMUstate(fmi2Component c, const fmi2Byte serializedState[], size_t size,
                                   fmi2FMUstate* FMUstate)
{
    if (c == NULL) return fmi2Error;
    return fmu_status(fmu_read_state(c, "fmi2DeSerializeFMUstate", serializedState, size, FMUstate));
}

/* ---- co-simulation */

fmi2Status fmi2DoStep(fmi2Component c, fmi2Real currentCommunicationPoint, fmi2Real communicationStepSize,
                      fmi2Boolean noSetFMUStatePriorToCurrentPoint)
{
    (void)noSetFMUStatePriorToCurrentPoint; /* nothing is kept of the past */
    if (c == NULL || !fmu_allows(c, "fmi2DoStep", MODE_STEP)) return fmi2Error;
    return fmu_status(fmu_do_step(c, "fmi2DoStep", currentCommunicationPoint, communicationStepSize));
}

/* what a description with its flags does not offer */
static fmi2Status fmu_lacks(fmu_t* fmu, const char* call, const char* what)
{
    if (fmu != NULL) (void)fmu_refuse(fmu, call, "%s", what);
    return fmi2Error;
}

fmi2Status fmi2CancelStep(fmi2Component c)
{
    return fmu_lacks(c, "fmi2CancelStep", "no step is under way: each is done when it returns");
}

fmi2Status fmi2GetDirectionalDerivative(fmi2Component c, const fmi2ValueReference vUnknown_ref[], size_t nUnknown,
                                        const fmi2ValueReference vKnown_ref[], size_t nKnown,
                                        const fmi2Real dvKnown[], fmi2Real dvUnknown[])
{
    (void)vUnknown_ref, (void)nUnknown, (void)vKnown_ref, (void)nKnown, (void)dvKnown, (void)dvUnknown;
    return fmu_lacks(c, "fmi2GetDirectionalDerivative", "there are no derivatives");
}

fmi2Status fmi2SetRealInputDerivatives(fmi2Component c, const fmi2ValueReference vr[], size_t nvr,
                                       const fmi2Integer order[], const fmi2Real value[])
{
    (void)vr, (void)nvr, (void)order, (void)value;
    return fmu_lacks(c, "fmi2SetRealInputDerivatives", "inputs are not interpolated");
}

fmi2Status fmi2GetRealOutputDerivatives(fmi2Component c, const fmi2ValueReference vr[], size_t nvr,
                                        const fmi2Integer order[], fmi2Real value[])
{
    (void)vr, (void)nvr, (void)order, (void)value;
    return fmu_lacks(c, "fmi2GetRealOutputDerivatives", "outputs have no derivatives");
}

/* Of a step that is pending. None is ever. */
static fmi2Status fmu_no_status(fmu_t* fmu, const char* call)
{
    if (fmu == NULL) return fmi2Error;
    fmu_log(&fmu->log, fmu->name, LOG_DISCARD, call);
    return fmi2Discard;
}

fmi2Status fmi2GetStatus(fmi2Component c, const fmi2StatusKind s, fmi2Status* value)
{
    (void)s, (void)value;
    return fmu_no_status(c, "fmi2GetStatus: no step is pending");
}

fmi2Status fmi2GetRealStatus(fmi2Component c, const fmi2StatusKind s, fmi2Real* value)
{
    if (c == NULL || value == NULL || s != fmi2LastSuccessfulTime)
        return fmu_no_status(c, "fmi2GetRealStatus: there is fmi2LastSuccessfulTime only");
    *value = ((const fmu_t*)c)->now.time;
    return fmi2OK;
}

fmi2Status fmi2GetIntegerStatus(fmi2Component c, const fmi2StatusKind s, fmi2Integer* value)
{
    (void)s, (void)value;
    return fmu_no_status(c, "fmi2GetIntegerStatus: there is none");
}

fmi2Status fmi2GetBooleanStatus(fmi2Component c, const fmi2StatusKind s, fmi2Boolean* value)
{
    if (c == NULL || value == NULL || s != fmi2Terminated)
        return fmu_no_status(c, "fmi2GetBooleanStatus: there is fmi2Terminated only");
    *value = fmi2False; /* the model never ends a simulation */
    return fmi2OK;
}

fmi2Status fmi2GetStringStatus(fmi2Component c, const fmi2StatusKind s, fmi2String* value)
{
    (void)s, (void)value;
    return fmu_no_status(c, "fmi2GetStringStatus: no step is pending");
}
