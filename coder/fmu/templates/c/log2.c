
/* ---- the importer's log */

#define LOG_ERROR_NAME "logStatusError"
#define LOG_CALL_NAME "logCalls"

typedef enum { LOG_ERROR, LOG_DISCARD, LOG_CALL } fmu_level_t;

typedef struct {
    fmi2CallbackLogger logger;
    fmi2ComponentEnvironment environment;
} fmu_log_t;

static void fmu_log(const fmu_log_t* log, const char* name, fmu_level_t level, const char* text)
{
    const fmi2Status status = level == LOG_ERROR ? fmi2Error : level == LOG_DISCARD ? fmi2Discard : fmi2OK;
    if (log->logger == NULL) return;
    log->logger(log->environment, name, status, level == LOG_CALL ? LOG_CALL_NAME : LOG_ERROR_NAME, "%s", text);
}
