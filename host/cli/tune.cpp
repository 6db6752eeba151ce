// zarn tune: searches the values that make a measure least.

#include <unistd.h>
#include <CLI/App.hpp>

#include <cmath>
#include <cstdlib>
#include <limits>
#include <nlohmann/json.hpp>

#include "core/format.h"
#include "core/str.h"
#include "host/cli/command.h"
#include "host/cli/interrupt.h"
#include "host/cli/verbs.h"
#include "host/diagnose/diagnose.h"
#include "host/embed/interpreter.h"
#include "host/session/output_file.h"
#include "host/sweep/sweep.h"

namespace zarn {
namespace {

struct tune_options_t : options_t {
    std::vector<std::string> vary;
    std::string minimise, method = "de", output, plot;
    std::uint64_t seed = 1, most = 2000;
    unsigned jobs = 0;
};

/// A name and where its values may lie.
struct bounds_t {
    std::string name;
    double low = 0.0, high = 0.0;
};

bounds_t parse_bounds(const std::string& text) {
    const auto equals = text.find('='), colon = text.find(':', equals == std::string::npos ? 0 : equals);
    bounds_t bounds;
    if (equals != std::string::npos && colon != std::string::npos && equals > 0) {
        const std::string low = text.substr(equals + 1, colon - equals - 1), high = text.substr(colon + 1);
        char *low_end = nullptr, *high_end = nullptr;
        bounds = {text.substr(0, equals), std::strtod(low.c_str(), &low_end), std::strtod(high.c_str(), &high_end)};
        const bool read = !low.empty() && !high.empty() && *low_end == '\0' && *high_end == '\0';
        if (read && std::isfinite(bounds.low) && std::isfinite(bounds.high) && bounds.low < bounds.high) return bounds;
    }
    throw SessionError(problem_t::usage, tessel::format("--vary {}: expected NAME=LOW:HIGH", text));
}

class TuneVerb {
public:
    explicit TuneVerb(const tune_options_t& options)
        : options_(options), call_(std::make_unique<Call>(options, bridge_t::interpreter)) {
        if (call_->interpreter() == nullptr)
            throw SessionError(problem_t::usage, "tune needs the interpreter: it does not go with --no-python");
        if (!options_.plot.empty()) ending_of("--plot", options_.plot, ".png", ".svg");
        if (!options_.output.empty() && !options_.output.ends_with(".py"))
            throw SessionError(problem_t::usage,
                               tessel::format("-o {}: the result is a workspace file, .py", options_.output));
        for (const std::string& text : options_.vary) bounds_.push_back(parse_bounds(text));
    }

    int go() {
        start();
        while (ask("more()") == 1.0) {
            run_points();
            if (interrupted())
                throw SessionError(problem_t::interrupted, tessel::format("interrupted; {}", best_text()));
        }
        if (best_.empty())
            throw call_->session().error(problem_t::model, "no run has a result: see zarn sweep with the same values");
        write();
        if (options_.json) print_json();
        else if (!options_.quiet) out(tessel::format("{} runs\n{}\n", way_.size(), best_text()));
        return status_ok;
    }

private:
    static constexpr const char* module = "__import__('zarn._tune', fromlist=['_tune'])";

    double ask(const std::string& what) {
        tessel::var_t answer;
        if (call_->interpreter()->bridge().evaluate("", tessel::format("{}.{}", module, what), &answer) !=
            tessel::result_ok)
            throw SessionError(problem_t::workspace, "the search failed; it needs scipy (python3-scipy)");
        return static_cast<double>(answer);
    }

    void start() {
        std::string bounds, middle;
        for (const bounds_t& b : bounds_) {
            bounds += tessel::format("({}, {}), ", tessel::str::shortest(b.low), tessel::str::shortest(b.high));
            middle += tessel::str::shortest(b.low + (b.high - b.low) / 2) + ", ";
        }
        ask(tessel::format("start('{}', [{}], [{}], {}, {})", options_.method, bounds, middle, options_.seed,
                           options_.most));
    }

    /// One population, side by side.
    void run_points() {
        python::var_array_t points;
        if (call_->interpreter()->bridge().evaluate_array("", tessel::format("{}.points()", module), points) !=
            tessel::result_ok)
            throw SessionError(problem_t::workspace, "the search asks for no points");
        const std::size_t count = points.values.size() / bounds_.size();
        std::vector<std::string> names;
        std::vector<std::vector<double>> columns(bounds_.size());
        for (const bounds_t& b : bounds_) names.push_back(b.name);
        for (std::size_t i = 0; i < points.values.size(); ++i)
            columns[i % bounds_.size()].push_back(static_cast<double>(points.values[i]));
        sweep_setup_t setup;
        setup.session = call_->session().setup();
        setup.measures = {options_.minimise};
        setup.jobs = options_.jobs;
        Sweep sweep(std::move(setup), make_variants(names, columns, true));
        std::string told;
        sweep.go([&](const rows_t& rows) {
            for (std::size_t i = 0; i < rows.count; ++i) {
                const double value = rows.measures[i];
                told += (std::isnan(value) ? "None" : std::isinf(value) ? "None" : tessel::str::shortest(value)) + ", ";
                note(value, rows.values.subspan(i * bounds_.size(), bounds_.size()));
            }
            return !interrupted();
        });
        if (count == 0 || interrupted()) return;
        if (call_->interpreter()->run_code(tessel::format("{}.tell([{}])", module, told)) != Interpreter::ended_t::well)
            throw SessionError(problem_t::workspace, "the search failed");
    }

