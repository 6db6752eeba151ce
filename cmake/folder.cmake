# blocks_folder(NAME [INTERFACE] DEPENDS ...): the object library of one folder.
#
# Each folder's headers are reached through a directory of their own in the build tree, so that an include of a folder
# that is not among DEPENDS finds no file and does not compile.
function(blocks_folder name)
    cmake_parse_arguments(arg "INTERFACE" "" "DEPENDS" ${ARGN})
    set(target blocks_${name})
    set(root ${PROJECT_BINARY_DIR}/roots/${name})
    if (name STREQUAL "include")
        set(root ${PROJECT_SOURCE_DIR}/include)
    else ()
        file(MAKE_DIRECTORY ${root})
        file(CREATE_LINK ${PROJECT_SOURCE_DIR}/${name} ${root}/${name} SYMBOLIC)
    endif ()

    if (arg_INTERFACE)
        add_library(${target} INTERFACE)
        set(scope INTERFACE)
    else ()
        add_library(${target} OBJECT)
        set(scope PUBLIC)
        add_subdirectory(${PROJECT_SOURCE_DIR}/${name})
        blocks_options(${target})
        blocks_coverage(${target})
        set_target_properties(${target} PROPERTIES POSITION_INDEPENDENT_CODE ON)
        target_compile_definitions(${target} PRIVATE BLOCKS_COMPILE)
    endif ()
    target_include_directories(${target} ${scope} ${root})
    target_compile_features(${target} ${scope} cxx_std_20)
    target_link_libraries(${target} ${scope} nlohmann_json::nlohmann_json)
    target_include_directories(${target} SYSTEM ${scope} $<TARGET_PROPERTY:fmt::fmt,INTERFACE_INCLUDE_DIRECTORIES>)
    foreach (other IN LISTS arg_DEPENDS)
        target_link_libraries(${target} ${scope} blocks_${other})
    endforeach ()
endfunction()

# Warnings, visibility and exact floating point for a target of this project.
function(blocks_options target)
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wconversion -Wshadow -ffp-contract=off)
    # sorting a table of 1,331 combinations takes more than clang grants a constant expression
    target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:Clang>:-fconstexpr-steps=16777216>)
    set_target_properties(${target} PROPERTIES CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
    if (BLOCKS_SANITIZE)
        target_compile_options(${target} PRIVATE -fsanitize=${BLOCKS_SANITIZE} -fno-omit-frame-pointer)
        if (BLOCKS_SANITIZE MATCHES "undefined")
            # "vptr" needs the type records that the block classes are built without
            target_compile_options(${target} PRIVATE -fno-sanitize-recover=undefined -fno-sanitize=vptr)
        endif ()
    endif ()
endfunction()

# Counts what runs of a target. The tests of a folder as well: of an inline function of the library the linker keeps one
# copy, and that can be theirs.
function(blocks_coverage target)
    if (BLOCKS_COVERAGE)
        target_compile_options(${target} PRIVATE -fprofile-instr-generate -fcoverage-mapping)
    endif ()
endfunction()

# Sanitized builds of a folder with thousands of instances: a check finds as much in code that is not optimized, which
# compiles four times as fast, and the checks left out find nothing here that "address" does not.
function(blocks_many_instances target)
    if (BLOCKS_SANITIZE)
        target_compile_options(${target} PRIVATE -O0)
    endif ()
    if (BLOCKS_SANITIZE MATCHES "undefined")
        target_compile_options(${target} PRIVATE -fno-sanitize=null,alignment,object-size)
    endif ()
endfunction()

# Headers of libraries that take longer to read than the sources of the target, read once. Sources with options of their
# own must be left out (SKIP_PRECOMPILE_HEADERS).
function(blocks_precompile target)
    if (CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND NOT BLOCKS_SANITIZE)
        target_precompile_headers(${target} PRIVATE ${ARGN})
        target_compile_options(${target} PRIVATE -fpch-preprocess)  # for the compiler cache
    endif ()
endfunction()

# Sources of which half the time goes into the same templates of the JSON library are compiled six at a time: a release is
# built in half the time. Names of unnamed namespaces must differ within such a target.
function(blocks_together target)
    if (CMAKE_BUILD_TYPE STREQUAL "Release")
        set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 6)
    endif ()
endfunction()

# GCC 12 sees an overlapping copy in `"text" + std::string` that is none (its bug 105651).
function(blocks_no_false_overlap target)
    target_compile_options(${target} PRIVATE
        $<$<AND:$<CXX_COMPILER_ID:GNU>,$<VERSION_LESS:$<CXX_COMPILER_VERSION>,13>>:-Wno-restrict>)
endfunction()

if (BLOCKS_SANITIZE)
    add_link_options(-fsanitize=${BLOCKS_SANITIZE})
endif ()
if (BLOCKS_COVERAGE)
    add_link_options(-fprofile-instr-generate)
endif ()
# the library tells the fuzzer where an input has led
if (BLOCKS_FUZZ)
    add_compile_options(-fsanitize=fuzzer-no-link)
    add_link_options(-fsanitize=fuzzer-no-link)
endif ()

# blocks_add_sliced(TARGET NAME): NAME.cpp once for each of the eleven value types, with BLOCKS_SLICE telling which.
# Spreads files with thousands of instances over processes that stay small.
function(blocks_add_sliced target name)
    foreach (slice RANGE 10)
        set(stub ${CMAKE_CURRENT_BINARY_DIR}/${name}.${slice}.cpp)
        file(CONFIGURE OUTPUT ${stub} CONTENT
            "#define BLOCKS_SLICE ${slice}\n#include \"${CMAKE_CURRENT_SOURCE_DIR}/${name}.cpp\"\n")
        target_sources(${target} PRIVATE ${stub})
    endforeach ()
endfunction()

# blocks_embed(TARGET HEADER files...): the files, byte for byte, as constants that HEADER declares; see embed.cmake.
function(blocks_embed target header)
    set(output ${CMAKE_CURRENT_BINARY_DIR}/${target}_texts.cpp)
    set(script ${PROJECT_SOURCE_DIR}/cmake/embed.cmake)
    list(TRANSFORM ARGN PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/templates/ OUTPUT_VARIABLE inputs)
    add_custom_command(OUTPUT ${output}
        COMMAND ${CMAKE_COMMAND} -DOUTPUT=${output} -DHEADER=${header} -DROOT=${CMAKE_CURRENT_SOURCE_DIR}/templates
                "-DFILES=${ARGN}" -P ${script}
        DEPENDS ${script} ${inputs} VERBATIM)
    # the target stands in another directory, where the rule above is not seen: a target of this one carries it
    add_custom_target(${target}_texts DEPENDS ${output})
    add_dependencies(${target} ${target}_texts)
    target_sources(${target} PRIVATE ${output})
endfunction()
