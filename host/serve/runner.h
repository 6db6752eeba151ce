// One run of a model in a thread, told about as it goes on.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "host/serve/json.h"
#include "host/session/run.h"
#include "host/session/session.h"

namespace zarn::serve {

struct run_setup_t {
    std::vector<std::string> probes;                         ///< as --probe takes them
    std::vector<std::pair<std::string, std::string>> wires;  ///< handles, and the probe that each stands for
    bool shown = true;                                       ///< records what the model shows by itself
    tessel::engine_t engine = tessel::engine_t::plan;
    double speed = 0;  ///< simulated seconds a second, 0 as fast as it goes
    bool paused = false;
};

class Runner {
public:
    using tell_t = std::function<void(const char* method, json_t params)>;
    /// What stands guard while a run steps, such as against the processor's divide fault.
    struct watch_t {
        std::shared_ptr<void> guard;
        bool looks_at_cells = false;  ///< which the run must keep for it
    };
    using guard_t = std::function<watch_t(Session& session, Run& run)>;

    /// Checks and compiles the session's model. Raises `SessionError`.
    Runner(std::shared_ptr<Session> session, const run_setup_t& setup, tell_t tell, const guard_t& guard);
    Runner(const Runner&) = delete;
    Runner& operator=(const Runner&) = delete;
    /// Ends the run.
    ~Runner();

    /// Begins to run it; once it has begun, nothing.
    void begin();
    /// The signals that are recorded, times and steps: the answer to `run.start`.
    json_t description() const;
    json_t state();
    void pause();
    void resume(std::optional<double> speed);
    void step(std::int64_t count);
    void stop();
    /// Waits for the run to have ended, which `stop` sees to.
    json_t data(std::size_t signal, double from, double to, std::size_t points);
    /// Raises `SessionError` and `std::runtime_error`.
    void write(const std::string& form, const std::filesystem::path& file);

private:
    class Pace;
    friend class Pace;
    enum class state_t { running, paused, done, stopped, failed };
    struct bad_t {
        std::size_t signal;
        std::uint64_t step;
    };

    void work();
    /// Calls `use` while the run does not step.
    template <class Use>
    auto between_steps(const Use& use);
    void change(const std::function<void()>& how);
    void tell_samples();
    void tell_progress();
    json_t state_json() const;
    double time_of(std::uint64_t step);

    std::shared_ptr<Session> session_;
    std::unique_ptr<Run> run_;
    run_setup_t setup_;
    tell_t tell_;
    watch_t guard_;
    json_t signals_, wires_;
    std::vector<std::uint64_t> told_;  // samples of each signal
    std::vector<double> times_;        // of steps, as far as they were asked for
    std::optional<bad_t> first_bad_;
    std::string message_;
    json_t findings_ = json_t::array();

    std::mutex busy_;  // held by the run's thread while it steps
    std::condition_variable changed_;
    std::atomic<int> asking_ = 0;  // who waits for the mutex
    state_t state_ = state_t::running;
    bool stops_ = false;
    std::int64_t steps_left_ = -1;  // until a pause, -1 for none
    double speed_ = 0;
    std::thread thread_;
};

}  // namespace zarn::serve
