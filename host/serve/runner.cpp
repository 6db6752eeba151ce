#include "host/serve/runner.h"

#include <algorithm>
#include <cmath>

#include "core/format.h"
#include "host/serve/samples.h"
#include "host/session/npz.h"
#include "host/session/probes.h"
#include "host/session/results.h"

namespace zarn::serve {
namespace {

using steady = std::chrono::steady_clock;

constexpr std::chrono::milliseconds look_every{5};
constexpr std::chrono::milliseconds samples_every{50};
constexpr std::chrono::milliseconds progress_every{100};
constexpr std::size_t points_at_once = 400;  // of a signal in one notification
constexpr std::uint32_t longest_stride = 1u << 16;

constexpr const char* state_names[] = {"running", "paused", "done", "stopped", "failed"};

bool is_same(const signal_t& a, const signal_t& b) {
    return a.block == b.block && a.port == b.port && a.is_input == b.is_input;
}

/// The place of a signal in the list, to which it is added where it is not there.
std::size_t place_of(std::vector<signal_t>& all, const signal_t& signal) {
    for (std::size_t i = 0; i < all.size(); ++i)
        if (is_same(all[i], signal)) return i;
    all.push_back(signal);
    return all.size() - 1;
}

}  // namespace

/// Looks after the run: pauses, steps, keeps pace, and tells what came.
class Runner::Pace final : public Watch {
public:
    Pace(Runner& runner, std::unique_lock<std::mutex>& lock) : Watch(*runner.run_), runner_(runner), lock_(lock) {}

    void begin() { wait(); }
    bool looks_at_cells() const noexcept override { return runner_.guard_.looks_at_cells; }

protected:
    bool go_on(double t) noexcept override {
        if (--countdown_ > 0) return true;
        try {
            return look(t);
        } catch (const std::exception& error) {
            runner_.message_ = error.what();
            return false;
        }
    }

private:
    bool look(double t) {
        const auto now = steady::now();
        if (now - last_look_ < look_every / 2) stride_ = std::min(stride_ * 2, longest_stride);
        else if (now - last_look_ > look_every) stride_ = std::max(stride_ / 2, 1u);
        last_look_ = now;
        if (runner_.asking_ > 0) {  // somebody wants to look between two steps
            lock_.unlock();
            while (runner_.asking_ > 0) std::this_thread::yield();
            lock_.lock();
        }
        if (runner_.steps_left_ > 0 && --runner_.steps_left_ == 0) {
            runner_.steps_left_ = -1;
            runner_.state_ = state_t::paused;
        }
        if (now - last_samples_ >= samples_every) {
            runner_.tell_samples();
            last_samples_ = now;
        }
        if (now - last_progress_ >= progress_every) {
            runner_.tell_progress();
            last_progress_ = now;
        }
        if (runner_.state_ == state_t::paused) wait();
        else if (runner_.speed_ > 0) keep_pace(t);
        const bool each = runner_.speed_ > 0 || runner_.steps_left_ >= 0;
        countdown_ = each ? 1 : stride_;
        return !runner_.stops_;
    }

    /// Until the run goes on, or ends.
    void wait() {
        if (runner_.state_ == state_t::paused && !runner_.stops_) {
            runner_.tell_samples();
            runner_.tell_progress();
        }
        runner_.changed_.wait(lock_, [this] { return runner_.state_ != state_t::paused || runner_.stops_; });
        pace_begin_ = steady::now();
        pace_time_.reset();
    }

    void keep_pace(double t) {
        if (!pace_time_ || paced_at_ != runner_.speed_) {
            pace_time_ = t;
            paced_at_ = runner_.speed_;
            pace_begin_ = steady::now();
        }
        const auto due = pace_begin_ + std::chrono::duration_cast<steady::duration>(
                                           std::chrono::duration<double>((t - *pace_time_) / runner_.speed_));
        runner_.changed_.wait_until(lock_, due, [this] {
            return runner_.stops_ || runner_.state_ == state_t::paused || runner_.asking_ > 0 ||
                   runner_.speed_ != paced_at_;
        });
    }

