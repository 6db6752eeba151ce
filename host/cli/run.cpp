// zarn run: steps a model and shows, records and draws its signals.

#include <unistd.h>
#include <CLI/App.hpp>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <optional>
#include <stdexcept>

#include "core/format.h"
#include "core/str.h"
#include "host/cli/fault.h"
#include "host/cli/interrupt.h"
#include "host/cli/json_text.h"
#include "host/cli/monitor.h"
#include "host/cli/output_file.h"
#include "host/cli/plot.h"
#include "host/cli/prepare.h"
#include "host/cli/probes.h"
#include "host/cli/results.h"
#include "host/cli/session.h"
#include "host/cli/verbs.h"
#include "host/document/memory.h"
#include "host/python/interpreter.h"

namespace zarn {
namespace {

struct run_options_t : options_t {
    std::vector<std::string> probes;
    bool probe_all = false;
    std::string output;
    std::string plot;
    bool interactive = false;
    std::string engine = "plan";
};

/// The ending of a file name, which must be one of two.
std::string ending_of(const char* option, const std::string& file, const char* a, const char* b) {
    for (const char* ending : {a, b})
        if (file.ends_with(ending)) return ending;
    message(tessel::format("{} {}: the name must end in {} or {}", option, file, a, b));
    throw Failure{status_usage};
}

/// A file that the run is going to write.
struct sink_t {
    std::string name;
    std::string ending;
    std::filesystem::path place;  ///< from the folder in which the user stands
    std::unique_ptr<OutputFile> file;
};

std::optional<sink_t> sink_of(const char* option, const std::string& name, const char* a, const char* b) {
    if (name.empty()) return std::nullopt;
    return sink_t{name, ending_of(option, name, a, b), std::filesystem::absolute(name), nullptr};
}

/// Works on a file; what goes wrong ends the verb with a message that names it.
template <class Work>
void with_name(const sink_t& sink, Work work) {
    try {
        work();
    } catch (const std::runtime_error& error) {
        message(tessel::format("{}: {}", sink.name, error.what()));
        throw Failure{status_model};
    }
}

/// Appends what a port holds, a float in the shortest form of its own type.
void append_cell(std::string& text, tessel::ExecPort& port) {
    const auto append = [&]<class T>(T) {
        if (tessel::type_of<T> != port.type()) return;
        const T value = *static_cast<const T*>(port.value_ptr());
        if constexpr (std::is_same_v<T, float>) text += tessel::str::shortest(value);
        else append_number(text, value);
    };
    [&]<class... T>(tessel::type_list<T...>) { (append(T{}), ...); }(tessel::value_types{});
}

class Run {
public:
    explicit Run(const run_options_t& options)
        : options_(options),
          output_(sink_of("-o", options.output, ".csv", ".npz")),
          plot_(sink_of("--plot", options.plot, ".png", ".svg")) {
        require_interpreter(output_ && output_->ending == ".npz", "-o FILE.npz");
        require_interpreter(plot_.has_value(), "--plot");
        require_interpreter(options.interactive, "-i");
        session_ = std::make_unique<Session>(options, bridge_t::interpreter);
    }

    int go();

private:
    void require_interpreter(bool needed, const char* option) const;
    void prepare();
    void choose_signals();
    void limit_memory();
    void open(std::optional<sink_t>& sink) const;
    void step_all();
    void write_files();
    void print_table() const;
    double setting(const char* key) const { return static_cast<double>(session_->properties().get(key)); }
    times_t times() const { return {setting("ti"), setting("ts"), clock_.step}; }

