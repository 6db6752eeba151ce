// The ways of running a model inside this process.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "host/session/session.h"
#include "host/verify/way.h"

namespace zarn::verify {

/// What the host of a verification does around its runs.
struct around_t {
    /// Held during a run of the model, such as a handler of processor faults; may be empty.
    std::function<std::shared_ptr<void>(tessel::IExecModel&)> guard;
    /// Whether the user wants an end; may be empty.
    std::function<bool()> interrupted;
    /// Loads and compiles the session's model anew, telling what there is to tell.
    std::function<void()> prepare;
};

/// How a run inside the process steps.
struct recipe_t {
    std::string name;
    tessel::engine_t engine = tessel::engine_t::plan;
    bool load = false;     ///< the model anew before each run
    int runs = 1;          ///< of the same objects, one behind the other; the trace covers all of them
    unsigned threads = 0;  ///< 0: the path that the run chooses; else the parallel one with so many
    bool watched = true;   ///< else nobody looks into the run, and the cells behind it alone are compared
};

/// The blocks that a run is fed at: root inports, in stepping order. Every way feeds them the values of `trace_input`.
std::vector<std::uint64_t> fed_blocks(const Session& session, tessel::IExecModel& exec);

/// The ports of a runnable model: of each block in stepping order the inputs, then the outputs.
std::vector<watched_t> ports_of(const Session& session, tessel::IExecModel& exec);

/// A way inside the process, of a session whose model is compiled. `shows` lists the ports, null for all; only for a
/// watched way.
std::unique_ptr<Way> in_process(Session& session, const around_t& around, recipe_t recipe,
                                const std::vector<watched_t>* shows = nullptr);

}  // namespace zarn::verify
