// Running other programs from tests.
#pragma once

#include <string>

namespace tessel::test {

struct outcome_t {
    int status = -1;   ///< exit status, 128 and more for a signal
    std::string text;  ///< what was written to both outputs
};

/// Runs a command line.
outcome_t shell(const std::string& command);

/// Whether a program is there and answers --version.
bool has_program(const std::string& program);

}  // namespace tessel::test
