
/* ---- what the importer calls: every function of the interface, those that the description does not offer as well */

static fmi3Status fmu_status(bool done) { return done ? fmi3OK : fmi3Error; }

/* what a description with its flags does not offer */
static fmi3Status fmu_lacks(fmu_t* fmu, const char* call, const char* what)
{
    if (fmu != NULL) (void)fmu_refuse(fmu, call, "%s", what);
    return fmi3Error;
}

const char* fmi3GetVersion(void) { return "3.0"; }

fmi3Status fmi3SetDebugLogging(fmi3Instance instance, fmi3Boolean loggingOn, size_t nCategories,
                               const fmi3String categories[])
{
    if (instance == NULL) return fmi3Error;
    return fmu_status(fmu_set_logging(instance, "fmi3SetDebugLogging", loggingOn, nCategories, categories));
}

/* ---- instances */

static fmi3Instance fmu_refuse_instance(fmi3InstanceEnvironment environment, fmi3LogMessageCallback logger,
                                        const char* text)
{
    fmu_log_t log;
    log.logger = logger;
    log.environment = environment;
    fmu_log(&log, "", LOG_ERROR, text);
    return NULL;
}

fmi3Instance fmi3InstantiateCoSimulation(fmi3String instanceName, fmi3String instantiationToken,
                                         fmi3String resourcePath, fmi3Boolean visible, fmi3Boolean loggingOn,
                                         fmi3Boolean eventModeUsed, fmi3Boolean earlyReturnAllowed,
                                         const fmi3ValueReference requiredIntermediateVariables[],
                                         size_t nRequiredIntermediateVariables,
                                         fmi3InstanceEnvironment instanceEnvironment,
                                         fmi3LogMessageCallback logMessage,
                                         fmi3IntermediateUpdateCallback intermediateUpdate)
{
    const char* const call = "fmi3InstantiateCoSimulation";
    fmu_log_t log;
    (void)resourcePath; /* there is nothing in the resources */
    (void)visible;
    (void)earlyReturnAllowed; /* no step returns early */
    (void)requiredIntermediateVariables;
    (void)intermediateUpdate;
    if (eventModeUsed)
        return fmu_refuse_instance(instanceEnvironment, logMessage,
                                   "fmi3InstantiateCoSimulation: there is no Event Mode");
    if (nRequiredIntermediateVariables > 0)
        return fmu_refuse_instance(instanceEnvironment, logMessage,
                                   "fmi3InstantiateCoSimulation: there are no intermediate updates");
    log.logger = logMessage;
    log.environment = instanceEnvironment;
    return fmu_create(call, instanceName, instantiationToken, loggingOn, log);
}

fmi3Instance fmi3InstantiateModelExchange(fmi3String instanceName, fmi3String instantiationToken,
                                          fmi3String resourcePath, fmi3Boolean visible, fmi3Boolean loggingOn,
                                          fmi3InstanceEnvironment instanceEnvironment,
                                          fmi3LogMessageCallback logMessage)
{
    (void)instanceName, (void)instantiationToken, (void)resourcePath;
    (void)visible, (void)loggingOn;
    return fmu_refuse_instance(instanceEnvironment, logMessage, "fmi3InstantiateModelExchange: for co-simulation only");
}

fmi3Instance fmi3InstantiateScheduledExecution(fmi3String instanceName, fmi3String instantiationToken,
                                               fmi3String resourcePath, fmi3Boolean visible, fmi3Boolean loggingOn,
                                               fmi3InstanceEnvironment instanceEnvironment,
                                               fmi3LogMessageCallback logMessage, fmi3ClockUpdateCallback clockUpdate,
                                               fmi3LockPreemptionCallback lockPreemption,
                                               fmi3UnlockPreemptionCallback unlockPreemption)
{
    (void)instanceName, (void)instantiationToken, (void)resourcePath;
    (void)visible, (void)loggingOn, (void)clockUpdate, (void)lockPreemption, (void)unlockPreemption;
    return fmu_refuse_instance(instanceEnvironment, logMessage, "fmi3InstantiateScheduledExecution: for co-simulation only");
}

void fmi3FreeInstance(fmi3Instance instance) { free(instance); }

