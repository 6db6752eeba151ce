// zarn sweep: runs many variants of a model and keeps what is asked for of each.

#include <unistd.h>
#include <CLI/App.hpp>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>

#include "core/format.h"
#include "core/str.h"
#include "host/cli/command.h"
#include "host/cli/interrupt.h"
#include "host/cli/monitor.h"
#include "host/cli/sweep_summary.h"
#include "host/cli/verbs.h"
#include "host/embed/interpreter.h"
#include "host/session/current_folder.h"
#include "host/sweep/store.h"
#include "host/sweep/sweep.h"

namespace zarn {
namespace {

using clock_type = std::chrono::steady_clock;

struct sweep_options_t : options_t {
    variation_t variation;
    bool grid = false, zip = false;
    std::uint64_t random = 0, sobol = 0, latin = 0;
    std::vector<std::string> measures, probes;
    std::uint64_t every = 1;
    std::string where;
    std::string output, plot;
    bool resume = false;
    unsigned jobs = 0;
    std::optional<std::uint64_t> replay;
};

class SweepVerb {
public:
    explicit SweepVerb(const sweep_options_t& options)
        : options_(options),
          call_(std::make_unique<Call>(options, bridge_t::interpreter)),
          place_(absolute(options.output)),
          plot_place_(absolute(options.plot)) {}

    int go();

private:
    static std::filesystem::path absolute(const std::string& file) {
        return file.empty() ? std::filesystem::path() : std::filesystem::absolute(file);
    }
    void choose_combination();
    std::vector<double> draw_points(std::string_view kind, std::size_t dimensions, std::uint64_t count,
                                    std::uint64_t seed);
    void prepare();
    std::string manifest() const;
    bool take(const rows_t& rows);
    void show_progress();
    void ask_interpreter(std::string_view function, const std::string& file, const std::string& form);
    void write_output();
    void print_summary();

