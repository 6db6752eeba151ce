# The install tree: the library with its headers, CMake package and pkg-config file (component "blocks"), and the command
# with the package that workspaces import (component "zarn").
include(CMakePackageConfigHelpers)
include(GNUInstallDirs)

# ---- library
install(TARGETS blocks EXPORT blocksTargets COMPONENT blocks
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} NAMELINK_COMPONENT blocks)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/blocks COMPONENT blocks
    FILES_MATCHING PATTERN "*.h")
# format_fmt.h stays: with it a host would need the formatting library in the version that this one was built with
set(core_headers convert exact export file format hash id_index large_array literal_bridge log num python result str thread_pool type var)
list(TRANSFORM core_headers PREPEND ${PROJECT_SOURCE_DIR}/core/)
list(TRANSFORM core_headers APPEND .h)
install(FILES ${core_headers} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/blocks/core COMPONENT blocks)

# ---- CMake package
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/blocks)
install(EXPORT blocksTargets NAMESPACE blocks:: DESTINATION ${package_dir} COMPONENT blocks)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/blocksConfig.cmake.in ${PROJECT_BINARY_DIR}/blocksConfig.cmake
    INSTALL_DESTINATION ${package_dir} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/blocksConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/blocksConfig.cmake ${PROJECT_BINARY_DIR}/blocksConfigVersion.cmake
    DESTINATION ${package_dir} COMPONENT blocks)

# ---- pkg-config, with paths relative to the file, so that the tree can be moved
file(RELATIVE_PATH blocks_pc_prefix /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
configure_file(${PROJECT_SOURCE_DIR}/cmake/blocks.pc.in ${PROJECT_BINARY_DIR}/blocks.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/blocks.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT blocks)

# ---- command
if (TARGET zarn)
    install(TARGETS zarn RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT zarn)
    install(DIRECTORY ${PROJECT_SOURCE_DIR}/python DESTINATION ${CMAKE_INSTALL_DATADIR}/zarn COMPONENT zarn
        FILES_MATCHING PATTERN "*.py")
    # the page of the studio, when it has been built
    install(DIRECTORY ${PROJECT_SOURCE_DIR}/studio/dist/ DESTINATION ${CMAKE_INSTALL_DATADIR}/zarn/studio COMPONENT zarn OPTIONAL)
    foreach (pages man bash-completion zsh fish)
        install(DIRECTORY ${PROJECT_BINARY_DIR}/share/${pages} DESTINATION ${CMAKE_INSTALL_DATADIR} COMPONENT zarn)
    endforeach ()
endif ()

# ---- package of Python (component "python"): where Debian's interpreter looks below the usual prefixes
if (TARGET zarn_core)
    set(Python3_EXECUTABLE /usr/bin/python3)
    find_package(Python3 REQUIRED COMPONENTS Interpreter)
    if (CMAKE_INSTALL_PREFIX MATCHES "^/usr(/local)?/?$")
        set(site dist-packages)
    else ()
        set(site site-packages)
    endif ()
    set(BLOCKS_PYTHON_DIR lib/python${Python3_VERSION_MAJOR}.${Python3_VERSION_MINOR}/${site}
        CACHE STRING "Where the package zarn is installed, below the prefix")
    # the library lies beside the module in a wheel, and where it is installed otherwise; the command's own copy of the
    # package is one level less deep
    set_target_properties(zarn_core PROPERTIES
        INSTALL_RPATH "$ORIGIN;$ORIGIN/../../..;$ORIGIN/../../../../${CMAKE_INSTALL_LIBDIR};${CMAKE_INSTALL_FULL_LIBDIR}")
    foreach (place ${BLOCKS_PYTHON_DIR}/zarn ${CMAKE_INSTALL_DATADIR}/zarn/python/zarn)
        if (place MATCHES "^${CMAKE_INSTALL_DATADIR}")
            set(component zarn)
        else ()
            set(component python)
            install(DIRECTORY ${PROJECT_SOURCE_DIR}/python/zarn/ DESTINATION ${place} COMPONENT python
                FILES_MATCHING PATTERN "*.py" PATTERN "*.pyi" PATTERN "py.typed")
        endif ()
        install(TARGETS zarn_core LIBRARY DESTINATION ${place} COMPONENT ${component})
    endforeach ()
endif ()