/* ---- modes */

fmi3Status fmi3EnterInitializationMode(fmi3Instance instance, fmi3Boolean toleranceDefined, fmi3Float64 tolerance,
                                       fmi3Float64 startTime, fmi3Boolean stopTimeDefined, fmi3Float64 stopTime)
{
    const char* const call = "fmi3EnterInitializationMode";
    (void)toleranceDefined; /* nothing is solved by approximation */
    (void)tolerance;
    if (instance == NULL || !fmu_allows(instance, call, MODE_INSTANTIATED)) return fmi3Error;
    if (!fmu_set_experiment(instance, call, startTime, stopTimeDefined, stopTime)) return fmi3Error;
    fmu_enter_initialization(instance);
    return fmi3OK;
}

fmi3Status fmi3ExitInitializationMode(fmi3Instance instance)
{
    if (instance == NULL || !fmu_allows(instance, "fmi3ExitInitializationMode", MODE_INITIALIZATION)) return fmi3Error;
    fmu_exit_initialization(instance);
    return fmi3OK;
}

fmi3Status fmi3Terminate(fmi3Instance instance)
{
    if (instance == NULL || !fmu_allows(instance, "fmi3Terminate", MODE_STEP)) return fmi3Error;
    fmu_enter(instance, MODE_TERMINATED);
    return fmi3OK;
}

fmi3Status fmi3Reset(fmi3Instance instance)
{
    if (instance == NULL) return fmi3Error;
    fmu_restart(instance);
    return fmi3OK;
}

/* ---- values: each type of the model is one of the interface */

/* whether all of these can be read, or set, as values of one type, which are as many as the array has */
static bool fmu_can_access(fmu_call_t in, const fmi3ValueReference references[], size_t count, unsigned type,
                           const void* values, size_t value_count, bool sets)
{
    size_t wanted = 0;
    size_t i;
    if (sets ? !fmu_can_set_now(in) : !fmu_can_get(in)) return false;
    if ((count > 0 && references == NULL) || (value_count > 0 && values == NULL))
        return fmu_refuse(in.fmu, in.call, "there is no array");
    for (i = 0; i < count; ++i) {
        const fmu_variable_t* const variable = fmu_find(in, references[i]);
        if (variable == NULL || (sets && !fmu_can_set(in, variable, references[i]))) return false;
        if (variable->type != type) return fmu_wrong_type(in, references[i]);
        wanted += variable->count;
    }
    if (wanted == value_count) return true;
    return fmu_refuse(in.fmu, in.call, "the variables have %lu values, the array %lu", (unsigned long)wanted,
                      (unsigned long)value_count);
}

static fmi3Status fmu_get(fmu_call_t in, const fmi3ValueReference references[], size_t count, unsigned type,
                          size_t size, void* values, size_t value_count)
{
    unsigned char* to = values;
    size_t i;
    if (in.fmu == NULL || !fmu_can_access(in, references, count, type, values, value_count, false)) return fmi3Error;
    for (i = 0; i < count; ++i) {
        const fmu_variable_t* const variable = &fmu_variables[references[i]];
        memcpy(to, fmu_value(in.fmu, variable), size * variable->count);
        to += size * variable->count;
    }
    return fmi3OK;
}

static fmi3Status fmu_set(fmu_call_t in, const fmi3ValueReference references[], size_t count, unsigned type,
                          size_t size, const void* values, size_t value_count)
{
    const unsigned char* from = values;
    size_t i;
    if (in.fmu == NULL || !fmu_can_access(in, references, count, type, values, value_count, true)) return fmi3Error;
    for (i = 0; i < count; ++i) {
        const fmu_variable_t* const variable = &fmu_variables[references[i]];
        memcpy(fmu_place(in.fmu, variable), from, size * variable->count);
        from += size * variable->count;
    }
    fmu_was_set(in.fmu);
    return fmi3OK;
}

fmi3Status fmi3GetFloat32(fmi3Instance instance, const fmi3ValueReference valueReferences[], size_t nValueReferences,
                          fmi3Float32 values[], size_t nValues)
{
    const fmu_call_t in = {instance, "fmi3GetFloat32"};
    return fmu_get(in, valueReferences, nValueReferences, TYPE_FLT32, sizeof *values, values, nValues);
}

