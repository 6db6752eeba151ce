# Compiles exact.c with warnings as errors and runs it: cmake -DCOMPILER= -DLANGUAGE= -DSTANDARD= -DSOURCE= -DINCLUDE=
# -DPROGRAM= -P exact.cmake
execute_process(COMMAND ${COMPILER} -x ${LANGUAGE} -std=${STANDARD} -O2 -ffp-contract=off -Wall -Wextra -Wpedantic
    -Wconversion -Wshadow -Wdouble-promotion -Werror -I${INCLUDE} ${SOURCE} -o ${PROGRAM} -lm RESULT_VARIABLE failed)
if (failed)
    message(FATAL_ERROR "${COMPILER} does not compile ${SOURCE} as ${STANDARD}")
endif ()
execute_process(COMMAND ${PROGRAM} RESULT_VARIABLE failed)
if (failed)
    message(FATAL_ERROR "line ${failed} of ${SOURCE} does not hold")
endif ()
