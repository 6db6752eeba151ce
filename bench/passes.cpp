// How the time before the first step grows with the model: load, every compile pass, build_exec, and a run of one step,
// for 1,000, 10,000 and 100,000 chains of five blocks, in three file orders. What takes more than 13 times as long for
// ten times the model is marked; ends with status 1 when that is so for everything together and a file in order.
//
// Each stage begins with nothing of the model in the processor's caches: a small model would otherwise lie there since
// the pass before, a large one not, and the figures would tell of caches and not of work. Instructions do not know
// caches; tools/instructions.sh counts those.
//
//   bench_passes [--quick]          without the largest size
//   bench_passes --alone CHAINS     one model, for instruction counts

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <functional>
#include <map>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "bench/engine.h"
#include "bench/passes.h"
#include "core/format.h"
#include "exec/ExecModel.h"
#include "model/MetaModel.h"

namespace {

using tessel::format;
using tessel::MetaModel;

constexpr double most = 13.0;
constexpr double too_short_s = 0.001;  // what takes less is not compared
constexpr const char* altogether = "all of these";

enum class order_t { as_drawn, reversed, shuffled };
constexpr std::pair<order_t, const char*> orders[]{
    {order_t::as_drawn, "as drawn"}, {order_t::reversed, "reversed"}, {order_t::shuffled, "shuffled"}};

/// Chain i: sinewave and constant into multiply, that and the constant into add, that into display.
void append_chain(std::vector<std::string>& blocks, std::vector<std::string>& links, std::size_t i) {
    const std::size_t id = 1000000000000000 + 10 * i;
    const auto block = [&](const char* text, std::size_t n) {
        blocks.push_back(format("{{\"{}\": {{\"name\": \"b{}\", \"id\": {}", text, n, id + n));
    };
    block("sinewave", 1);
    blocks.back() += format(", \"outportCount\": 1, \"frequency\": \"{}.5\", \"phase\": \"0.0\"}}}}", i % 10);
    block("constant", 2);
    blocks.back() += format(", \"outportCount\": 1, \"expression\": \"{}.25\"}}}}", i % 7);
    block("multiply", 3);
    blocks.back() += ", \"inportCount\": 2, \"outportCount\": 1}}";
    block("add", 4);
    blocks.back() += ", \"inportCount\": 2, \"outportCount\": 1}}";
    block("display", 5);
    blocks.back() += ", \"inportCount\": 1}}";
    for (const auto& [src, dst, port] : {std::array{1, 3, 0}, {2, 3, 1}, {3, 4, 0}, {2, 4, 1}, {4, 5, 0}})
        links.push_back(format("{{\"srcId\": {}, \"dstId\": {}, \"srcPort\": 0, \"dstPort\": {}}}",
                               id + static_cast<std::size_t>(src), id + static_cast<std::size_t>(dst), port));
}

std::string model_text(std::size_t chains, order_t order) {
    std::vector<std::string> blocks, links;
    for (std::size_t i = 0; i < chains; ++i) append_chain(blocks, links, i);
    std::mt19937 random(1);
    for (auto* list : {&blocks, &links}) {
        if (order == order_t::reversed) std::ranges::reverse(*list);
        if (order == order_t::shuffled) std::ranges::shuffle(*list, random);
    }
    const auto joined = [](const std::vector<std::string>& list) {
        std::string text;
        for (const std::string& element : list) text += (text.empty() ? "\n" : ",\n") + element;
        return text;
    };
    return format("{{\"blocks\": [{}],\n\"links\": [{}],\n\"model\": {{\"ti\": 0.0, \"tf\": 0.5, \"ts\": 1.0}}}}\n",
                  joined(blocks), joined(links));
}

/// What is timed, in the order of its happening.
std::vector<std::string> stages() {
    std::vector<std::string> names{"load"};
    for (const auto& pass : bench::passes) names.emplace_back(pass.first);
    for (const char* name : {"build_exec", "wiring", "run, one step", altogether, "group_by_subsystem"})
        names.emplace_back(name);
    return names;
}

/// Processor time of this thread in seconds: other work on the machine counts only as far as it takes the caches.
double seconds() {
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) + 1e-9 * static_cast<double>(t.tv_nsec);
}

/// Fills the caches with something else.
void empty_caches() {
    static std::vector<std::uint64_t> other(std::size_t{512} << 20 >> 3);
    for (std::size_t i = 0; i < other.size(); i += 8) ++other[i];
}

