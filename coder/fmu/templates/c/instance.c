
/* ---- an instance: the model, where it stands in time, and what the importer may call now */

typedef enum { MODE_INSTANTIATED = 1, MODE_INITIALIZATION = 2, MODE_STEP = 4, MODE_TERMINATED = 8 } fmu_mode_t;
enum { MODE_READABLE = MODE_INITIALIZATION | MODE_STEP | MODE_TERMINATED, MODE_ANY = 15 };

/* all that changes while an instance lives: what a saved state holds */
typedef struct {
    fmu_mode_t mode;
    bool has_start; /* whether the experiment has been told */
    bool has_stop;
    bool is_set; /* whether something was set since the last step: values cannot be read until the next */
    double start, stop;
    double time; /* of the communication point */
    fmu_model_t model;
} fmu_state_t;

typedef struct {
    fmu_state_t now;
    fmu_model_t shown;  /* in Initialization Mode the model behind a trial of its first step: what the outputs show */
    bool is_shown;  /* whether it is that of what is set now */
    bool tells_all; /* whether calls that change the mode are logged */
    fmu_log_t log;
    char name[]; /* of the instance */
} fmu_t;

/* tells why a call is refused; nothing has changed then */
static bool fmu_refuse(const fmu_t* fmu, const char* call, const char* format, ...)
{
    char reason[512];
    char text[640];
    va_list arguments;
    va_start(arguments, format);
    (void)vsnprintf(reason, sizeof reason, format, arguments);
    va_end(arguments);
    (void)snprintf(text, sizeof text, "%s: %s", call, reason);
    fmu_log(&fmu->log, fmu->name, LOG_ERROR, text);
    return false;
}

static const char* fmu_mode_name(fmu_mode_t mode)
{
    switch (mode) {
        case MODE_INSTANTIATED: return "before Initialization Mode";
        case MODE_INITIALIZATION: return "in Initialization Mode";
        case MODE_STEP: return "between steps";
        default: return "once terminated";
    }
}

static bool fmu_allows(const fmu_t* fmu, const char* call, unsigned modes)
{
    if (((unsigned)fmu->now.mode & modes) != 0u) return true;
    return fmu_refuse(fmu, call, "not allowed %s", fmu_mode_name(fmu->now.mode));
}

static void fmu_enter(fmu_t* fmu, fmu_mode_t mode)
{
    fmu->now.mode = mode;
    fmu->now.is_set = false;
    fmu->is_shown = false;
    if (fmu->tells_all) {
        char text[64];
        (void)snprintf(text, sizeof text, "%s at t = %.17g", fmu_mode_name(mode), fmu->now.time);
        fmu_log(&fmu->log, fmu->name, LOG_CALL, text);
    }
}

/* as it is right after the instantiation */
static void fmu_restart(fmu_t* fmu)
{
    memset(&fmu->now, 0, sizeof fmu->now);
    fmu_model_init(&fmu->now.model);
    fmu->now.start = START_TIME;
    fmu->now.time = START_TIME;
    fmu->now.mode = MODE_INSTANTIATED;
    fmu->is_shown = false;
}

static fmu_t* fmu_create(const char* call, const char* name, const char* token, bool tells_all, fmu_log_t log)
{
    const char* const known = name != NULL ? name : "";
    fmu_t* fmu = NULL;
    char text[256];
    if (known[0] == '\0') {
        (void)snprintf(text, sizeof text, "%s: the instance has no name", call);
    } else if (token == NULL || strcmp(token, TOKEN) != 0) {
        (void)snprintf(text, sizeof text, "%s: the token is \"%.64s\", that of this model is \"%s\"", call,
                       token != NULL ? token : "", TOKEN);
    } else {
        fmu = calloc(1, sizeof *fmu + strlen(known) + 1);
        if (fmu == NULL) (void)snprintf(text, sizeof text, "%s: not enough memory", call);
    }
    if (fmu == NULL) {
        fmu_log(&log, known, LOG_ERROR, text);
        return NULL;
    }
    memcpy(fmu->name, known, strlen(known));
    fmu->log = log;
    fmu->tells_all = tells_all;
    fmu_restart(fmu);
    return fmu;
}

static bool fmu_set_logging(fmu_t* fmu, const char* call, bool on, size_t count, const char* const categories[])
{
    bool calls = count == 0; /* all of them */
    size_t i;
    if (count > 0 && categories == NULL) return fmu_refuse(fmu, call, "no categories are given");
    for (i = 0; i < count; ++i) {
        const char* const category = categories[i] != NULL ? categories[i] : "";
        if (strcmp(category, LOG_CALL_NAME) == 0) calls = true;
        else if (strcmp(category, LOG_ERROR_NAME) != 0)
            return fmu_refuse(fmu, call, "there is no category \"%.64s\"", category);
    }
    if (calls) fmu->tells_all = on;
    return true;
}