fmi3Status fmi3GetFloat64(fmi3Instance instance, const fmi3ValueReference valueReferences[], size_t nValueReferences,
                          fmi3Float64 values[], size_t nValues)
{
    const fmu_call_t in = {instance, "fmi3GetFloat64"};
    return fmu_get(in, valueReferences, nValueReferences, TYPE_FLT64, sizeof *values, values, nValues);
}

fmi3Status fmi3GetInt8(fmi3Instance instance, const fmi3ValueReference valueReferences[], size_t nValueReferences,
                       fmi3Int8 values[], size_t nValues)
{
    const fmu_call_t in = {instance, "fmi3GetInt8"};
    return fmu_get(in, valueReferences, nValueReferences, TYPE_INT8, sizeof *values, values, nValues);
}

fmi3Status fmi3GetUInt8(fmi3Instance instance, const fmi3ValueReference valueReferences[], size_t nValueReferences,
                        fmi3UInt8 values[], size_t nValues)
{
    const fmu_call_t in = {instance, "fmi3GetUInt8"};
    return fmu_get(in, valueReferences, nValueReferences, TYPE_UINT8, sizeof *values, values, nValues);
}

fmi3Status fmi3GetInt16(fmi3Instance instance, const fmi3ValueReference valueReferences[], size_t nValueReferences,
                        fmi3Int16 values[], size_t nValues)
{
    const fmu_call_t in = {instance, "fmi3GetInt16"};
    return fmu_get(in, valueReferences, nValueReferences, TYPE_INT16, sizeof *values, values, nValues);
}

fmi3Status fmi3GetUInt16(fmi3Instance instance, const fmi3ValueReference valueReferences[], size_t nValueReferences,
                         fmi3UInt16 values[], size_t nValues)
{
    const fmu_call_t in = {instance, "fmi3GetUInt16"};
    return fmu_get(in, valueReferences, nValueReferences, TYPE_UINT16, sizeof *values, values, nValues);
}

fmi3Status fmi3GetInt32(fmi3Instance instance, const fmi3ValueReference valueReferences[], size_t nValueReferences,
                        fmi3Int32 values[], size_t nValues)
{
    const fmu_call_t in = {instance, "fmi3GetInt32"};
    return fmu_get(in, valueReferences, nValueReferences, TYPE_INT32, sizeof *values, values, nValues);
}

fmi3Status fmi3GetUInt32(fmi3Instance instance, const fmi3ValueReference valueReferences[], size_t nValueReferences,
                         fmi3UInt32 values[], size_t nValues)
{
    const fmu_call_t in = {instance, "fmi3GetUInt32"};
    return fmu_get(in, valueReferences, nValueReferences, TYPE_UINT32, sizeof *values, values, nValues);
}

fmi3Status fmi3GetInt64(fmi3Instance instance, const fmi3ValueReference valueReferences[], size_t nValueReferences,
                        fmi3Int64 values[], size_t nValues)
{
    const fmu_call_t in = {instance, "fmi3GetInt64"};
    return fmu_get(in, valueReferences, nValueReferences, TYPE_INT64, sizeof *values, values, nValues);
}

fmi3Status fmi3GetUInt64(fmi3Instance instance, const fmi3ValueReference valueReferences[], size_t nValueReferences,
                         fmi3UInt64 values[], size_t nValues)
{
    const fmu_call_t in = {instance, "fmi3GetUInt64"};
    return fmu_get(in, valueReferences, nValueReferences, TYPE_UINT64, sizeof *values, values, nValues);
}

fmi3Status fmi3GetBoolean(fmi3Instance instance, const fmi3ValueReference valueReferences[], size_t nValueReferences,
                          fmi3Boolean values[], size_t nValues)
{
    const fmu_call_t in = {instance, "fmi3GetBoolean"};
    return fmu_get(in, valueReferences, nValueReferences, TYPE_BOOL, sizeof *values, values, nValues);
}