/// Seconds of each stage: load, the passes, build_exec, wiring, the run, their sum, and the grouping that generators
/// begin with.
std::vector<double> measure(const std::filesystem::path& file, bool cold) {
    std::vector<double> taken;
    if (cold) empty_caches();
    double begin = seconds();
    const auto lap = [&] {
        const double now = seconds();
        taken.push_back(now - begin);
        if (cold) empty_caches();
        begin = seconds();
    };
    const auto require = [](tessel::result_t result, const char* what) {
        if (result != tessel::result_ok) throw std::runtime_error(format("{} gave {}", what, static_cast<int>(result)));
    };

    const auto model = tessel::create_empty_meta_model();
    auto& meta = static_cast<MetaModel&>(*model);
    model->set_properties(std::make_shared<tessel::PropertiesModel>());
    require(tessel::json::load(model.get(), file.string()), "load");
    lap();
    for (const auto& [name, pass] : bench::passes) {
        require((meta.*pass)(), name);
        lap();
    }
    const auto exec = tessel::create_empty_exec_model();
    model->build_exec(exec.get());
    lap();
    static_cast<tessel::ExecModel&>(*exec).bind();
    lap();
    require(exec->run(), "run");  // wires once more
    lap();
    taken.push_back(std::accumulate(taken.begin(), taken.end(), 0.0));
    begin = seconds();
    require(model->group_by_subsystem(), "group_by_subsystem");
    lap();
    return taken;
}

/// `measure` in a process of its own: one that loads one model has not touched its memory before.
std::vector<double> measure_afresh(const std::filesystem::path& file) {
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0) throw std::runtime_error("no pipe");
    const pid_t child = fork();
    if (child == 0) {
        int status = 1;
        try {
            const auto taken = measure(file, true);
            const auto bytes = taken.size() * sizeof(double);
            status = write(ends[1], taken.data(), bytes) == static_cast<ssize_t>(bytes) ? 0 : 1;
        } catch (const std::exception& error) {
            std::fprintf(stderr, "%s\n", error.what());
        }
        _exit(status);
    }
    close(ends[1]);
    std::vector<double> taken(stages().size());
    const auto bytes = taken.size() * sizeof(double);
    const bool whole = read(ends[0], taken.data(), bytes) == static_cast<ssize_t>(bytes);
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    if (!whole || status != 0) throw std::runtime_error("a measurement failed");
    return taken;
}

/// The shortest time of each stage over some rounds.
std::vector<double> best_of(const std::filesystem::path& file, int rounds) {
    std::vector<double> best = measure_afresh(file);
    while (--rounds > 0)
        std::ranges::transform(best, measure_afresh(file), best.begin(),
                               [](double a, double b) { return std::min(a, b); });
    return best;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 3 && std::strcmp(argv[1], "--alone") == 0) {
        const bench::TemporaryFile file(model_text(std::stoul(argv[2]), order_t::as_drawn));
        measure(file.path(), false);
        return 0;
    }
    const bool quick = argc > 1 && std::strcmp(argv[1], "--quick") == 0;
    std::vector<std::size_t> sizes{1000, 10000};
    if (!quick) sizes.push_back(100000);
    bool within = true;

    for (const auto& [order, order_name] : orders) {
        std::vector<std::vector<double>> taken;
        for (const std::size_t chains : sizes) {
            const bench::TemporaryFile file(model_text(chains, order));
            taken.push_back(best_of(file.path(), chains > 10000 ? 3 : 7));
        }
        std::printf("\nblocks in the file %s\n%-22s", order_name, "seconds for chains:");
        for (const std::size_t chains : sizes) std::printf("%12zu", chains);
        std::printf("   times per tenfold\n");
        const auto names = stages();
        for (std::size_t stage = 0; stage < names.size(); ++stage) {
            std::printf("%-22s", names[stage].c_str());
            for (const auto& row : taken) std::printf("%12.6f", row[stage]);
            std::printf("  ");
            for (std::size_t i = 1; i < sizes.size(); ++i) {
                const double ratio = taken[i][stage] / taken[i - 1][stage];
                const bool counts = taken[i - 1][stage] >= too_short_s;
                if (ratio > most && names[stage] == altogether && order != order_t::shuffled) within = false;
                std::printf("%8.1f%s", ratio, !counts ? " (short)" : ratio > most ? " (over 13)" : "");
            }
            std::printf("\n");
        }
    }
    return within ? 0 : 1;
}
