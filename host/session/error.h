// What ends an operation on a model.
#pragma once

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "core/result.h"
#include "host/diagnose/diagnose.h"

namespace zarn {

/// Exit statuses of the command.
enum status_t : int {
    status_ok = 0,
    status_model = 1,         ///< the model, or a file, has a problem
    status_usage = 2,         ///< wrong use
    status_interrupted = 130  ///< ended by the user
};

/// Whose problem it is.
enum class problem_t {
    usage,        ///< what was asked for makes no sense, or not here
    model,        ///< the model is not in order; the findings, if any, say where
    file,         ///< a file cannot be read or written
    workspace,    ///< code of the workspace failed
    interrupted,  ///< the user has ended it
};

/// Ends an operation of a session. The text is one line for the user and names the file or the option; findings that
/// led to it are not repeated in it.
class SessionError : public std::runtime_error {
public:
    SessionError(problem_t kind, const std::string& text, std::vector<finding_t> findings = {},
                 tessel::result_t result = tessel::result_failure)
        : std::runtime_error(text), kind_(kind), findings_(std::move(findings)), result_(result) {}

    problem_t kind() const noexcept { return kind_; }
    const std::vector<finding_t>& findings() const noexcept { return findings_; }
    /// What the library came to, where it was asked.
    tessel::result_t result() const noexcept { return result_; }
    status_t status() const noexcept {
        switch (kind_) {
            case problem_t::usage: return status_usage;
            case problem_t::interrupted: return status_interrupted;
            default: return status_model;
        }
    }

private:
    problem_t kind_;
    std::vector<finding_t> findings_;
    tessel::result_t result_;
};

}  // namespace zarn
