// Building and running generated projects with a C compiler and a Python interpreter.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/shell.h"

namespace tessel::test {

using values_t = std::vector<double>;

/// Whether the compiler and the interpreter are there.
bool has_builders();

/// Compiles the library of the C project in a folder.
outcome_t compile_c(const std::filesystem::path& project);

/// Compiles the C project with a program that clears the model, calls init and steps it at these times, and gives the
/// output of block 42 after each step. What goes wrong fails the test.
values_t run_c(const std::filesystem::path& project, const values_t& times);

/// Compiles the whole C project with the declarations that its headers lack, and runs it with these arguments.
outcome_t run_main_c(const std::filesystem::path& project, const std::string& arguments);

/// The same with a program of this body in place of the project's main, which has the names of main.c in view.
outcome_t run_body_c(const std::filesystem::path& project, const std::string& body);

/// Parses the model of the Python project in a folder.
outcome_t parse_py(const std::filesystem::path& project);

/// Imports the model, makes it and steps it at these times; prints the output of block 42 after each, if it has one.
outcome_t try_py(const std::filesystem::path& project, const values_t& times);

/// The same as numbers. What goes wrong fails the test.
values_t run_py(const std::filesystem::path& project, const values_t& times);

/// Runs a program of the Python project.
outcome_t run_script(const std::filesystem::path& project, const std::string& command_line);

}  // namespace tessel::test
