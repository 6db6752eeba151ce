// zarn verify-engines: both ways of stepping a model must give the same bits.

#include <CLI/App.hpp>
#include <cstring>
#include <optional>

#include "core/format.h"
#include "core/hash.h"
#include "core/str.h"
#include "host/cli/command.h"
#include "host/cli/fault.h"
#include "host/cli/interrupt.h"
#include "host/cli/monitor.h"
#include "host/cli/verbs.h"
#include "host/session/json_text.h"
#include "host/session/session.h"

namespace zarn {
namespace {

using tessel::engine_t;

/// One port of a runnable block, with the name of its place.
struct watched_t {
    tessel::ExecPort* port;
    std::uint64_t block;
    int index;  ///< in the flat list of ports
};

std::vector<watched_t> ports_of(tessel::IExecModel& exec) {
    std::vector<watched_t> ports;
    for (const auto& object : exec) {
        if (object == nullptr) continue;
        for (std::int16_t i = 0; auto* port = object->input(i); ++i) ports.push_back({port, object->id(), i});
    }
    return ports;
}

std::uint64_t bits_of(const watched_t& watched) {
    std::uint64_t bits = 0;
    std::memcpy(&bits, watched.port->value_ptr(), tessel::size_of(watched.port->type()));
    return bits;
}

std::string value_of(const watched_t& watched) {
    tessel::var_t value;
    watched.port->to_var(value);
    return tessel::format("{} (bits {:#x})", value.to_string(), bits_of(watched));
}

/// Folds all cells at the end of each step into one number, and keeps the cells of one step. It stands behind all
/// others, and as nobody knows how to step it but by its operations, every cell must be up to date when its turn comes.
class Observer final : public tessel::ExecBlock {
public:
    Observer(std::vector<watched_t> ports, std::uint64_t keep_step) : ports_(std::move(ports)), keep_(keep_step) {}

    tessel::ExecPort* input(std::int16_t) noexcept override { return nullptr; }
    const tessel::ExecPort* input(std::int16_t) const noexcept override { return nullptr; }
    tessel::ExecPort* output(std::int16_t) noexcept override { return nullptr; }
    const tessel::ExecPort* output(std::int16_t) const noexcept override { return nullptr; }
    void sample() noexcept override {}
    void step() noexcept override {
        std::uint64_t fold = 0xcbf29ce484222325u;
        for (const watched_t& watched : ports_) {
            fold = (fold ^ bits_of(watched)) * 0x100000001b3u;
            fold ^= fold >> 29;
        }
        if (folds_.size() == keep_)
            for (const watched_t& watched : ports_) kept_.push_back(value_of(watched));
        folds_.push_back(fold);
    }

    const std::vector<std::uint64_t>& folds() const { return folds_; }
    const std::vector<std::string>& kept() const { return kept_; }

    static constexpr std::uint64_t nothing = ~std::uint64_t{0};

private:
    std::vector<watched_t> ports_;
    std::uint64_t keep_;
    std::vector<std::uint64_t> folds_;
    std::vector<std::string> kept_;
};

/// What one run left.
struct trace_t {
    std::vector<watched_t> ports;  // the pointers are dead
    std::vector<std::uint64_t> folds;
    std::vector<std::string> kept;   // values at the end of the step that was asked for
    std::vector<std::string> final;  // values behind the run
    std::uint64_t steps = 0;
};

enum class observe_t { nothing, folds };

/// Runs the model on a fresh load.
trace_t run_once(Call& call, engine_t engine, observe_t observe, std::uint64_t keep_step = Observer::nothing) {
    Session& session = call.session();
    call.prepare();
    Run run(session);
    tessel::IExecModel* const exec = &run.model();
    trace_t trace;
    trace.ports = ports_of(*exec);
    Observer* observer = nullptr;
    if (observe == observe_t::folds) {
        auto object = std::make_unique<Observer>(trace.ports, keep_step);
        observer = object.get();
        std::vector<tessel::attachment_t> attachments;
        attachments.push_back({0, std::move(object)});
        exec->attach(std::move(attachments));
    }
    {
        const FaultGuard guard(session.setup().model, session.model(), *exec);
        Monitor monitor(run, 0.0, 1.0, false);
        run.go(monitor, engine);
    }
    if (observer != nullptr) {
        trace.folds = observer->folds();
        trace.kept = observer->kept();
    }
    for (const watched_t& watched : trace.ports) trace.final.push_back(value_of(watched));
    trace.steps = run.clock().step;
    return trace;
}

/// The first port at which two lists of values differ.
std::optional<std::size_t> first_difference(const std::vector<std::string>& a, const std::vector<std::string>& b) {
    for (std::size_t i = 0; i < a.size() && i < b.size(); ++i)
        if (a[i] != b[i]) return i;
    return std::nullopt;
}

std::string place_of(const Session& session, const watched_t& watched) {
    const auto* block = session.model().find_block(watched.block);
    const auto inputs = static_cast<int>(block->input_count());
    return watched.index < inputs ? tessel::format("{} input {}", shown(*block), watched.index)
                                  : tessel::format("{} output {}", shown(*block), watched.index - inputs);
}

int verify(const options_t& options) {
    Call call(options, bridge_t::interpreter);
    Session& session = call.session();
    const auto report = [&](const std::string& when, std::size_t i, const trace_t& a, const std::vector<std::string>& x,
                            const std::vector<std::string>& y) {
        out(tessel::format("{}: {}: objects {}, plan {}\n", when, place_of(session, a.ports[i]), x[i], y[i]));
        return status_model;
    };
    const trace_t a = run_once(call, engine_t::objects, observe_t::folds);
    const trace_t b = run_once(call, engine_t::plan, observe_t::folds);
    if (a.steps != b.steps) {
        out(tessel::format("objects took {} steps, plan {}\n", a.steps, b.steps));
        return status_model;
    }
    for (std::size_t step = 0; step < a.folds.size(); ++step) {
        if (a.folds[step] == b.folds[step]) continue;
        const trace_t c = run_once(call, engine_t::objects, observe_t::folds, step);
        const trace_t d = run_once(call, engine_t::plan, observe_t::folds, step);
        if (const auto i = first_difference(c.kept, d.kept))
            return report(tessel::format("step {}", step), *i, c, c.kept, d.kept);
        out(tessel::format("step {}: the values differ from run to run\n", step));
        return status_model;
    }
    const trace_t c = run_once(call, engine_t::objects, observe_t::nothing);
    const trace_t d = run_once(call, engine_t::plan, observe_t::nothing);
    if (const auto i = first_difference(c.final, d.final))
        return report("behind the run, unobserved", *i, c, c.final, d.final);
    if (const auto i = first_difference(a.final, d.final))
        return report("behind the run, observed and not", *i, a, a.final, d.final);
    if (interrupted()) return status_interrupted;
    if (!options.quiet) out(tessel::format("{} ports agree in every bit over {} steps\n", a.ports.size(), a.steps));
    return status_ok;
}

}  // namespace

void add_verify_engines(CLI::App& app, int& status) {
    auto options = std::make_shared<options_t>();
    auto* verb = app.add_subcommand("verify-engines", "Run a model by objects and by plan and compare every port");
    add_common(*verb, *options);
    verb->footer(
        "Loads the model afresh for each run and compares all ports at every step, bit by bit.\n"
        "Exit status 1 names the first difference.\n\n"
        "Example:\n  zarn verify-engines pump.json");
    verb->callback(
        [options, &status] { status = guarded([&] { return verify(*options); }, options->model, options->json); });
}

}  // namespace zarn