fmi3Status fmi3SetFloat32(fmi3Instance instance, const fmi3ValueReference valueReferences[], size_t nValueReferences,
                          const fmi3Float32 values[], size_t nValues)
{
    const fmu_call_t in = {instance, "fmi3SetFloat32"};
    return fmu_set(in, valueReferences, nValueReferences, TYPE_FLT32, sizeof *values, values, nValues);
}

fmi3Status fmi3SetFloat64(fmi3Instance instance, const fmi3ValueReference valueReferences[], size_t nValueReferences,
                          const fmi3Float64 values[], size_t nValues)
{
    const fmu_call_t in = {instance, "fmi3SetFloat64"};
    return fmu_set(in, valueReferences, nValueReferences, TYPE_FLT64, sizeof *values, values, nValues);
}

fmi3Status fmi3SetInt8(fmi3Instance instance, const fmi3ValueReference valueReferences[], size_t nValueReferences,
                       const fmi3Int8 values[], size_t nValues)
{
    const fmu_call_t in = {instance, "fmi3SetInt8"};
    return fmu_set(in, valueReferences, nValueReferences, TYPE_INT8, sizeof *values, values, nValues);
}

fmi3Status fmi3SetUInt8(fmi3Instance instance, const fmi3ValueReference valueReferences[], size_t nValueReferences,
                        const fmi3UInt8 values[], size_t nValues)
{
    const fmu_call_t in = {instance, "fmi3SetUInt8"};
    return fmu_set(in, valueReferences, nValueReferences, TYPE_UINT8, sizeof *values, values, nValues);
}

fmi3Status fmi3SetInt16(fmi3Instance instance, const fmi3ValueReference valueReferences[], size_t nValueReferences,
                        const fmi3Int16 values[], size_t nValues)
{
    const fmu_call_t in = {instance, "fmi3SetInt16"};
    return fmu_set(in, valueReferences, nValueReferences, TYPE_INT16, sizeof *values, values, nValues);
}

fmi3Status fmi3SetUInt16(fmi3Instance instance, const fmi3ValueReference valueReferences[], size_t nValueReferences,
                         const fmi3UInt16 values[], size_t nValues)
{
    const fmu_call_t in = {instance, "fmi3SetUInt16"};
    return fmu_set(in, valueReferences, nValueReferences, TYPE_UINT16, sizeof *values, values, nValues);
}

fmi3Status fmi3SetInt32(fmi3Instance instance, const fmi3ValueReference valueReferences[], size_t nValueReferences,
                        const fmi3Int32 values[], size_t nValues)
{
    const fmu_call_t in = {instance, "fmi3SetInt32"};
    return fmu_set(in, valueReferences, nValueReferences, TYPE_INT32, sizeof *values, values, nValues);
}

fmi3Status fmi3SetUInt32(fmi3Instance instance, const fmi3ValueReference valueReferences[], size_t nValueReferences,
                         const fmi3UInt32 values[], size_t nValues)
{
    const fmu_call_t in = {instance, "fmi3SetUInt32"};
    return fmu_set(in, valueReferences, nValueReferences, TYPE_UINT32, sizeof *values, values, nValues);
}

fmi3Status fmi3SetInt64(fmi3Instance instance, const fmi3ValueReference valueReferences[], size_t nValueReferences,
                        const fmi3Int64 values[], size_t nValues)
{
    const fmu_call_t in = {instance, "fmi3SetInt64"};
    return fmu_set(in, valueReferences, nValueReferences, TYPE_INT64, sizeof *values, values, nValues);
}

fmi3Status fmi3SetUInt64(fmi3Instance instance, const fmi3ValueReference valueReferences[], size_t nValueReferences,
                         const fmi3UInt64 values[], size_t nValues)
{
    const fmu_call_t in = {instance, "fmi3SetUInt64"};
    return fmu_set(in, valueReferences, nValueReferences, TYPE_UINT64, sizeof *values, values, nValues);
}

fmi3Status fmi3SetBoolean(fmi3Instance instance, const fmi3ValueReference valueReferences[], size_t nValueReferences,
                          const fmi3Boolean values[], size_t nValues)
{
    const fmu_call_t in = {instance, "fmi3SetBoolean"};
    return fmu_set(in, valueReferences, nValueReferences, TYPE_BOOL, sizeof *values, values, nValues);
}

