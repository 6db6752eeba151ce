// How a program is built.

#include "coder/exact/project.h"
#include "core/str.h"

namespace tessel::exact {
namespace {

constexpr std::string_view text_of_makefile =
    R"(# Builds @N@. `make test` compares it with the values of a run, `make report` tells its sizes.
CC ?= cc
CFLAGS ?= -O2
EXACT = -std=c99 @flags@

all: @N@_main @N@_test

%.o: %.c @N@.h
	$(CC) $(EXACT) $(CFLAGS) -c -o $@ $<

@N@_main: @N@_main.o @N@.o
	$(CC) $(LDFLAGS) -o $@ @N@_main.o @N@.o -lm

@N@_test: @N@_test.o @N@.o
	$(CC) $(LDFLAGS) -o $@ @N@_test.o @N@.o -lm

test: @N@_test
	./@N@_test

report: @N@_test
	$(CC) $(EXACT) $(CFLAGS) -fstack-usage -c -o @N@.o @N@.c
	@echo "stack, in bytes:" && cat @N@.su
	@echo "code and constants, in bytes:" && size @N@.o
	@./@N@_test --size

clean:
	rm -f *.o *.su @N@_main @N@_test

.PHONY: all test report clean
)";

constexpr std::string_view text_of_cmake = R"(cmake_minimum_required(VERSION 3.10)
project(@N@ C)

add_library(@N@ STATIC @N@.c)
target_include_directories(@N@ PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
set_target_properties(@N@ PROPERTIES C_STANDARD 99 C_STANDARD_REQUIRED ON C_EXTENSIONS OFF)
target_compile_options(@N@ PRIVATE @flags@)
if (UNIX)
    target_link_libraries(@N@ PUBLIC m)
endif ()

enable_testing()
foreach (program main test)
    add_executable(@N@_${program} @N@_${program}.c)
    set_target_properties(@N@_${program} PROPERTIES C_STANDARD 99 C_STANDARD_REQUIRED ON)
    target_link_libraries(@N@_${program} PRIVATE @N@)
endforeach ()
add_test(NAME @N@ COMMAND @N@_test)
)";

std::string filled(std::string_view pattern, const unit_t& unit) {
    std::string text(pattern);
    str::replace_all(text, "@flags@", compiler_flags);
    str::replace_all(text, "@N@", unit.name);
    return text;
}

}  // namespace

std::vector<text_file_t> write_build(const unit_t& unit) {
    return {{"Makefile", filled(text_of_makefile, unit)}, {"CMakeLists.txt", filled(text_of_cmake, unit)}};
}

}  // namespace tessel::exact
