// Runs the benchmark models in every way side by side and prints a table: nanoseconds per block and step, and the
// ratio to hand-written C of the same run.
//
//   bench_ways [--quick] [--out FILE]
//   bench_ways --set-up FILE
//   bench_ways --alone M1|M2|M3 c|objects|plan STEPS

#include <sys/resource.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <functional>
#include <limits>
#include <string>
#include <thread>
#include <vector>

#include "bench/engine.h"
#include "bench/models.h"
#include "bench/reference.h"
#include "bench/step_clock.h"
#include "core/format.h"
#include "core/thread_pool.h"

namespace {

using bench::Ready;
using tessel::engine_t;
using tessel::format;

bool quick = false;

/// Keeps `value` from being optimised away.
void consume(double value) { asm volatile("" : : "x"(value) : "memory"); }

struct timing_t {
    double median = 0;  // seconds
    double spread = 0;  // (highest - lowest) / median
};

/// Lets several ways, each of which answers its seconds per step, run in turn, so that each meets the machine's moods
/// alike.
std::vector<timing_t> time_in_turn(const std::vector<std::function<double()>>& ways, int rounds) {
    std::vector<std::vector<double>> seconds(ways.size());
    for (const auto& way : ways) way();
    for (int round = 0; round < rounds; ++round)
        for (std::size_t i = 0; i < ways.size(); ++i) seconds[i].push_back(ways[i]());
    std::vector<timing_t> result;
    for (auto& s : seconds) {
        std::ranges::sort(s);
        const double median = s[s.size() / 2];
        result.push_back({median, (s.back() - s.front()) / median});
    }
    return result;
}

std::string report;

void line(const std::string& text) {
    std::printf("%s\n", text.c_str());
    std::fflush(stdout);
    report += text + "\n";
}

struct case_t {
    const char* name;
    std::string file_text;
    std::size_t blocks;
    std::size_t steps;
    std::function<void()> by_hand;
};

/// Seconds per step of a run of the engine. The clock is read once a step, which a step of a few blocks would notice,
/// so for those the whole run counts, whose set-up is nothing beside a million steps.
std::function<double()> way_of(Ready& ready, engine_t engine, std::size_t steps, bench::StepClock* clock) {
    ready.model().set_engine(engine);
    ready.model().set_monitor(clock);
    return [&ready, steps, clock] {
        const double begin = bench::seconds();
        ready.exec->run();
        const double total = bench::seconds() - begin;
        return clock != nullptr ? clock->seconds_per_step() : total / static_cast<double>(steps);
    };
}

void compare_ways(const case_t& model) {
    const bench::TemporaryFile file(model.file_text);
    Ready objects(file.path()), plan(file.path());
    bench::StepClock clocks[2];
    const bool clocked = model.blocks > 100;
    const auto by_hand = [&] {
        const double begin = bench::seconds();
        model.by_hand();
        return (bench::seconds() - begin) / static_cast<double>(model.steps);
    };
    const auto t =
        time_in_turn({by_hand, way_of(objects, engine_t::objects, model.steps, clocked ? &clocks[0] : nullptr),
                      way_of(plan, engine_t::plan, model.steps, clocked ? &clocks[1] : nullptr)},
                     quick ? 3 : 7);
    const double unit = 1e9 / static_cast<double>(model.blocks);
    const char* ways[] = {"hand-written C", "objects", "plan"};
    for (std::size_t i = 0; i < 3; ++i)
        line(format("| {} | {} | {:.2f} | {:.2f} | {:.0f} % |", model.name, ways[i], t[i].median * unit,
                    t[i].median / t[0].median, 100 * t[i].spread));
}

void compare_types() {
    const std::size_t chains = 100, steps = quick ? 2000 : 10000;
    struct typed_t {
        const char* name;
        const char* input;
        const char* state;
    };
    const typed_t types[] = {{"flt64", "flt64", "flt64"},
                             {"int16", "int16", "int16"},
                             {"flt32", "flt32", "flt32"},
                             {"int32 and flt64", "int32", "flt64"},
                             {"int16 and flt32", "int16", "flt32"}};
    std::vector<std::unique_ptr<Ready>> models;
    std::vector<std::function<double()>> runs;
    std::vector<bench::StepClock> clocks(std::size(types));
    for (std::size_t i = 0; i < std::size(types); ++i) {
        const bench::TemporaryFile file(bench::typed_farm(chains, steps, types[i].input, types[i].state));
        models.push_back(std::make_unique<Ready>(file.path()));
        runs.push_back(way_of(*models.back(), engine_t::plan, steps, &clocks[i]));
    }
    const auto t = time_in_turn(runs, quick ? 3 : 7);
    for (std::size_t i = 0; i < runs.size(); ++i)
        line(format("| {} | {:.2f} | {:.2f} |", types[i].name, t[i].median * 1e9 / (6.0 * static_cast<double>(chains)),
                    t[i].median / t[0].median));
}

double largest_difference(const std::vector<double>& a, const std::vector<double>& b) {
    double worst = 0;
    for (std::size_t i = 0; i < a.size(); ++i) worst = std::max(worst, std::abs(a[i] - b[i]));
    return a.size() == b.size() ? worst : std::numeric_limits<double>::infinity();
}

/// Records outputs after every step.
class Recorder final : public tessel::RunMonitor {
public:
    explicit Recorder(std::vector<tessel::ExecPort*> ports) : ports_(std::move(ports)) {}
    bool step_done(double) noexcept override {
        for (const auto* port : ports_) {
            double value;
            port->to_flt64(&value);
            values.push_back(value);
        }
        return true;
    }
    std::vector<double> values;

private:
    std::vector<tessel::ExecPort*> ports_;
};

void check_agreement() {
    const std::size_t loop_steps = 20000, chain_steps = 500, chains = 100;
    for (const engine_t engine : {engine_t::objects, engine_t::plan}) {
        const char* name = engine == engine_t::objects ? "objects" : "plan";
        {
            const bench::TemporaryFile file(bench::control_loop(loop_steps));
            Ready ready(file.path());
            ready.model().set_engine(engine);
            Recorder recorder({ready.exec->find_block(bench::y_id)->output(0)});
            ready.model().set_monitor(&recorder);
            ready.exec->run();
            std::vector<double> y(loop_steps);
            reference_loop(loop_steps, bench::step_s, y.data());
            line(format("- M1, {}: largest difference of y {}", name, largest_difference(y, recorder.values)));
        }
        {
            const bench::TemporaryFile file(bench::chain_farm(chains, chain_steps));
            Ready ready(file.path());
            ready.model().set_engine(engine);
            std::vector<tessel::ExecPort*> ports;
            for (std::size_t i = 0; i < chains; ++i)
                ports.push_back(ready.exec->find_block(bench::chain_output(i))->output(0));
            Recorder recorder(ports);
            ready.model().set_monitor(&recorder);
            ready.exec->run();
            std::vector<chain_t> state(chains);
            for (std::size_t i = 0; i < chains; ++i) reference_chain_init(&state[i], i);
            std::vector<double> o(chains * chain_steps);
            reference_chains(state.data(), chains, chain_steps, bench::step_s, o.data());
            line(format("- M2, {}: largest difference of o {}", name, largest_difference(o, recorder.values)));
        }
    }
}

// ---- set-up: everything before the second step

struct setup_t {
    double load, compile, build, first_step, peak_bytes;
};

double resident_peak() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) * 1024;
}