/* of text, bytes and clocks there are no variables: no array of references but an empty one is right */
static fmi3Status fmu_none(fmu_call_t in, size_t count, bool sets)
{
    if (in.fmu == NULL || (sets ? !fmu_can_set_now(in) : !fmu_can_get(in))) return fmi3Error;
    return count == 0 ? fmi3OK : fmu_lacks(in.fmu, in.call, "there are no variables of this type");
}

fmi3Status fmi3GetString(fmi3Instance instance, const fmi3ValueReference valueReferences[], size_t nValueReferences,
                         fmi3String values[], size_t nValues)
{
    const fmu_call_t in = {instance, "fmi3GetString"};
    (void)valueReferences, (void)values, (void)nValues;
    return fmu_none(in, nValueReferences, false);
}

fmi3Status fmi3GetBinary(fmi3Instance instance, const fmi3ValueReference valueReferences[], size_t nValueReferences,
                         size_t valueSizes[], fmi3Binary values[], size_t nValues)
{
    const fmu_call_t in = {instance, "fmi3GetBinary"};
    (void)valueReferences, (void)valueSizes, (void)values, (void)nValues;
    return fmu_none(in, nValueReferences, false);
}

fmi3Status fmi3GetClock(fmi3Instance instance, const fmi3ValueReference valueReferences[], size_t nValueReferences,
                        fmi3Clock values[])
{
    const fmu_call_t in = {instance, "fmi3GetClock"};
    (void)valueReferences, (void)values;
    return fmu_none(in, nValueReferences, false);
}

fmi3Status fmi3SetString(fmi3Instance instance, const fmi3ValueReference valueReferences[], size_t nValueReferences,
                         const fmi3String values[], size_t nValues)
{
    const fmu_call_t in = {instance, "fmi3SetString"};
    (void)valueReferences, (void)values, (void)nValues;
    return fmu_none(in, nValueReferences, true);
}

fmi3Status fmi3SetBinary(fmi3Instance instance, const fmi3ValueReference valueReferences[], size_t nValueReferences,
                         const size_t valueSizes[], const fmi3Binary values[], size_t nValues)
{
    const fmu_call_t in = {instance, "fmi3SetBinary"};
    (void)valueReferences, (void)valueSizes, (void)values, (void)nValues;
    return fmu_none(in, nValueReferences, true);
}

fmi3Status fmi3SetClock(fmi3Instance instance, const fmi3ValueReference valueReferences[], size_t nValueReferences,
                        const fmi3Clock values[])
{
    const fmu_call_t in = {instance, "fmi3SetClock"};
    (void)valueReferences, (void)values;
    return fmu_none(in, nValueReferences, true);
}

/* ---- saved states */

fmi3Status fmi3GetFMUState(fmi3Instance instance, fmi3FMUState* FMUState)
{
    return instance == NULL ? fmi3Error : fmu_status(fmu_get_state(instance, "fmi3GetFMUState", FMUState));
}

fmi3Status fmi3SetFMUState(fmi3Instance instance, fmi3FMUState FMUState)
{
    return instance == NULL ? fmi3Error : fmu_status(fmu_set_state(instance, "fmi3SetFMUState", FMUState));
}

fmi3Status fmi3FreeFMUState(fmi3Instance instance, fmi3FMUState* FMUState)
{
    if (instance == NULL) return fmi3Error;
    fmu_free_state(FMUState);
    return fmi3OK;
}

fmi3Status fmi3SerializedFMUStateSize(fmi3Instance instance, fmi3FMUState FMUState, size_t* size)
{
    if (instance == NULL) return fmi3Error;
    return fmu_status(fmu_size_of_state(instance, "fmi3SerializedFMUStateSize", FMUState, size));
}

fmi3Status fmi3SerializeFMUState(fmi3Instance instance, fmi3FMUState FMUState, fmi3Byte serializedState[], size_t size)
{
    if (instance == NULL) return fmi3Error;
    return fmu_status(fmu_write_state(instance, "fmi3SerializeFMUState", FMUState, serializedState, size));
}

