/* Steps an FMU of version 3 that is linked in: drive TOKEN START STEP FIRST COUNT prints COUNT variables from the
 * reference FIRST on, as bits, at every point. On the way states are saved, written, read and set. */
#include "fmi3Functions.h"

#include <inttypes.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static void tell(fmi3InstanceEnvironment environment, fmi3Status status, fmi3String category, fmi3String message)
{
    (void)environment;
    fprintf(stderr, "%d %s: %s\n", (int)status, category, message);
}

static void require(fmi3Status status)
{
    if (status != fmi3OK) exit(1);
}

/* there and back again: nothing of it may be left behind */
static void save_and_restore(fmi3Instance one)
{
    fmi3FMUState state = NULL, again = NULL;
    size_t size = 0;
    fmi3Byte* bytes;
    require(fmi3GetFMUState(one, &state));
    require(fmi3GetFMUState(one, &state));
    require(fmi3SerializedFMUStateSize(one, state, &size));
    bytes = malloc(size);
    require(fmi3SerializeFMUState(one, state, bytes, size));
    require(fmi3DeserializeFMUState(one, bytes, size, &again));
    require(fmi3SetFMUState(one, again));
    require(fmi3FreeFMUState(one, &state));
    require(fmi3FreeFMUState(one, &again));
    free(bytes);
}

static void print(fmi3Instance one, fmi3ValueReference first, unsigned count)
{
    for (unsigned i = 0; i < count; ++i) {
        const fmi3ValueReference reference = first + i;
        fmi3Float64 value = 0;
        uint64_t bits;
        require(fmi3GetFloat64(one, &reference, 1, &value, 1));
        memcpy(&bits, &value, sizeof bits);
        printf("%016" PRIx64 "%c", bits, i + 1 < count ? ' ' : '\n');
    }
}

int main(int count, char** arguments)
{
    if (count != 6) return 2;
    const double start = atof(arguments[2]), size = atof(arguments[3]);
    const fmi3ValueReference first = (fmi3ValueReference)atoi(arguments[4]);
    const unsigned outputs = (unsigned)atoi(arguments[5]);
    if (fmi3InstantiateCoSimulation("x", "wrong", NULL, false, false, false, false, NULL, 0, NULL, NULL, NULL)) return 1;
    fmi3Instance one =
        fmi3InstantiateCoSimulation("x", arguments[1], NULL, false, false, false, false, NULL, 0, NULL, tell, NULL);
    if (one == NULL) return 1;
    require(fmi3EnterInitializationMode(one, false, 0, start, false, 0));
    require(fmi3ExitInitializationMode(one));
    print(one, first, outputs);
    double point = start;
    for (int i = 0; i < 500; ++i) {
        bool event, end, early;
        double last;
        require(fmi3DoStep(one, point, size, true, &event, &end, &early, &last));
        point = last;
        if (i % 100 == 50) save_and_restore(one);
        print(one, first, outputs);
    }
    require(fmi3Terminate(one));
    fmi3FreeInstance(one);
    return 0;
}
