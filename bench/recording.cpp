// What recording costs a run, and how fast the samples are written: a hundred signals of the M2 model.
//
//   bench_recording [--quick]

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "bench/engine.h"
#include "bench/models.h"
#include "bench/step_clock.h"
#include "core/format.h"
#include "host/session/output_file.h"
#include "host/session/probes.h"
#include "host/session/results.h"

namespace {

constexpr std::size_t chains = 100;

/// As the command's own: counts the steps for the probes.
class CountingClock final : public tessel::RunMonitor {
public:
    explicit CountingClock(zarn::run_clock_t& clock) : clock_(clock) {}
    bool step_done(double t) noexcept override {
        clock_.time = t;
        ++clock_.step;
        return steps.step_done(t);
    }
    bool looks_at_cells() const noexcept override { return false; }
    bench::StepClock steps;

private:
    zarn::run_clock_t& clock_;
};

}  // namespace

int main(int argc, char** argv) {
    const bool quick = argc > 1 && std::strcmp(argv[1], "--quick") == 0;
    const std::size_t steps = quick ? 2000 : 10000;
    const int rounds = quick ? 3 : 7;
    const bench::TemporaryFile file(bench::chain_farm(chains, steps));
    bench::Ready ready(file.path());
    std::vector<std::string> names;
    for (std::size_t i = 0; i < chains; ++i) names.push_back(tessel::format("#{}", bench::chain_output(i)));

    std::vector<double> plain, recorded, written, copied;
    const auto csv = std::filesystem::temp_directory_path() / tessel::format("blocks-bench-{}.csv", steps);
    double megabytes = 0;
    for (int round = 0; round < rounds; ++round) {
        for (const bool record : {false, true}) {
            zarn::run_clock_t clock;
            CountingClock monitor(clock);
            ready.meta->build_exec(ready.exec.get());
            std::vector<zarn::signal_t> signals;
            if (record) {
                signals = zarn::find_signals(*ready.meta, names);
                zarn::attach_probes(ready.model(), signals, clock);
            }
            ready.model().set_monitor(&monitor);
            ready.exec->run();
            ready.model().set_monitor(nullptr);
            (record ? recorded : plain).push_back(monitor.steps.seconds_per_step());
            if (!record) continue;

            double begin = bench::seconds();
            {
                zarn::OutputFile out(csv);
                zarn::write_csv(out, {0.0, bench::step_s, clock.step}, signals);
                out.commit();
            }
            written.push_back(bench::seconds() - begin);
            megabytes = static_cast<double>(std::filesystem::file_size(csv)) / 1e6;
            // the floor: the same bytes, ready-made
            const std::string bytes(std::filesystem::file_size(csv), '7');
            begin = bench::seconds();
            {
                zarn::OutputFile out(csv);
                out.write(bytes);
                out.commit();
            }
            copied.push_back(bench::seconds() - begin);
        }
    }
    std::filesystem::remove(csv);
    std::printf("| what | figure |\n|---|---|\n");
    std::printf("| step of 800 blocks | %.2f us |\n", bench::median(plain) * 1e6);
    std::printf("| the same, 100 signals recorded | %.2f us |\n", bench::median(recorded) * 1e6);
    std::printf("| cost of recording | %.0f %% |\n", 100 * (bench::median(recorded) / bench::median(plain) - 1));
    std::printf("| CSV, %.1f MB | %.0f MB/s |\n", megabytes, megabytes / bench::median(written));
    std::printf("| the same bytes ready-made | %.0f MB/s |\n", megabytes / bench::median(copied));
    return 0;
}
