// The process that executes what is written in a model: evaluates its expressions, and runs it. The service starts it
// when somebody has agreed to that, and outlives whatever happens in it.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "core/python.h"
#include "host/serve/runner.h"

namespace zarn::serve {

struct worker_setup_t {
    /// Makes a workspace and runs scripts in it. Raises `SessionError` and `std::runtime_error`.
    std::function<std::shared_ptr<python::IPythonWrap>(const std::string& model,
                                                       const std::vector<std::string>& scripts)>
        make_workspace;
    Runner::guard_t guard;
};

/// Answers requests on standard input until it ends. What else is written to standard output goes to standard error.
void work(const worker_setup_t& setup);

}  // namespace zarn::serve