    run_options_t options_;
    std::optional<sink_t> output_, plot_;
    std::unique_ptr<Session> session_;
    std::unique_ptr<tessel::ExecModel> exec_;
    std::vector<signal_t> signals_;  // recorded
    run_clock_t clock_;
};

void Run::require_interpreter(bool needed, const char* option) const {
    if (!needed || !options_.no_python) return;
    message(tessel::format("{} needs the interpreter: it does not go with --no-python", option));
    throw Failure{status_usage};
}

int Run::go() {
    try {
        prepare();
    } catch (const Failure& failure) {
        if (options_.json && failure.status == status_model) {
            const auto result = library_result(*session_);
            out(tessel::format("{{\"result\": {}, \"series\": {{}}}}\n",
                               static_cast<int>(result != tessel::result_ok ? result : tessel::result_failure)));
        }
        throw;
    }
    {
        const DeferInterrupts deferred;
        step_all();
        write_files();
    }
    if (options_.json) print_json_results(tessel::result_ok, times(), signals_);
    else if (!options_.quiet) print_table();
    flush_out();  // a terminal shows results before what is said of them
    if (interrupted()) {
        message(tessel::format("interrupted at t = {} s", tessel::str::shortest(clock_.time)));
        return status_interrupted;
    }
    if (clock_.exhausted)
        session_->refuse(tessel::format("the memory for recordings is used up: the run ended at t = {} s",
                                        tessel::str::shortest(clock_.time)));
    if (options_.interactive) session_->interpreter()->interact();
    return status_ok;
}

void Run::prepare() {
    load_and_compile(*session_);
    exec_ = build_runnable(*session_);
    choose_signals();
    limit_memory();
    if (plot_) with_name(*plot_, [this] { session_->interpreter()->require_plot(); });
    open(output_);
    open(plot_);
    attach_probes(*exec_, signals_, clock_);
}

void Run::choose_signals() {
    if (options_.probe_all) signals_ = all_signals(session_->model());
    else if (!options_.probes.empty()) signals_ = find_signals(session_->model(), options_.probes);
    else if (output_ || plot_ || options_.json) signals_ = shown_signals(session_->model());
    if (signals_.empty() && (output_ || plot_) && !options_.quiet)
        session_->complain("nothing to record: the model has no outport, display or to_workspace; see --probe");
}

/// Gives recordings most of the memory that is free: a run that wants more ends when it is used up.
void Run::limit_memory() {
    const double available = free_memory() * 0.8;
    if (available == 0.0) return;
    clock_.room = static_cast<std::int64_t>(available);
    double bytes = 0.0;
    for (const signal_t& signal : signals_) bytes += static_cast<double>(tessel::size_of(signal.type));
    const double wanted = bytes * (std::floor((setting("tf") - setting("ti")) / setting("ts")) + 1.0);
    if (wanted > available)
        session_->complain(
            tessel::format("the recordings of the whole run take {:.3g} GiB; it will end when {:.3g} GiB "
                           "are used up",
                           wanted / 0x1p30, available / 0x1p30));
}

/// Opens a file before the run: what is wrong with its place shows before the work is done.
void Run::open(std::optional<sink_t>& sink) const {
    if (sink) with_name(*sink, [&] { sink->file = std::make_unique<OutputFile>(sink->place); });
}

void Run::step_all() {
    const bool show_progress = !options_.quiet && isatty(STDERR_FILENO) != 0;
    const FaultGuard guard(options_.model, session_->model(), *exec_);
    Monitor monitor(clock_, setting("ti"), setting("tf"), show_progress, guard.looks_at_cells());
    exec_->set_monitor(&monitor);
    exec_->set_engine(options_.engine == "objects" ? tessel::engine_t::objects : tessel::engine_t::plan);
    exec_->run();
    exec_->set_monitor(nullptr);
}

void Run::write_files() {
    const auto write = [](const sink_t& sink, const auto& how) {
        with_name(sink, [&] {
            how(*sink.file);
            sink.file->commit();
        });
    };
    if (output_)
        write(*output_, [this](OutputFile& file) {
            if (output_->ending == ".csv") write_csv(file, times(), signals_);
            else write_npz(file, times(), signals_, *session_->interpreter());
        });
    if (plot_)
        write(*plot_, [this](OutputFile& file) {
            write_plot(file, plot_->ending.substr(1), options_.model, times(), signals_, *session_->interpreter());
        });
}

void Run::print_table() const {
    auto shown = shown_signals(session_->model());
    if (!options_.probe_all)
        for (const signal_t& signal : signals_) {
            const auto same = [&](const signal_t& other) {
                return other.block == signal.block && other.port == signal.port;
            };
            if (std::ranges::none_of(shown, same)) shown.push_back(signal);
        }
    std::ranges::stable_sort(shown, {}, &signal_t::name);
    std::size_t width = 0;
    for (const signal_t& signal : shown) width = std::max(width, signal.name.size());
    // the sum of many steps without the rounding of its last digits
    const double time = std::strtod(tessel::format("{:.12g}", clock_.time).c_str(), nullptr);
    std::string text = tessel::format("{} step{}, the last at t = {} s\n", clock_.step, clock_.step == 1 ? "" : "s",
                                      tessel::str::shortest(time));
    for (const signal_t& signal : shown) {
        auto* object = exec_->find_block(signal.block->id());
        auto* port = signal.is_input ? object->input(signal.port) : object->output(signal.port);
        if (port == nullptr) continue;
        text += tessel::format("{:<{}}  ", signal.name, width);
        append_cell(text, *port);
        text += '\n';
    }
    out(text);
}

}  // namespace

void add_run(CLI::App& app, int& status) {
    auto options = std::make_shared<run_options_t>();
    auto* verb = app.add_subcommand("run", "Run a model and show, record or draw its signals");
    add_common(*verb, *options);
    verb->add_option("--probe", options->probes, "Record a signal; PATH is a dotted path or #ID (repeatable)")
        ->type_name("PATH[:PORT]")
        ->allow_extra_args(false);
    verb->add_flag("--probe-all", options->probe_all, "Record every output of every block");
    verb->add_option("-o,--output", options->output, "Write what was recorded as .csv or .npz")->type_name("FILE");
    verb->add_option("--plot", options->plot, "Draw what was recorded as .png or .svg")->type_name("FILE");
    verb->add_flag("-i,--interactive", options->interactive, "Stay in the interpreter after the run");
    verb->add_option("--engine", options->engine, "How to step: objects or plan; the values are the same")
        ->check(CLI::IsMember({"objects", "plan"}));
    verb->footer(
        "Without --probe the root's outports, displays and to_workspace blocks are recorded. A file has a column\n"
        "'time' in seconds and one of each signal; a cell is empty where the block did not run.\n\n"
        "Example:\n  zarn run pump.json -w gains.py --set tf=20 --probe mainsys.motor.speed -o speed.csv");
    verb->callback([options, &status] { status = guarded([&] { return Run(*options).go(); }, options->model); });
}

}  // namespace zarn
