// A run of a session's model.
#pragma once

#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "IExecModel.h"
#include "host/session/error.h"
#include "host/session/probes.h"
#include "host/session/recorder.h"
#include "host/session/results.h"

namespace zarn {

class Session;
class Run;

/// What a divide fault behind the time `t` is told with: the blocks that can have caused it.
SessionError fault_error(const Session& session, double t);

/// What looks after a run: counts its steps, hands recordings on, ends it when they find no memory. Whoever wants to
/// look as well, or to end it, derives from it.
class Watch : public tessel::RunMonitor {
public:
    explicit Watch(Run& run);
    bool step_done(double t) noexcept final {
        ++clock_.step;
        clock_.time = t;
        if (clock_.step >= clock_.drain_at) drain();
        return go_on(t) && !clock_.exhausted;
    }
    /// The same behind several steps of which nobody recorded anything, the last of them at t.
    bool steps_done(std::uint64_t count, double t) noexcept {
        clock_.step += count - 1;
        return step_done(t);
    }
    bool looks_at_cells() const noexcept override { return false; }

protected:
    /// Called behind each step; false ends the run.
    virtual bool go_on(double) noexcept { return true; }

private:
    void drain() noexcept;

    Run& run_;
    run_clock_t& clock_;
};

/// The runnable model of a compiled session, its probes and what they record. Call order: `record`, `stream_to`, `go`.
class Run {
public:
    /// Raises `SessionError` when a block has no runnable form, or when the memory cannot hold what the model's own
    /// blocks record.
    explicit Run(Session& session);
    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;
    ~Run();

    void record(std::vector<signal_t> signals);
    /// Gives each recording its room in one piece, where the memory holds that for the whole run: what is recorded is
    /// handed over without a copy then.
    void expect_all();
    /// Lets recordings go to `drain` as the run goes on, so that their memory does not grow with it. None is kept.
    void stream_to(Drain& drain);
    /// Runs to the end, or to where the watch ends it. Raises what the drain does.
    void go(Watch& watch, tessel::engine_t engine);
    /// The same with steps of the caller's own: `drive` starts and finishes the objects as `IExecModel::run` does.
    void go(Watch& watch, const std::function<void(tessel::IExecModel&, Watch&)>& drive);
    /// From here on a divide fault of a step ends the run with a `SessionError`, not the process. On a model that is
    /// wide enough to be stepped on several threads it still ends the process.
    void survive_faults() { survives_ = true; }
    /// Hands what is recorded, and not streamed, to a drain.
    void write_to(Drain& drain) { drain.finish(clock_.step); }

    tessel::IExecModel& model() { return *exec_; }
    const std::vector<signal_t>& signals() const { return signals_; }
    const run_clock_t& clock() const { return clock_; }
    times_t times() const;
    /// Bytes that the recordings of the whole run take, if each step is recorded, and those that there are.
    double wanted_room() const;
    double room() const { return room_; }

private:
    friend class Watch;
    double steps() const;
    void require_room_of_blocks();

    Session& session_;
    std::shared_ptr<tessel::IExecModel> exec_;
    std::vector<signal_t> signals_;
    run_clock_t clock_;
    double room_ = 0.0;  // 0: nobody knows
    Drain* drain_ = nullptr;
    std::uint64_t stride_ = 0;  // steps from drain to drain
    std::exception_ptr failure_;
    bool survives_ = false;
};

}  // namespace zarn