    Runner& runner_;
    std::unique_lock<std::mutex>& lock_;
    std::uint32_t countdown_ = 1, stride_ = 1;
    steady::time_point last_look_ = steady::now(), last_samples_ = last_look_, last_progress_ = last_look_;
    steady::time_point pace_begin_ = last_look_;
    std::optional<double> pace_time_;
    double paced_at_ = 0;
};

Runner::Runner(std::shared_ptr<Session> session, const run_setup_t& setup, tell_t tell, const guard_t& guard)
    : session_(std::move(session)),
      setup_(setup),
      tell_(std::move(tell)),
      signals_(json_t::array()),
      wires_(json_t::object()) {
    session_->prepare();
    run_ = std::make_unique<Run>(*session_);
    std::vector<signal_t> all;
    if (setup_.shown)
        for (const signal_t& signal : shown_signals(session_->model())) place_of(all, signal);
    if (!setup_.probes.empty())
        for (const signal_t& signal : find_signals(session_->model(), setup_.probes)) place_of(all, signal);
    std::vector<std::pair<std::string, signal_t>> wired;
    for (const auto& [wire, probe] : setup_.wires)
        for (const signal_t& signal : find_signals(session_->model(), {probe})) {
            place_of(all, signal);
            wired.emplace_back(wire, signal);
        }
    name_as_written(all, *session_);
    run_->record(std::move(all));
    const auto& recorded = run_->signals();
    for (std::size_t i = 0; i < recorded.size(); ++i) {
        const signal_t& signal = recorded[i];
        signals_.push_back({{"signal", i},
                            {"name", signal.name},
                            {"type", tessel::short_name(signal.type)},
                            {"block", std::to_string(signal.block->id())},
                            {"port", signal.port}});
        for (const auto& [wire, own] : wired)
            if (is_same(own, signal)) wires_[wire] = i;
    }
    told_.assign(recorded.size(), 0);
    speed_ = setup_.speed;
    if (setup_.paused) state_ = state_t::paused;
    if (guard) guard_ = guard(*session_, *run_);
}

Runner::~Runner() {
    stop();
    if (thread_.joinable()) thread_.join();
}

void Runner::begin() {
    if (!thread_.joinable()) thread_ = std::thread([this] { work(); });
}

json_t Runner::description() const {
    const double ti = session_->setting("ti"), tf = session_->setting("tf"), ts = session_->setting("ts");
    return {{"signals", signals_},
            {"wires", wires_},
            {"ti", ti},
            {"tf", tf},
            {"ts", ts},
            {"steps", std::max(0.0, std::floor((tf - ti) / ts) + 1)}};
}

void Runner::work() {
    std::unique_lock lock(busy_);
    Pace pace(*this, lock);
    try {
        pace.begin();
        if (!stops_) run_->go(pace, setup_.engine);
        if (!message_.empty()) throw std::runtime_error(message_);
        if (run_->clock().exhausted) throw std::runtime_error("the memory for recordings is used up");
        state_ = stops_ ? state_t::stopped : state_t::done;
    } catch (const std::exception& error) {
        message_ = error.what();
        state_ = state_t::failed;
    }
    try {
        tell_samples();
        tell_progress();
    } catch (const std::exception&) {  // nobody listens any more
    }
}

template <class Use>
auto Runner::between_steps(const Use& use) {
    ++asking_;
    changed_.notify_all();
    const std::lock_guard lock(busy_);
    --asking_;
    return use();
}

void Runner::change(const std::function<void()>& how) {
    between_steps(how);
    changed_.notify_all();
}

double Runner::time_of(std::uint64_t step) {
    const times_t times = run_->times();
    if (times_.empty()) times_.push_back(times.ti);
    while (times_.size() <= step) times_.push_back(times_.back() + times.ts);
    return times_[step];
}

void Runner::tell_samples() {
    json_t series = json_t::array();
    bool thinned = false;
    const auto& signals = run_->signals();
    for (std::size_t i = 0; i < signals.size(); ++i) {
        piece_t piece = samples_from(signals[i].probe->recording(), told_[i]);
        if (piece.values.empty()) continue;
        told_[i] += piece.values.size();
        if (!first_bad_ || first_bad_->step > piece.steps.front()) {
            const auto bad = std::ranges::find_if(piece.values, [](double v) { return !std::isfinite(v); });
            const auto at = static_cast<std::size_t>(bad - piece.values.begin());
            if (bad != piece.values.end() && (!first_bad_ || piece.steps[at] < first_bad_->step))
                first_bad_ = bad_t{i, piece.steps[at]};
        }
        thinned = thin(piece, points_at_once) || thinned;
        json_t t = json_t::array(), v = json_t::array();
        for (std::size_t n = 0; n < piece.values.size(); ++n) {
            t.push_back(time_of(piece.steps[n]));
            v.push_back(number_json(piece.values[n], signals[i].type));
        }
        series.push_back({{"signal", i}, {"t", std::move(t)}, {"v", std::move(v)}});
    }
    if (!series.empty()) tell_("run.samples", {{"series", std::move(series)}, {"decimated", thinned}});
}

json_t Runner::state_json() const {
    const run_clock_t& clock = run_->clock();
    json_t state{{"state", state_names[static_cast<int>(state_)]}, {"step", clock.step}, {"time", clock.time}};
    state["tf"] = session_->setting("tf");
    state["first_bad"] = nullptr;
    if (first_bad_)
        state["first_bad"] = {{"signal", first_bad_->signal},
                              {"block", signals_[first_bad_->signal]["block"]},
                              {"step", first_bad_->step},
                              {"time", first_bad_->step < times_.size() ? times_[first_bad_->step] : 0.0}};
    if (!message_.empty()) state["message"] = message_;
    return state;
}

void Runner::tell_progress() {
    if (first_bad_) time_of(first_bad_->step);
    tell_("run.progress", state_json());
}

json_t Runner::state() {
    return between_steps([this] {
        json_t state = state_json();
        state["signals"] = signals_;
        return state;
    });
}

void Runner::pause() {
    change([this] {
        if (state_ == state_t::running) state_ = state_t::paused;
        steps_left_ = -1;
    });
}

void Runner::resume(std::optional<double> speed) {
    change([this, speed] {
        if (speed) speed_ = *speed;
        steps_left_ = -1;
        if (state_ == state_t::paused) state_ = state_t::running;
    });
}

void Runner::step(std::int64_t count) {
    change([this, count] {
        if (state_ != state_t::paused && state_ != state_t::running) return;
        steps_left_ = count;
        state_ = state_t::running;
    });
}

void Runner::stop() {
    change([this] { stops_ = true; });
}

json_t Runner::data(std::size_t signal, double from, double to, std::size_t points) {
    return between_steps([&]() -> json_t {
        const signal_t& one = run_->signals().at(signal);
        const Recording& recording = one.probe->recording();
        const auto steps = steps_of(recording);
        std::size_t first = 0;
        while (first < steps.size() && time_of(steps[first]) < from) ++first;
        std::size_t end = first;
        while (end < steps.size() && time_of(steps[end]) <= to) ++end;
        json_t t = json_t::array(), v;
        const bool exact = points == 0 || end - first <= points;
        if (exact) {
            for (std::size_t i = first; i < end; ++i) t.push_back(time_of(steps[i]));
            v = exact_values(recording, first, end - first);
        } else {
            piece_t piece = samples_from(recording, first);
            piece.steps.resize(end - first);
            piece.values.resize(end - first);
            thin(piece, points);
            v = json_t::array();
            for (std::size_t i = 0; i < piece.values.size(); ++i) {
                t.push_back(time_of(piece.steps[i]));
                v.push_back(number_json(piece.values[i], one.type));
            }
        }
        return {{"signal", signal}, {"t", std::move(t)}, {"v", std::move(v)}, {"exact", exact}};
    });
}

void Runner::write(const std::string& form, const std::filesystem::path& file) {
    between_steps([&] {
        OutputFile output(file);
        const times_t times = run_->times();
        if (form == "csv") {
            CsvWriter writer(output, run_->signals(), times.ti, times.ts);
            run_->write_to(writer);
        } else {
            NpzWriter writer(output, run_->signals(), times.ti, times.ts, file.parent_path());
            run_->write_to(writer);
        }
        output.commit();
    });
}

}  // namespace zarn::serve