    sweep_options_t options_;
    std::unique_ptr<Call> call_;
    std::filesystem::path place_, plot_place_;
    std::unique_ptr<Sweep> sweep_;
    std::unique_ptr<RowStore> store_;
    RowFilter filter_;
    std::vector<std::string> columns_;
    sweep_summary_t summary_;
    std::uint64_t done_ = 0, first_ = 0;
    clock_type::time_point begin_, last_shown_;
    bool line_stands_ = false;
};

void SweepVerb::choose_combination() {
    const std::pair<bool, combine_t> choices[] = {{options_.grid, combine_t::grid},
                                                  {options_.zip, combine_t::zip},
                                                  {options_.random != 0, combine_t::random},
                                                  {options_.sobol != 0, combine_t::sobol},
                                                  {options_.latin != 0, combine_t::latin}};
    for (const auto& [chosen, how] : choices) {
        if (!chosen) continue;
        if (options_.variation.combine != combine_t::automatic)
            throw SessionError(problem_t::usage, "--grid, --zip, --random, --sobol and --latin: one of them");
        options_.variation.combine = how;
    }
    options_.variation.count = std::max({options_.random, options_.sobol, options_.latin});
}

/// Points of the interpreter's library for such designs.
std::vector<double> SweepVerb::draw_points(std::string_view kind, std::size_t dimensions, std::uint64_t count,
                                           std::uint64_t seed) {
    const std::string option = tessel::format("--{}", kind);
    if (call_->interpreter() == nullptr)
        throw SessionError(problem_t::usage, option + " needs the interpreter: it does not go with --no-python");
    python::var_array_t array;
    const auto text = tessel::format("__import__('zarn._sweep', fromlist=['_sweep']).points('{}', {}, {}, {})", kind,
                                     dimensions, count, seed);
    if (call_->interpreter()->bridge().evaluate_array("", text, array) != tessel::result_ok)
        throw SessionError(problem_t::usage, option + " needs scipy (python3-scipy)");
    std::vector<double> points;
    for (const auto& value : array.values) points.push_back(static_cast<double>(value));
    return points;
}

void SweepVerb::prepare() {
    choose_combination();
    if (!options_.plot.empty()) {
        ending_of("--plot", options_.plot, ".png", ".svg");
        if (place_.empty()) throw SessionError(problem_t::usage, "--plot draws the rows of a file: say which, with -o");
        if (options_.probes.empty() && options_.measures.empty())
            throw SessionError(problem_t::usage, "--plot: nothing to draw, neither a measure nor a signal");
        if (call_->interpreter() == nullptr)
            throw SessionError(problem_t::usage, "--plot needs the interpreter: it does not go with --no-python");
    }
    if (!place_.empty()) {
        const auto ending = place_.extension();
        if (ending != ".csv" && ending != ".npz" && ending != ".h5")
            throw SessionError(problem_t::usage,
                               tessel::format("-o {}: the name must end in .csv, .npz or .h5", options_.output));
        if (ending == ".csv" && !options_.probes.empty())
            throw SessionError(problem_t::usage, "--probe keeps whole signals: write them to .npz or .h5");
        if (ending != ".csv" && call_->interpreter() == nullptr)
            throw SessionError(problem_t::usage, "-o: .npz and .h5 need the interpreter; write .csv with --no-python");
    } else if (options_.resume) {
        throw SessionError(problem_t::usage, "--resume goes on with a file: say which, with -o");
    }
    auto variants = make_variants(options_.variation, [this](auto... what) { return draw_points(what...); });
    sweep_setup_t setup;
    setup.session = call_->session().setup();
    setup.measures = options_.measures;
    setup.probes = options_.probes;
    setup.every = options_.every;
    setup.jobs = options_.jobs;
    try {
        sweep_ = std::make_unique<Sweep>(std::move(setup), std::move(variants));
    } catch (const SessionError& error) {
        auto findings = error.findings();
        std::erase_if(findings, [](const finding_t& finding) { return finding.severity != severity_t::error; });
        print(findings, std::cerr, takes_colors(STDERR_FILENO));
        throw;
    }
    columns_ = sweep_->variants().names();
    for (const std::string& name : sweep_->measure_names()) columns_.push_back(name);
    for (const std::string& name : sweep_->measure_names()) summary_.measures.push_back({name});
    if (!options_.where.empty()) filter_ = RowFilter(options_.where, columns_);
    if (place_.empty()) return;
    const std::size_t numbers = columns_.size() + sweep_->signal_names().size() * sweep_->samples();
    try {
        store_ = std::make_unique<RowStore>(place_.string() + ".part", manifest(), numbers, options_.resume);
    } catch (const std::runtime_error& error) {
        throw SessionError(problem_t::file, tessel::format("{}.part: {}", options_.output, error.what()));
    }
    first_ = done_ = summary_.there = store_->next();
}

std::string SweepVerb::manifest() const {
    const Variants& variants = sweep_->variants();
    nlohmann::json manifest;
    manifest["model"] = options_.model;
    manifest["scripts"] = options_.scripts;
    manifest["code"] = options_.code;
    manifest["settings"] = options_.settings;
    manifest["vary"] = options_.variation.texts;
    manifest["variants"] = variants.size();
    manifest["seed"] = options_.variation.seed;
    manifest["combine"] = static_cast<int>(options_.variation.combine);
    manifest["names"] = variants.names();
    manifest["measures"] = options_.measures;
    manifest["measure_names"] = sweep_->measure_names();
    manifest["signals"] = sweep_->signal_names();
    manifest["samples"] = sweep_->samples();
    manifest["times"] = sweep_->sample_times();
    manifest["where"] = options_.where;
    std::ifstream file(options_.model, std::ios::binary);
    std::uint64_t sum = 0xCBF29CE484222325u;
    for (std::istreambuf_iterator<char> at(file), end; at != end; ++at)
        sum = (sum ^ static_cast<unsigned char>(*at)) * 0x100000001B3u;
    manifest["model_sum"] = tessel::format("{:016x}", sum);
    return manifest.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

bool SweepVerb::take(const rows_t& rows) {
    const std::size_t names = sweep_->variants().names().size(), measures = summary_.measures.size();
    const std::size_t samples = rows.count != 0 ? rows.samples.size() / rows.count : 0;
    std::vector<stored_row_t> kept;
    for (std::size_t i = 0; i < rows.count; ++i) {
        stored_row_t row{rows.first + i, {}, rows.ended[i]};
        const auto append = [&](std::span<const double> all, std::size_t count) {
            const auto own = all.subspan(i * count, count);
            row.numbers.insert(row.numbers.end(), own.begin(), own.end());
        };
        append(rows.values, names);
        append(rows.measures, measures);
        append(rows.samples, samples);
        if (!row.ended.empty() && summary_.ended++ == 0)
            summary_.first_ended = tessel::format("variant {}: {}", row.variant, row.ended);
        if (!filter_.keeps(row)) continue;
        ++summary_.kept;
        for (std::size_t m = 0; m < measures; ++m) summary_.measures[m].add(row.variant, row.numbers[names + m]);
        kept.push_back(std::move(row));
    }
    if (store_ != nullptr) store_->append(rows.count, kept);
    done_ += rows.count;
    summary_.done += rows.count;
    show_progress();
    return !interrupted();
}

void SweepVerb::show_progress() {
    using namespace std::chrono_literals;
    const auto now = clock_type::now();
    if (options_.quiet || isatty(STDERR_FILENO) == 0 || now - begin_ < 1s || now - last_shown_ < 200ms) return;
    last_shown_ = now;
    line_stands_ = true;
    const std::uint64_t all = sweep_->variants().size();
    const double spent = std::chrono::duration<double>(now - begin_).count();
    const double left =
        spent * static_cast<double>(all - done_) / static_cast<double>(std::max<std::uint64_t>(done_ - first_, 1));
    std::fputs(tessel::format("\r\033[K{} of {} variants, {} left", done_, all, duration_text(left)).c_str(), stderr);
}

/// Lets the package make a file of the rows.
void SweepVerb::ask_interpreter(std::string_view function, const std::string& file, const std::string& form) {
    const auto quoted = [](const std::string& text) { return nlohmann::json(text).dump(); };
    const auto code = tessel::format("__import__('zarn._sweep', fromlist=['_sweep']).{}({}, {}, {})", function,
                                     quoted(store_->file().string()), quoted(file), quoted(form));
    if (call_->interpreter()->run_code(code) != Interpreter::ended_t::well)
        throw std::runtime_error("it could not be made; the rows stay in " + store_->file().string());
}

void SweepVerb::write_output() {
    if (store_ == nullptr) return;
    try {
        OutputFile file(place_);
        if (place_.extension() == ".csv") {
            write_csv(file, *store_, columns_);
        } else {
            ask_interpreter("convert", file.temporary(), place_.extension().string());
        }
        file.commit();
        std::ofstream beside(place_.string() + ".manifest.json", std::ios::binary);
        beside << nlohmann::json::parse(manifest()).dump(2) << '\n';
        if (!options_.plot.empty()) {
            OutputFile picture(plot_place_);
            ask_interpreter("plot", picture.temporary(), plot_place_.extension().string().substr(1));
            picture.commit();
        }
        store_->remove();
    } catch (const std::runtime_error& error) {
        throw SessionError(problem_t::file, tessel::format("{}: {}", options_.output, error.what()));
    }
}

void SweepVerb::print_summary() {
    summary_.seconds = std::chrono::duration<double>(clock_type::now() - begin_).count();
    summary_.kinds = sweep_->kinds();
    summary_.filtered = !options_.where.empty();
    out(options_.json ? summary_json(summary_) : summary_text(summary_));
}

int SweepVerb::go() {
    prepare();
    if (options_.replay) {
        if (*options_.replay >= sweep_->variants().size())
            throw SessionError(problem_t::usage, tessel::format("--replay {}: there are {} variants", *options_.replay,
                                                                sweep_->variants().size()));
        out(sweep_->replay(*options_.replay) + "\n");
        if (store_ != nullptr && first_ == 0) store_->remove();
        return status_ok;
    }
    begin_ = last_shown_ = clock_type::now();
    bool whole = false;
    {
        const DeferInterrupts deferred;
        try {
            whole = sweep_->go([this](const rows_t& rows) { return take(rows); }, first_);
        } catch (const SessionError&) {
            throw;
        } catch (const std::runtime_error& error) {
            throw SessionError(problem_t::file, tessel::format("{}.part: {}", options_.output, error.what()));
        }
        if (whole) write_output();
    }
    if (line_stands_) std::fputs("\r\033[K", stderr);
    if (!whole)
        throw SessionError(problem_t::interrupted,
                           store_ != nullptr ? tessel::format("interrupted after {} variants; --resume goes on", done_)
                                             : tessel::format("interrupted after {} variants", done_));
    if (!options_.quiet || options_.json) print_summary();
    return status_ok;
}

void add_combinations(CLI::App& verb, sweep_options_t& options) {
    verb.add_flag("--grid", options.grid, "Each value of one name with each of the others (as it is without a choice)");
    verb.add_flag("--zip", options.zip, "The first values of all names, then the second");
    verb.add_option("--random", options.random, "Draw N variants")->type_name("N");
    verb.add_option("--sobol", options.sobol, "Draw N variants that fill the space evenly")->type_name("N");
    verb.add_option("--latin", options.latin, "Draw N variants, each N-th part of each name once")->type_name("N");
    verb.add_option("--seed", options.variation.seed, "Where drawing starts; 1 without it")->type_name("SEED");
}

}  // namespace

void add_sweep(CLI::App& app, int& status) {
    auto options = std::make_shared<sweep_options_t>();
    auto* verb = app.add_subcommand("sweep", "Run many variants of a model and measure each");
    add_common(*verb, *options);
    verb->add_option("--vary", options->variation.texts, "What varies, and how (repeatable)")
        ->type_name("NAME=VALUES")
        ->required()
        ->allow_extra_args(false);
    add_combinations(*verb, *options);
    verb->add_option("--measure", options->measures, "A number of each run (repeatable)")
        ->type_name("NAME=KIND(PATH)")
        ->allow_extra_args(false);
    verb->add_option("--probe", options->probes, "Keep a whole signal of each run, in .npz or .h5 (repeatable)")
        ->type_name("PATH[:PORT]")
        ->allow_extra_args(false);
    verb->add_option("--every", options->every, "Keep one in so many samples of a signal")->type_name("N");
    verb->add_option("--where", options->where, "Keep only some rows, such as 'peak > 1.2 or ended'")
        ->type_name("CONDITION");
    verb->add_option("-o,--output", options->output, "Write the rows as .csv, .npz or .h5")->type_name("FILE");
    verb->add_option("--plot", options->plot, "Draw signals as bands of quantiles, or the first measure")
        ->type_name("FILE");
    verb->add_flag("--resume", options->resume, "Go on with what an ended sweep left of the file");
    verb->add_option("--jobs", options->jobs, "Threads; as many as the processor has without it")->type_name("N");
    verb->add_option("--replay", options->replay, "Only show the values of a variant, as code for zarn run -e")
        ->type_name("VARIANT");
    verb->footer(
        "NAME is a name of the workspace, or PATH.PARAMETER of a block. Values are a list (kp=1,2,5), a range with "
        "its\n"
        "step (kp=0.1:0.1:10), a distribution (kp~normal(4,0.1), ~uniform(LOW,HIGH), ~lognormal(MEAN,DEVIATION)), or\n"
        "the columns of a table (@FILE.csv). A measure is last, min, max, mean, rms or integral of a signal,\n"
        "crossing(PATH,LEVEL), or iae(PATH,REFERENCE) and ise(PATH,REFERENCE), the integrals of the error.\n\n"
        "Example:\n  zarn sweep motor.json -w gains.py --vary kp=0.1:0.1:10 --measure 'peak=max(mainsys.speed)' -o "
        "peaks.csv");
    verb->callback([options, &status] {
        status = guarded([&] { return SweepVerb(*options).go(); }, options->model, options->json);
    });
}

}  // namespace zarn