/* ---- the course of a simulation */

static bool fmu_is_number(double value) { return value - value == 0.0; }

static bool fmu_set_experiment(fmu_t* fmu, const char* call, double start, bool has_stop, double stop)
{
    if (!fmu_is_number(start)) return fmu_refuse(fmu, call, "the start time is not a number");
    if (has_stop && !(stop >= start)) return fmu_refuse(fmu, call, "the stop time is before the start time");
    fmu->now.has_start = true;
    fmu->now.has_stop = has_stop;
    fmu->now.start = start;
    fmu->now.stop = has_stop ? stop : 0.0;
    fmu->now.time = start;
    return true;
}

static void fmu_enter_initialization(fmu_t* fmu)
{
    fmu_model_start_at(&fmu->now.model, fmu->now.start);
    fmu_enter(fmu, MODE_INITIALIZATION);
}

/* The model whose values can be read. In Initialization Mode outputs follow what is set at once: a first step is taken
   for trial, of a copy. */
static const fmu_model_t* fmu_shown(fmu_t* fmu)
{
    if (fmu->now.mode != MODE_INITIALIZATION) return &fmu->now.model;
    if (!fmu->is_shown) {
        fmu->shown = fmu->now.model;
        fmu_model_step(&fmu->shown);
        fmu->is_shown = true;
    }
    return &fmu->shown;
}

/* with it the first step is taken: the one at the start time */
static void fmu_exit_initialization(fmu_t* fmu)
{
    fmu->now.model = *fmu_shown(fmu);
    fmu_enter(fmu, MODE_STEP);
}

/* so many steps of the model as the communication step holds; 0 where it holds no whole number of them */
static uint32_t fmu_steps_of(double step, double tolerance)
{
    const double count = floor(step / INTERNAL_STEP + 0.5);
    if (!(count >= 1.0 && count <= 4294967295.0)) return 0;
    return fabs(count * INTERNAL_STEP - step) <= tolerance ? (uint32_t)count : 0;
}

static bool fmu_do_step(fmu_t* fmu, const char* call, double point, double step)
{
    /* what rounding leaves open where an importer adds steps up, or takes them from differences of times */
    const double tolerance = 1e-9 * fabs(step) + 8.0 * DBL_EPSILON * (fabs(point) + fabs(step));
    const double end = point + step;
    uint32_t count;
    if (!fmu_is_number(end) || !(step > 0.0))
        return fmu_refuse(fmu, call, "a communication step of %.17g at %.17g leads nowhere", step, point);
    if (!(fabs(point - fmu->now.time) <= tolerance))
        return fmu_refuse(fmu, call, "the communication point is %.17g, the instance stands at %.17g", point,
                          fmu->now.time);
    count = fmu_steps_of(step, tolerance);
    if (count == 0)
        return fmu_refuse(fmu, call, "a communication step of %.17g is no integer multiple of the model's step, %.17g",
                          step, INTERNAL_STEP);
    if (fmu->now.has_stop && end > fmu->now.stop + 0.5 * INTERNAL_STEP)
        return fmu_refuse(fmu, call, "the step leads to %.17g, beyond the stop time %.17g", end, fmu->now.stop);
    for (; count > 0; --count) fmu_model_step(&fmu->now.model);
    fmu->now.time = end;
    fmu->now.is_set = false;
    return true;
}

/* ---- variables */

typedef struct {
    fmu_t* fmu;
    const char* call;
} fmu_call_t;

/* the variable of a reference, null where it is refused */
static const fmu_variable_t* fmu_find(fmu_call_t in, uint32_t reference)
{
    if (reference < VARIABLE_COUNT) return &fmu_variables[reference];
    (void)fmu_refuse(in.fmu, in.call, "there is no variable %lu", (unsigned long)reference);
    return NULL;
}

static bool fmu_wrong_type(fmu_call_t in, uint32_t reference)
{
    return fmu_refuse(in.fmu, in.call, "variable %lu is of another type", (unsigned long)reference);
}

static bool fmu_can_get(fmu_call_t in)
{
    if (!fmu_allows(in.fmu, in.call, MODE_READABLE)) return false;
    if (!in.fmu->now.is_set) return true;
    return fmu_refuse(in.fmu, in.call, "values were set, and show in no other before the next step");
}

static bool fmu_can_set(fmu_call_t in, const fmu_variable_t* variable, uint32_t reference)
{
    if (variable->role == ROLE_INPUT || variable->role == ROLE_PARAMETER) return true;
    return fmu_refuse(in.fmu, in.call, "variable %lu can only be read", (unsigned long)reference);
}