fmi3Status fmi3DeserializeFMUState(fmi3Instance instance, const fmi3Byte serializedState[], size_t size,
                                   fmi3FMUState* FMUState)
{
    if (instance == NULL) return fmi3Error;
    return fmu_status(fmu_read_state(instance, "fmi3DeserializeFMUState", serializedState, size, FMUState));
}

/* ---- co-simulation */

fmi3Status fmi3EnterStepMode(fmi3Instance instance)
{
    return fmu_lacks(instance, "fmi3EnterStepMode", "it is entered by leaving Initialization Mode: there is no other");
}

fmi3Status fmi3DoStep(fmi3Instance instance, fmi3Float64 currentCommunicationPoint, fmi3Float64 communicationStepSize,
                      fmi3Boolean noSetFMUStatePriorToCurrentPoint, fmi3Boolean* eventHandlingNeeded,
                      fmi3Boolean* terminateSimulation, fmi3Boolean* earlyReturn, fmi3Float64* lastSuccessfulTime)
{
    bool done;
    (void)noSetFMUStatePriorToCurrentPoint; /* nothing is kept of the past */
    if (instance == NULL || !fmu_allows(instance, "fmi3DoStep", MODE_STEP)) return fmi3Error;
    done = fmu_do_step(instance, "fmi3DoStep", currentCommunicationPoint, communicationStepSize);
    if (eventHandlingNeeded != NULL) *eventHandlingNeeded = false;
    if (terminateSimulation != NULL) *terminateSimulation = false;
    if (earlyReturn != NULL) *earlyReturn = false;
    if (lastSuccessfulTime != NULL) *lastSuccessfulTime = ((const fmu_t*)instance)->now.time;
    return fmu_status(done);
}

/* ---- what this model has not: structure that can change, derivatives, clocks, events, states in continuous time */

fmi3Status fmi3EnterEventMode(fmi3Instance instance)
{
    return fmu_lacks(instance, "fmi3EnterEventMode", "there is no Event Mode");
}

fmi3Status fmi3GetNumberOfVariableDependencies(fmi3Instance instance, fmi3ValueReference valueReference,
                                               size_t* nDependencies)
{
    (void)valueReference, (void)nDependencies;
    return fmu_lacks(instance, "fmi3GetNumberOfVariableDependencies", "dependencies are those of the description");
}

fmi3Status fmi3GetVariableDependencies(fmi3Instance instance, fmi3ValueReference dependent,
                                       size_t elementIndicesOfDependent[], fmi3ValueReference independents[],
                                       size_t elementIndicesOfIndependents[], fmi3DependencyKind dependencyKinds[],
                                       size_t nDependencies)
{
    (void)dependent, (void)elementIndicesOfDependent, (void)independents, (void)elementIndicesOfIndependents;
    (void)dependencyKinds, (void)nDependencies;
    return fmu_lacks(instance, "fmi3GetVariableDependencies", "dependencies are those of the description");
}

fmi3Status fmi3GetDirectionalDerivative(fmi3Instance instance, const fmi3ValueReference unknowns[], size_t nUnknowns,
                                        const fmi3ValueReference knowns[], size_t nKnowns, const fmi3Float64 seed[],
                                        size_t nSeed, fmi3Float64 sensitivity[], size_t nSensitivity)
{
    (void)unknowns, (void)nUnknowns, (void)knowns, (void)nKnowns, (void)seed, (void)nSeed, (void)sensitivity;
    (void)nSensitivity;
    return fmu_lacks(instance, "fmi3GetDirectionalDerivative", "there are no derivatives");
}

fmi3Status fmi3GetAdjointDerivative(fmi3Instance instance, const fmi3ValueReference unknowns[], size_t nUnknowns,
                                    const fmi3ValueReference knowns[], size_t nKnowns, const fmi3Float64 seed[],
                                    size_t nSeed, fmi3Float64 sensitivity[], size_t nSensitivity)
{
    (void)unknowns, (void)nUnknowns, (void)knowns, (void)nKnowns, (void)seed, (void)nSeed, (void)sensitivity;
    (void)nSensitivity;
    return fmu_lacks(instance, "fmi3GetAdjointDerivative", "there are no derivatives");
}

