// The processor's divide fault in a step.
#pragma once

#include <csignal>
#include <string>
#include <vector>

#include "IExecModel.h"
#include "IMetaModel.h"

namespace zarn {

/// While it is alive, a divide fault ends the process with a message that names the block being stepped, and status 1.
/// `json`: standard output gets the message as a JSON object.
class FaultGuard {
public:
    FaultGuard(const std::string& model_name, tessel::IMetaModel& model, tessel::IExecModel& exec, bool json = false);
    FaultGuard(const FaultGuard&) = delete;
    FaultGuard& operator=(const FaultGuard&) = delete;
    ~FaultGuard();

    /// Whether a fault would be traced to its block by the cells of the objects, which the run must keep for that.
    bool looks_at_cells() const noexcept;

    /// A block that can fault.
    struct suspect_t {
        tessel::ExecBlock* object;
        std::string shown;
        bool divides;  ///< else it draws random numbers
    };

private:
    struct sigaction before_ {};
};

}  // namespace zarn
