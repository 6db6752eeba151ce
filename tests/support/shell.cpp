#include "tests/support/shell.h"

#include <sys/wait.h>

#include <cstdio>

namespace tessel::test {

outcome_t shell(const std::string& command) {
    outcome_t outcome;
    std::FILE* pipe = ::popen(("{ " + command + "; } 2>&1").c_str(), "r");
    if (pipe == nullptr) return outcome;
    char buffer[4096];
    while (const auto n = std::fread(buffer, 1, sizeof buffer, pipe)) outcome.text.append(buffer, n);
    const int status = ::pclose(pipe);
    outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return outcome;
}

bool has_program(const std::string& program) { return shell(program + " --version").status == 0; }

}  // namespace tessel::test