static bool fmu_can_set_now(fmu_call_t in)
{
    return fmu_allows(in.fmu, in.call, MODE_INSTANTIATED | MODE_INITIALIZATION | MODE_STEP);
}

/* to be called once all values are stored */
static void fmu_was_set(fmu_t* fmu)
{
    fmu->is_shown = false;
    fmu->now.is_set = fmu->now.mode == MODE_STEP;
}

static const unsigned char* fmu_value(fmu_t* fmu, const fmu_variable_t* variable)
{
    if (variable->role == ROLE_TIME) return (const unsigned char*)&fmu->now.time;
    return (const unsigned char*)fmu_shown(fmu) + variable->offset;
}

static unsigned char* fmu_place(fmu_t* fmu, const fmu_variable_t* variable)
{
    return (unsigned char*)&fmu->now.model + variable->offset;
}

/* ---- saved states: copies of what changes, and their bytes behind a head that tells what they are */

typedef struct {
    char token[sizeof TOKEN];
    uint32_t order; /* of bytes in a number */
    uint64_t size;
    uint64_t sum;
} fmu_head_t;

static uint64_t fmu_sum(const unsigned char* bytes, size_t size)
{
    uint64_t sum = 14695981039346656037u;
    size_t i;
    for (i = 0; i < size; ++i) sum = (sum ^ bytes[i]) * 1099511628211u;
    return sum;
}

static void fmu_make_head(fmu_head_t* head, const unsigned char* bytes)
{
    memset(head, 0, sizeof *head);
    memcpy(head->token, TOKEN, sizeof TOKEN);
    head->order = 0x01020304u;
    head->size = sizeof(fmu_state_t);
    head->sum = fmu_sum(bytes, sizeof(fmu_state_t));
}

static fmu_state_t* fmu_new_state(const fmu_t* fmu, const char* call)
{
    fmu_state_t* const state = calloc(1, sizeof *state);
    if (state == NULL) (void)fmu_refuse(fmu, call, "not enough memory");
    return state;
}

/* a state at *kept is written over */
static bool fmu_get_state(const fmu_t* fmu, const char* call, void** kept)
{
    if (kept == NULL) return fmu_refuse(fmu, call, "there is no place for the state");
    if (*kept == NULL) *kept = fmu_new_state(fmu, call);
    if (*kept == NULL) return false;
    memcpy(*kept, &fmu->now, sizeof fmu->now);
    return true;
}

static bool fmu_set_state(fmu_t* fmu, const char* call, const void* kept)
{
    if (kept == NULL) return fmu_refuse(fmu, call, "there is no state");
    memcpy(&fmu->now, kept, sizeof fmu->now);
    fmu->is_shown = false;
    return true;
}

static void fmu_free_state(void** kept)
{
    if (kept == NULL) return;
    free(*kept);
    *kept = NULL;
}

static bool fmu_size_of_state(const fmu_t* fmu, const char* call, const void* kept, size_t* size)
{
    if (kept == NULL || size == NULL) return fmu_refuse(fmu, call, "there is no state");
    *size = sizeof(fmu_head_t) + sizeof(fmu_state_t);
    return true;
}

static bool fmu_write_state(const fmu_t* fmu, const char* call, const void* kept, void* bytes, size_t size)
{
    fmu_head_t head;
    if (kept == NULL || bytes == NULL) return fmu_refuse(fmu, call, "there is no state");
    if (size < sizeof(fmu_head_t) + sizeof(fmu_state_t))
        return fmu_refuse(fmu, call, "%lu bytes are too few for the state", (unsigned long)size);
    fmu_make_head(&head, kept);
    memcpy(bytes, &head, sizeof head);
    memcpy((unsigned char*)bytes + sizeof head, kept, sizeof(fmu_state_t));
    return true;
}

static bool fmu_read_state(const fmu_t* fmu, const char* call, const void* bytes, size_t size, void** kept)
{
    fmu_head_t head;
    const unsigned char* payload;
    if (bytes == NULL || kept == NULL) return fmu_refuse(fmu, call, "there is no state");
    if (size != sizeof(fmu_head_t) + sizeof(fmu_state_t))
        return fmu_refuse(fmu, call, "%lu bytes are no state of this model", (unsigned long)size);
    payload = (const unsigned char*)bytes + sizeof head;
    fmu_make_head(&head, payload);
    if (memcmp(&head, bytes, sizeof head) != 0)
        return fmu_refuse(fmu, call, "the bytes are no state of this model, or were changed");
    *kept = fmu_new_state(fmu, call);
    if (*kept == NULL) return false;
    memcpy(*kept, payload, sizeof(fmu_state_t));
    return true;
}