/// Sets a model up and writes what that took for `measure_setup`.
int set_up_alone(const std::string& file) {
    const double before = resident_peak();
    Ready ready(file);
    const double begin = bench::seconds();
    ready.exec->run();
    const double first_step = bench::seconds() - begin;
    std::printf("%.9g %.9g %.9g %.9g %.0f\n", ready.load_s, ready.compile_s, ready.build_s, first_step,
                resident_peak() - before);
    return 0;
}

/// Set-up in a process of its own, which has touched no memory before.
setup_t measure_setup(const std::filesystem::path& file) {
    const auto self = std::filesystem::read_symlink("/proc/self/exe");
    std::FILE* answer = popen(format("'{}' --set-up '{}'", self.string(), file.string()).c_str(), "r");
    setup_t result{};
    const bool whole = answer != nullptr && std::fscanf(answer, "%lf %lf %lf %lf %lf", &result.load, &result.compile,
                                                        &result.build, &result.first_step, &result.peak_bytes) == 5;
    if (answer == nullptr || pclose(answer) != 0 || !whole) throw std::runtime_error("a set-up failed");
    return result;
}

void measure_setups() {
    double previous = 0;
    for (const std::size_t chains : {std::size_t{100}, std::size_t{1000}, std::size_t{10000}, std::size_t{25000}}) {
        const std::string text = bench::chain_farm(chains, 1);
        const bench::TemporaryFile file(text);
        std::vector<setup_t> runs;
        for (int i = 0; i < (quick ? 1 : 5); ++i) runs.push_back(measure_setup(file.path()));
        const auto total = [](const setup_t& s) { return s.load + s.compile + s.build + s.first_step; };
        std::ranges::sort(runs, {}, total);
        const setup_t& s = runs[runs.size() / 2];
        const double blocks = 8.0 * static_cast<double>(chains);
        line(format("| {} | {:.4f} | {:.4f} | {:.4f} | {:.4f} | {:.4f} | {} | {:.0f} |", chains, s.load, s.compile,
                    s.build, s.first_step, total(s),
                    previous > 0 && chains <= 10000 ? format("{:.1f}", total(s) / previous) : "",
                    (s.peak_bytes - static_cast<double>(text.size())) / blocks));
        previous = total(s);
    }
}

