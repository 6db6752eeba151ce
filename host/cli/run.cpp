// zarn run: steps a model and shows, records and draws its signals.

#include <unistd.h>
#include <CLI/App.hpp>

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <set>
#include <stdexcept>

#include "core/format.h"
#include "core/str.h"
#include "host/cli/command.h"
#include "host/cli/fault.h"
#include "host/cli/interrupt.h"
#include "host/cli/monitor.h"
#include "host/cli/plot.h"
#include "host/cli/verbs.h"
#include "host/diagnose/computation.h"
#include "host/diagnose/source.h"
#include "host/embed/interpreter.h"
#include "host/native/engine.h"
#include "host/session/json_text.h"
#include "host/session/npz.h"
#include "host/session/run.h"

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

/// A file that the run is going to write.
struct sink_t {
    std::string name;
    std::string ending;
    std::filesystem::path place;  ///< from the folder in which the user stands
    std::unique_ptr<OutputFile> file;
    bool is_standard_output = false;
};

std::optional<sink_t> sink_of(const char* option, const std::string& name, const char* a, const char* b) {
    if (name.empty()) return std::nullopt;
    return sink_t{name, ending_of(option, name, a, b), std::filesystem::absolute(name), nullptr};
}

/// Where samples go: a file, or for - standard output.
std::optional<sink_t> output_of(const run_options_t& options) {
    if (options.output != "-") return sink_of("-o", options.output, ".csv", ".npz");
    if (options.json)
        throw SessionError(problem_t::usage, "-o - does not go with --json: both write to standard output");
    return sink_t{"standard output", ".csv", {}, nullptr, true};
}

