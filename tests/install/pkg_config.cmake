# Builds the host with one call of the compiler, with the flags that pkg-config gives for the installed tree, and runs it.
set(ENV{PKG_CONFIG_PATH} ${PREFIX}/${LIBDIR}/pkgconfig)
execute_process(COMMAND ${PKG_CONFIG} --cflags --libs blocks OUTPUT_VARIABLE package COMMAND_ERROR_IS_FATAL ANY)
separate_arguments(package UNIX_COMMAND "${package}")
execute_process(COMMAND ${CXX} -std=c++20 ${FLAGS} ${SOURCE}/host.cpp -o ${HOST} ${package} -Wl,-rpath,${PREFIX}/${LIBDIR}
    COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${HOST} ${SOURCE}/model.json COMMAND_ERROR_IS_FATAL ANY)