    void note(double value, std::span<const double> at) {
        if (value < least_) {
            least_ = value;
            best_.assign(at.begin(), at.end());
        }
        way_.push_back(least_);
    }

    std::string assignments(const char* between) const {
        std::string text;
        for (std::size_t i = 0; i < best_.size(); ++i)
            text +=
                tessel::format("{}{} = {}", i == 0 ? "" : between, bounds_[i].name, tessel::str::shortest(best_[i]));
        return text;
    }
    std::string best_text() const {
        if (best_.empty()) return "no result yet";
        return tessel::format("{} = {}\n{}", options_.minimise, tessel::str::shortest(least_), assignments("\n"));
    }

    void write() {
        if (!options_.output.empty()) {
            OutputFile file(std::filesystem::absolute(options_.output));
            file.write(tessel::format("# {} = {} of {}, by zarn tune\n{}\n", options_.minimise,
                                      tessel::str::shortest(least_), options_.model, assignments("\n")));
            file.commit();
        }
        if (options_.plot.empty()) return;
        OutputFile file(std::filesystem::absolute(options_.plot));
        std::string way;
        for (const double value : way_) way += (std::isfinite(value) ? tessel::str::shortest(value) : "None") + ", ";
        const auto quoted = [](const std::string& text) { return nlohmann::json(text).dump(); };
        const auto code = tessel::format("{}.plot([{}], {}, '{}', {})", module, way, quoted(file.temporary()),
                                         options_.plot.substr(options_.plot.size() - 3), quoted(options_.minimise));
        if (call_->interpreter()->run_code(code) != Interpreter::ended_t::well)
            throw SessionError(problem_t::file, tessel::format("{}: the picture could not be made", options_.plot));
        file.commit();
    }

    void print_json() const {
        nlohmann::json json{{"schema", json_schema},        {"result", 0},
                            {"runs", way_.size()},          {"least", least_},
                            {"measure", options_.minimise}, {"values", nlohmann::json::object()}};
        for (std::size_t i = 0; i < best_.size(); ++i) json["values"][bounds_[i].name] = best_[i];
        out(json.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n");
    }

    tune_options_t options_;
    std::unique_ptr<Call> call_;
    std::vector<bounds_t> bounds_;
    std::vector<double> best_, way_;
    double least_ = std::numeric_limits<double>::infinity();
};

}  // namespace

void add_tune(CLI::App& app, int& status) {
    auto options = std::make_shared<tune_options_t>();
    auto* verb = app.add_subcommand("tune", "Search the values that make a measure least");
    add_common(*verb, *options);
    verb->add_option("--vary", options->vary, "A name, and where its values may lie (repeatable)")
        ->type_name("NAME=LOW:HIGH")
        ->required()
        ->allow_extra_args(false);
    verb->add_option("--minimise", options->minimise, "What is to be least, as --measure of zarn sweep")
        ->type_name("KIND(PATH)")
        ->required();
    verb->add_option("--method", options->method, "de, differential evolution, or nelder-mead, from the middle")
        ->check(CLI::IsMember({"de", "nelder-mead"}));
    verb->add_option("--most", options->most, "At most about so many runs; 2000 without it")->type_name("N");
    verb->add_option("--seed", options->seed, "Where drawing starts; 1 without it")->type_name("SEED");
    verb->add_option("-o,--output", options->output, "Write the values as a workspace file")->type_name("FILE.py");
    verb->add_option("--plot", options->plot, "Draw the way to them")->type_name("FILE");
    verb->add_option("--jobs", options->jobs, "Threads; as many as the processor has without it")->type_name("N");
    verb->footer(
        "Populations run side by side, as variants of zarn sweep do. The methods are those of scipy.\n\n"
        "Example:\n  zarn tune motor.json -w gains.py --vary kp=0.1:2 --vary ki=0:5 --minimise 'iae(mainsys.speed, "
        "100)' "
        "-o tuned.py");
    verb->callback([options, &status] {
        status = guarded([&] { return TuneVerb(*options).go(); }, options->model, options->json);
    });
}

}  // namespace zarn