/// One way alone, for instruction counts: two runs that differ in their steps tell what a step costs.
int run_alone(const std::string& model, const std::string& way, std::size_t steps) {
    const std::size_t chains = model == "M2" ? 100 : 10000;
    if (way == "c") {
        std::vector<chain_t> state(chains);
        for (std::size_t i = 0; i < chains; ++i) reference_chain_init(&state[i], i);
        if (model == "M1") consume(reference_loop(steps, bench::step_s, nullptr));
        else consume(reference_chains(state.data(), chains, steps, bench::step_s, nullptr));
        return 0;
    }
    const bench::TemporaryFile file(model == "M1" ? bench::control_loop(steps) : bench::chain_farm(chains, steps));
    Ready ready(file.path());
    ready.model().set_engine(way == "plan" ? engine_t::plan : engine_t::objects);
    ready.exec->run();
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 3 && std::string(argv[1]) == "--set-up") return set_up_alone(argv[2]);
    if (argc == 5 && std::string(argv[1]) == "--alone") return run_alone(argv[2], argv[3], std::stoul(argv[4]));
    std::string out;
    for (int i = 1; i < argc; ++i) {
        const std::string option = argv[i];
        if (option == "--quick") quick = true;
        else if (option == "--out" && i + 1 < argc) out = argv[++i];
        else {
            std::fprintf(stderr, "usage: bench_ways [--quick] [--out FILE]\n");
            return 2;
        }
    }
    const std::size_t loop_steps = quick ? 100'000 : 1'000'000, farm_steps = quick ? 1'000 : 10'000;
    const std::size_t wide_steps = quick ? 20 : 100;

    line("## Set-up, in seconds\n");
    line(
        "Chains of 8 blocks; the growth is that of the total per tenfold; memory is the peak beyond the file's "
        "text.\n");
    line("| chains | load | compile | build | wire and first step | total | growth | bytes a block |");
    line("|---|---|---|---|---|---|---|---|");
    measure_setups();

    line("\n## Agreement with hand-written C\n");
    check_agreement();

    line("\n## Nanoseconds per block and step, one core\n");
    line("| model | way | ns | ratio | spread |");
    line("|---|---|---|---|---|");
    compare_ways({"M1: loop of 18 blocks", bench::control_loop(loop_steps), 18, loop_steps,
                  [=] { consume(reference_loop(loop_steps, bench::step_s, nullptr)); }});
    for (const auto& [name, chains, steps] : {std::tuple{"M2: 800 blocks", std::size_t{100}, farm_steps},
                                              std::tuple{"M3: 80,000 blocks", std::size_t{10000}, wide_steps}}) {
        std::vector<chain_t> state(chains);
        for (std::size_t i = 0; i < chains; ++i) reference_chain_init(&state[i], i);
        compare_ways({name, bench::chain_farm(chains, steps), 8 * chains, steps, [&, steps = steps] {
                          consume(reference_chains(state.data(), state.size(), steps, bench::step_s, nullptr));
                      }});
    }

    line("\n## Types, 600 blocks of arithmetic, plan\n");
    line("| types | ns per block and step | ratio to flt64 |");
    line("|---|---|---|");
    compare_types();

    if (!out.empty()) std::ofstream(out, std::ios::app) << report;
    return 0;
}