fmi3Status fmi3EnterConfigurationMode(fmi3Instance instance)
{
    return fmu_lacks(instance, "fmi3EnterConfigurationMode", "there is no structural parameter");
}

fmi3Status fmi3ExitConfigurationMode(fmi3Instance instance)
{
    return fmu_lacks(instance, "fmi3ExitConfigurationMode", "there is no structural parameter");
}

fmi3Status fmi3GetIntervalDecimal(fmi3Instance instance, const fmi3ValueReference valueReferences[],
                                  size_t nValueReferences, fmi3Float64 intervals[], fmi3IntervalQualifier qualifiers[])
{
    (void)valueReferences, (void)nValueReferences, (void)intervals, (void)qualifiers;
    return fmu_lacks(instance, "fmi3GetIntervalDecimal", "there are no clocks");
}

fmi3Status fmi3GetIntervalFraction(fmi3Instance instance, const fmi3ValueReference valueReferences[],
                                   size_t nValueReferences, fmi3UInt64 counters[], fmi3UInt64 resolutions[],
                                   fmi3IntervalQualifier qualifiers[])
{
    (void)valueReferences, (void)nValueReferences, (void)counters, (void)resolutions, (void)qualifiers;
    return fmu_lacks(instance, "fmi3GetIntervalFraction", "there are no clocks");
}

fmi3Status fmi3GetShiftDecimal(fmi3Instance instance, const fmi3ValueReference valueReferences[],
                               size_t nValueReferences, fmi3Float64 shifts[])
{
    (void)valueReferences, (void)nValueReferences, (void)shifts;
    return fmu_lacks(instance, "fmi3GetShiftDecimal", "there are no clocks");
}

fmi3Status fmi3GetShiftFraction(fmi3Instance instance, const fmi3ValueReference valueReferences[],
                                size_t nValueReferences, fmi3UInt64 counters[], fmi3UInt64 resolutions[])
{
    (void)valueReferences, (void)nValueReferences, (void)counters, (void)resolutions;
    return fmu_lacks(instance, "fmi3GetShiftFraction", "there are no clocks");
}

fmi3Status fmi3SetIntervalDecimal(fmi3Instance instance, const fmi3ValueReference valueReferences[],
                                  size_t nValueReferences, const fmi3Float64 intervals[])
{
    (void)valueReferences, (void)nValueReferences, (void)intervals;
    return fmu_lacks(instance, "fmi3SetIntervalDecimal", "there are no clocks");
}

fmi3Status fmi3SetIntervalFraction(fmi3Instance instance, const fmi3ValueReference valueReferences[],
                                   size_t nValueReferences, const fmi3UInt64 counters[],
                                   const fmi3UInt64 resolutions[])
{
    (void)valueReferences, (void)nValueReferences, (void)counters, (void)resolutions;
    return fmu_lacks(instance, "fmi3SetIntervalFraction", "there are no clocks");
}

fmi3Status fmi3SetShiftDecimal(fmi3Instance instance, const fmi3ValueReference valueReferences[],
                               size_t nValueReferences, const fmi3Float64 shifts[])
{
    (void)valueReferences, (void)nValueReferences, (void)shifts;
    return fmu_lacks(instance, "fmi3SetShiftDecimal", "there are no clocks");
}

fmi3Status fmi3SetShiftFraction(fmi3Instance instance, const fmi3ValueReference valueReferences[],
                                size_t nValueReferences, const fmi3UInt64 counters[], const fmi3UInt64 resolutions[])
{
    (void)valueReferences, (void)nValueReferences, (void)counters, (void)resolutions;
    return fmu_lacks(instance, "fmi3SetShiftFraction", "there are no clocks");
}

fmi3Status fmi3EvaluateDiscreteStates(fmi3Instance instance)
{
    return fmu_lacks(instance, "fmi3EvaluateDiscreteStates", "there is no Event Mode");
}