/// Works on a file; what goes wrong is told with its name.
template <class Work>
void with_name(const sink_t& sink, Work work) {
    try {
        work();
    } catch (const SessionError&) {
        throw;
    } catch (const std::runtime_error& error) {
        throw SessionError(problem_t::file, tessel::format("{}: {}", sink.name, error.what()));
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

/// One call of the verb.
class RunVerb {
public:
    explicit RunVerb(const run_options_t& options)
        : options_(options), output_(output_of(options)), plot_(sink_of("--plot", options.plot, ".png", ".svg")) {
        require_interpreter(plot_.has_value(), "--plot");
        require_interpreter(options.interactive, "-i");
        options_.output_to_errors = output_ && output_->is_standard_output;
        call_ = std::make_unique<Call>(options_, bridge_t::interpreter);
    }

    int go();

private:
    Session& session() const { return call_->session(); }
    void require_interpreter(bool needed, const char* option) const;
    void prepare();
    void make_native();
    std::vector<signal_t> choose_signals() const;
    void open(std::optional<sink_t>& sink) const;
    void make_drain();
    void tell_room() const;
    void step_all();
    void write_output();
    void draw_plot();
    std::string blocks_json() const;
    void print_table() const;

    run_options_t options_;
    std::optional<sink_t> output_, plot_;
    std::unique_ptr<Call> call_;
    std::unique_ptr<Run> run_;
    std::unique_ptr<native::Engine> native_;  // null for the other engines
    std::unique_ptr<Drain> drain_;            // into output_
};

void RunVerb::require_interpreter(bool needed, const char* option) const {
    if (!needed || !options_.no_python) return;
    throw SessionError(problem_t::usage,
                       tessel::format("{} needs the interpreter: it does not go with --no-python", option));
}

int RunVerb::go() {
    try {
        prepare();
    } catch (const SessionError& error) {
        if (options_.json && error.status() == status_model) {
            const auto result = call_->library_result();
            call_->out_failure(error, result, ", \"series\": {}, \"signals\": {}");
        }
        throw;
    }
    {
        const DeferInterrupts deferred;
        step_all();
        write_output();
    }
    draw_plot();  // Ctrl-C ends this at once
    if (options_.json)
        write_json_results(out, tessel::result_ok, run_->times(), run_->signals(),
                           tessel::format(", \"blocks\": {}, \"findings\": {}", blocks_json(), call_->findings_json()));
    else if (!options_.quiet && !options_.output_to_errors) print_table();
    flush_out();  // a terminal shows results before what is said of them
    const auto& clock = run_->clock();
    const std::string time = tessel::str::shortest(clock.time);
    if (interrupted()) throw SessionError(problem_t::interrupted, tessel::format("interrupted at t = {} s", time));
    if (clock.exhausted)
        throw session().error(problem_t::model,
                              tessel::format("the memory for recordings is used up: the run ended at t = {} s", time));
    if (options_.interactive) call_->interpreter()->interact();
    return status_ok;
}

void RunVerb::prepare() {
    call_->prepare();
    session().forget_document();  // a run may be long, and needs no text
    run_ = std::make_unique<Run>(session());
    if (options_.engine == "native") make_native();
    auto signals = choose_signals();
    name_as_written(signals, session());
    run_->record(std::move(signals));
    if (run_->signals().empty() && (output_ || plot_) && !options_.quiet)
        call_->complain("nothing to record: the model has no outport, display or to_workspace; see --probe");
    if (plot_) with_name(*plot_, [this] { call_->interpreter()->require_plot(); });
    open(output_);
    open(plot_);
    if (output_) with_name(*output_, [this] { make_drain(); });
    tell_room();
}

/// Where no machine code can be made, the plan takes over: the values are the same.
void RunVerb::make_native() {
    const DeferInterrupts deferred;
    native::Cache cache;
    try {
        native_ = std::make_unique<native::Engine>(session(), *run_, cache, interrupted);
    } catch (const native::Unavailable& reason) {
        if (!options_.quiet)
            call_->complain(tessel::format("no native engine, the plan steps instead: {}", reason.what()));
    }
}

std::vector<signal_t> RunVerb::choose_signals() const {
    auto& model = session().model();
    if (options_.probe_all) return all_signals(model);
    if (!options_.probes.empty()) return find_signals(model, options_.probes);
    if (output_ || plot_ || options_.json) return shown_signals(model);
    return {};
}

/// Opens a file before the run: what is wrong with its place shows before the work is done.
void RunVerb::open(std::optional<sink_t>& sink) const {
    if (!sink) return;
    with_name(*sink, [&] {
        sink->file = sink->is_standard_output ? std::make_unique<OutputFile>(STDOUT_FILENO)
                                              : std::make_unique<OutputFile>(sink->place);
    });
}

/// A file alone takes its samples while the run goes on; a picture and JSON want all of them at the end.
void RunVerb::make_drain() {
    const times_t times = run_->times();
    if (output_->ending == ".csv")
        drain_ = std::make_unique<CsvWriter>(*output_->file, run_->signals(), times.ti, times.ts);
    else
        drain_ = std::make_unique<NpzWriter>(*output_->file, run_->signals(), times.ti, times.ts,
                                             output_->place.parent_path());
    if (!plot_ && !options_.json) run_->stream_to(*drain_);
}

void RunVerb::tell_room() const {
    const double wanted = run_->wanted_room(), room = run_->room();
    if (room == 0.0 || wanted <= room) return;
    call_->complain(
        tessel::format("the recordings of the whole run take {:.3g} GiB; it will end when {:.3g} GiB "
                       "are used up",
                       wanted / 0x1p30, room / 0x1p30));
}

void RunVerb::step_all() {
    const bool show_progress = !options_.quiet && isatty(STDERR_FILENO) != 0;
    const FaultGuard guard(options_.model, session().model(), run_->model(), options_.json);
    Monitor monitor(*run_, session().setting("ti"), session().setting("tf"), show_progress, guard.looks_at_cells());
    const auto step = [&] {
        if (native_ != nullptr)
            return run_->go(monitor, [this](tessel::IExecModel& exec, Watch& watch) {
                native_->drive(exec, watch, run_->signals());
            });
        run_->go(monitor, options_.engine == "objects" ? tessel::engine_t::objects : tessel::engine_t::plan);
    };
    if (output_) with_name(*output_, step);
    else step();
}

void RunVerb::write_output() {
    if (output_)
        with_name(*output_, [this] {
            if (plot_ || options_.json) run_->write_to(*drain_);
            output_->file->commit();
        });
}

void RunVerb::draw_plot() {
    if (plot_)
        with_name(*plot_, [this] {
            write_plot(*plot_->file, plot_->ending.substr(1), options_.model, run_->times(), run_->signals(),
                       *call_->interpreter());
            plot_->file->commit();
        });
}

/// What each block with a recorded signal computes, by its id.
std::string RunVerb::blocks_json() const {
    std::set<std::uint64_t> recorded;
    for (const signal_t& signal : run_->signals()) recorded.insert(signal.block->id());
    nlohmann::json blocks = nlohmann::json::object();
    for (const auto& block : session().model())
        if (block != nullptr && recorded.erase(block->id()) != 0)
            add_computation(blocks[std::to_string(block->id())], *block);
    return blocks.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

void RunVerb::print_table() const {
    auto shown = shown_signals(session().model());
    name_as_written(shown, session());
    if (!options_.probe_all)
        for (const signal_t& signal : run_->signals()) {
            const auto same = [&](const signal_t& other) {
                return other.block == signal.block && other.port == signal.port;
            };
            if (std::ranges::none_of(shown, same)) shown.push_back(signal);
        }
    std::ranges::stable_sort(shown, {}, &signal_t::name);
    std::size_t width = 0;
    for (const signal_t& signal : shown) width = std::max(width, characters(signal.name));
    width = std::min(width, widest_column);
    const auto& clock = run_->clock();
    // the sum of many steps without the rounding of its last digits
    const double time = std::strtod(tessel::format("{:.12g}", clock.time).c_str(), nullptr);
    std::string text = tessel::format("{} step{}, the last at t = {} s\n", clock.step, clock.step == 1 ? "" : "s",
                                      tessel::str::shortest(time));
    for (const signal_t& signal : shown) {
        auto* object = run_->model().find_block(signal.block->id());
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
    verb->add_option("-o,--output", options->output,
                     "Write what was recorded as .csv or .npz; - is CSV on standard output")
        ->type_name("FILE");
    verb->add_option("--plot", options->plot, "Draw what was recorded as .png or .svg")->type_name("FILE");
    verb->add_flag("-i,--interactive", options->interactive, "Stay in the interpreter after the run");
    verb->add_option("--engine", options->engine, "How to step: objects, plan or native; the values are the same")
        ->check(CLI::IsMember({"objects", "plan", "native"}));
    verb->footer(
        "PATH can hold * for any characters ('controller.*'), or name a subsystem, whose outports are meant then, and\n"
        "PORT one of them by name or number.\n"
        "Without --probe the root's outports, displays and to_workspace blocks are recorded. A file has a column\n"
        "'time' in seconds and one of each signal; a cell is empty where the block did not run.\n\n"
        "Example:\n  zarn run pump.json -w gains.py --set tf=20 --probe mainsys.motor.speed -o speed.csv");
    verb->callback([options, &status] {
        status = guarded([&] { return RunVerb(*options).go(); }, options->model, options->json);
    });
}

}  // namespace zarn
