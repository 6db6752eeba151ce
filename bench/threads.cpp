// A wide model on one thread and on several: nanoseconds per block and step, and how many times as fast. The floor is
// what the machine gives: the same number of phases of arithmetic in registers, cut evenly, that meet as zones do.
//
//   bench_threads [--quick]

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

#include "bench/engine.h"
#include "bench/models.h"
#include "bench/step_clock.h"
#include "core/thread_pool.h"
#include "exec/team.h"

namespace {

/// Seconds for a phase of arithmetic that takes about as long as a zone, done by so many threads.
double floor_phase(unsigned threads, std::size_t phases) {
    constexpr int rounds = 4000;
    struct work_t {
        int rounds;
        double results[64 * 8];
    } work{rounds / static_cast<int>(threads), {}};
    const auto part = [](void* p, std::size_t i) {
        auto& all = *static_cast<work_t*>(p);
        double x = 0.1;
        for (int n = 0; n < all.rounds; ++n) x = x * 0.999 + 0.001;
        all.results[i % 64 * 8] = x;
    };
    tessel::sys::set_hardware_threads(threads);
    tessel::Team team(threads, part, &work);
    const double begin = bench::seconds();
    for (std::size_t n = 0; n < phases; ++n) team.run_phase();
    return (bench::seconds() - begin) / static_cast<double>(phases);
}

}  // namespace

int main(int argc, char** argv) {
    const bool quick = argc > 1 && std::strcmp(argv[1], "--quick") == 0;
    const std::size_t zones = 40, width = 2000, steps = quick ? 200 : 1000;
    const int rounds = quick ? 3 : 7;
    const bench::TemporaryFile file(bench::wide_zones(zones, width, steps));
    bench::Ready ready(file.path());
    bench::StepClock clock;
    ready.model().set_monitor(&clock);

    std::vector<unsigned> counts;
    for (unsigned n = 1; n <= tessel::sys::hardware_threads(); n *= 2) counts.push_back(n);
    std::printf("| threads | ns per block and step | times as fast |\n|---|---|---|\n");
    for (const char* way : {"floor", "objects", "plan"}) {
        ready.model().set_engine(*way == 'o' ? tessel::engine_t::objects : tessel::engine_t::plan);
        std::vector<std::vector<double>> seconds(counts.size());
        for (int round = 0; round < rounds; ++round) {
            for (std::size_t i = 0; i < counts.size(); ++i) {
                tessel::sys::set_hardware_threads(counts[i]);
                if (*way == 'f') {
                    seconds[i].push_back(floor_phase(counts[i], zones * steps) * static_cast<double>(zones));
                } else {
                    // a run leaves the time where the zones were, so that a second one is serial
                    ready.meta->build_exec(ready.exec.get());
                    ready.exec->run();
                    seconds[i].push_back(clock.seconds_per_step());
                }
            }
        }
        const double alone = bench::median(seconds[0]);
        for (std::size_t i = 0; i < counts.size(); ++i)
            std::printf("| %u, %s | %.2f | %.2f |\n", counts[i], way,
                        bench::median(seconds[i]) * 1e9 / static_cast<double>(zones * width),
                        alone / bench::median(seconds[i]));
    }
    return 0;
}