fmi3Status fmi3UpdateDiscreteStates(fmi3Instance instance, fmi3Boolean* discreteStatesNeedUpdate,
                                    fmi3Boolean* terminateSimulation, fmi3Boolean* nominalsOfContinuousStatesChanged,
                                    fmi3Boolean* valuesOfContinuousStatesChanged, fmi3Boolean* nextEventTimeDefined,
                                    fmi3Float64* nextEventTime)
{
    (void)discreteStatesNeedUpdate, (void)terminateSimulation, (void)nominalsOfContinuousStatesChanged;
    (void)valuesOfContinuousStatesChanged, (void)nextEventTimeDefined, (void)nextEventTime;
    return fmu_lacks(instance, "fmi3UpdateDiscreteStates", "there is no Event Mode");
}

fmi3Status fmi3EnterContinuousTimeMode(fmi3Instance instance)
{
    return fmu_lacks(instance, "fmi3EnterContinuousTimeMode", "for co-simulation only");
}

fmi3Status fmi3CompletedIntegratorStep(fmi3Instance instance, fmi3Boolean noSetFMUStatePriorToCurrentPoint,
                                       fmi3Boolean* enterEventMode, fmi3Boolean* terminateSimulation)
{
    (void)noSetFMUStatePriorToCurrentPoint, (void)enterEventMode, (void)terminateSimulation;
    return fmu_lacks(instance, "fmi3CompletedIntegratorStep", "for co-simulation only");
}

fmi3Status fmi3SetTime(fmi3Instance instance, fmi3Float64 time)
{
    (void)time;
    return fmu_lacks(instance, "fmi3SetTime", "for co-simulation only");
}

fmi3Status fmi3SetContinuousStates(fmi3Instance instance, const fmi3Float64 continuousStates[],
                                   size_t nContinuousStates)
{
    (void)continuousStates, (void)nContinuousStates;
    return fmu_lacks(instance, "fmi3SetContinuousStates", "for co-simulation only");
}

fmi3Status fmi3GetContinuousStateDerivatives(fmi3Instance instance, fmi3Float64 derivatives[],
                                             size_t nContinuousStates)
{
    (void)derivatives, (void)nContinuousStates;
    return fmu_lacks(instance, "fmi3GetContinuousStateDerivatives", "for co-simulation only");
}

fmi3Status fmi3GetEventIndicators(fmi3Instance instance, fmi3Float64 eventIndicators[], size_t nEventIndicators)
{
    (void)eventIndicators, (void)nEventIndicators;
    return fmu_lacks(instance, "fmi3GetEventIndicators", "for co-simulation only");
}

fmi3Status fmi3GetContinuousStates(fmi3Instance instance, fmi3Float64 continuousStates[], size_t nContinuousStates)
{
    (void)continuousStates, (void)nContinuousStates;
    return fmu_lacks(instance, "fmi3GetContinuousStates", "for co-simulation only");
}

fmi3Status fmi3GetNominalsOfContinuousStates(fmi3Instance instance, fmi3Float64 nominals[], size_t nContinuousStates)
{
    (void)nominals, (void)nContinuousStates;
    return fmu_lacks(instance, "fmi3GetNominalsOfContinuousStates", "for co-simulation only");
}

fmi3Status fmi3GetNumberOfEventIndicators(fmi3Instance instance, size_t* nEventIndicators)
{
    (void)nEventIndicators;
    return fmu_lacks(instance, "fmi3GetNumberOfEventIndicators", "for co-simulation only");
}

fmi3Status fmi3GetNumberOfContinuousStates(fmi3Instance instance, size_t* nContinuousStates)
{
    (void)nContinuousStates;
    return fmu_lacks(instance, "fmi3GetNumberOfContinuousStates", "for co-simulation only");
}

fmi3Status fmi3GetOutputDerivatives(fmi3Instance instance, const fmi3ValueReference valueReferences[],
                                    size_t nValueReferences, const fmi3Int32 orders[], fmi3Float64 values[],
                                    size_t nValues)
{
    (void)valueReferences, (void)nValueReferences, (void)orders, (void)values, (void)nValues;
    return fmu_lacks(instance, "fmi3GetOutputDerivatives", "outputs have no derivatives");
}

fmi3Status fmi3ActivateModelPartition(fmi3Instance instance, fmi3ValueReference clockReference,
                                      fmi3Float64 activationTime)
{
    (void)clockReference, (void)activationTime;
    return fmu_lacks(instance, "fmi3ActivateModelPartition", "there are no clocks");
}
