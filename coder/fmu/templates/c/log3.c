
/* ---- the importer's log */

#define LOG_ERROR_NAME "logStatusError"
#define LOG_CALL_NAME "logCalls"

typedef enum { LOG_ERROR, LOG_CALL } fmu_level_t;

typedef struct {
    fmi3LogMessageCallback logger;
    fmi3InstanceEnvironment environment;
} fmu_log_t;

static void fmu_log(const fmu_log_t* log, const char* name, fmu_level_t level, const char* text)
{
    (void)name; /* the environment tells the instance */
    if (log->logger == NULL) return;
    log->logger(log->environment, level == LOG_ERROR ? fmi3Error : fmi3OK,
                level == LOG_CALL ? LOG_CALL_NAME : LOG_ERROR_NAME, text);
}
