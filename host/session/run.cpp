#include "host/session/run.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "core/format.h"
#include "core/hash.h"
#include "framework/classes.h"
#include "host/document/memory.h"
#include "host/session/fault_trap.h"
#include "host/session/session.h"

namespace zarn {

SessionError fault_error(const Session& session, double t) {
    constexpr int most = 5;
    int found = 0;
    std::string names;
    for (const auto& block : session.model()) {
        if (block == nullptr || tessel::factory::traits_of(*block).fault == tessel::fault_t::never) continue;
        if (++found <= most) names += tessel::format("{}{}", names.empty() ? "" : ", ", shown(*block));
    }
    return session.error(problem_t::model,
                         tessel::format("a divide fault at t = {:.12g} s: the lowest integer by -1, or a random range "
                                        "without a number, in {}{}",
                                        t, names, found > most ? " or others" : ""));
}

Watch::Watch(Run& run) : run_(run), clock_(run.clock_) {}

void Watch::drain() noexcept {
    try {
        run_.drain_->take(clock_.step);
        for (const signal_t& signal : run_.signals_)
            if (signal.probe != nullptr) signal.probe->recording().forget();
        clock_.drain_at = clock_.step + run_.stride_;
    } catch (...) {
        run_.failure_ = std::current_exception();
        clock_.exhausted = true;
    }
}

Run::Run(Session& session) : session_(session), exec_(session.build()) { require_room_of_blocks(); }

Run::~Run() = default;

double Run::steps() const {
    const times_t all = times();
    return std::max(0.0, std::floor((session_.setting("tf") - all.ti) / all.ts) + 1.0);
}

/// Blocks that record for the workspace cannot be told to stop, and a copy of theirs is made at the end.
void Run::require_room_of_blocks() {
    constexpr double per_sample = 2 * sizeof(double) * 2.0;
    std::uint64_t recorders = 0;
    for (const auto& block : session_.model())
        recorders += block != nullptr && block->class_hash() == tessel::class_hash_of("to_workspace") ? 1u : 0u;
    room_ = free_memory() * 0.8;
    if (room_ == 0.0) return;
    const double wanted = static_cast<double>(recorders) * per_sample * steps();
    if (wanted > room_)
        throw session_.error(
            problem_t::model,
            tessel::format("{:.3g} steps take {:.3g} GiB in {} to_workspace block{}, and the machine has {:.3g} GiB to "
                           "give; end sooner, take longer steps, or record with -o FILE",
                           steps(), wanted / 0x1p30, recorders, recorders == 1 ? "" : "s", room_ / 0x1p30));
    room_ -= wanted;
    clock_.room = static_cast<std::int64_t>(room_);
}

double Run::wanted_room() const {
    if (drain_ != nullptr) return 0.0;
    double bytes = 0.0;
    for (const signal_t& signal : signals_) bytes += static_cast<double>(tessel::size_of(signal.type));
    return bytes * steps();
}

void Run::record(std::vector<signal_t> signals) {
    signals_ = std::move(signals);
    attach_probes(*exec_, signals_, clock_);
    std::erase_if(signals_, [](const signal_t& signal) { return signal.probe == nullptr; });
}

void Run::expect_all() {
    const double count = steps() + 1.0;  // one more by the rounding of times
    if (drain_ != nullptr || room_ == 0.0 || wanted_room() > room_) return;
    for (const signal_t& signal : signals_) signal.probe->recording().expect(static_cast<std::uint64_t>(count));
}

void Run::stream_to(Drain& drain) {
    constexpr std::uint64_t values = 1u << 22, longest = 8192, shortest = 16;
    drain_ = &drain;
    stride_ = std::clamp(values / std::max<std::uint64_t>(signals_.size(), 1), shortest, longest);
    clock_.drain_at = stride_;
}

void Run::go(Watch& watch, tessel::engine_t engine) {
    go(watch, [this, engine](tessel::IExecModel& exec, Watch& monitor) {
        exec.set_monitor(&monitor);
        exec.set_engine(engine);
        const auto run = [&exec] { exec.run(); };
        const bool well = survives_ ? FaultTrap::survives(run) : (run(), true);
        exec.set_monitor(nullptr);
        const double t = clock_.step == 0 ? session_.setting("ti") : clock_.time + session_.setting("ts");
        if (!well) throw fault_error(session_, t);
    });
}

void Run::go(Watch& watch, const std::function<void(tessel::IExecModel&, Watch&)>& drive) {
    const Session::Active active(session_);
    session_.forget_answers();
    drive(*exec_, watch);
    if (failure_ != nullptr) std::rethrow_exception(failure_);
    if (drain_ == nullptr) return;
    drain_->finish(clock_.step);
}

times_t Run::times() const { return {session_.setting("ti"), session_.setting("ts"), clock_.step}; }

}  // namespace zarn
