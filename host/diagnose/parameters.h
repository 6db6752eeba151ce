// Parameters: expressions that the bridge refused, and values that no block can work with.
#pragma once

#include <memory>

#include "host/diagnose/evaluation.h"
#include "host/diagnose/report.h"

namespace zarn {

/// Looks at the parameters of one block after the other, each as soon as its questions are answered, so that the
/// answers for a large model need not be kept.
class ParameterChecks {
public:
    ParameterChecks(const graph_t& graph, Report& report, const check_options_t& options);
    ParameterChecks(const ParameterChecks&) = delete;
    ParameterChecks& operator=(const ParameterChecks&) = delete;
    ~ParameterChecks();

    void operator()(std::size_t position, evaluations_t evaluations, tessel::result_t result) const;
    /// Tells, when all blocks were looked at, what may be fine with another workspace.
    void tell_waiting() const;

private:
    class Checks;
    std::unique_ptr<Checks> checks_;
};

}  // namespace zarn
