// The native engine next to hand-written C of the same model and to the plan, in one process: nanoseconds of processor
// time per block and step, how long the compiler takes, and whether the values are equal to the last bit.
//
//   bench_native [--quick]
//   bench_native --alone M1|M2|M3 STEPS
//   bench_native --source M1|M2|M3

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <functional>
#include <string>
#include <vector>

#include "bench/engine.h"
#include "bench/models.h"
#include "bench/reference.h"
#include "core/format.h"
#include "host/native/engine.h"
#include "host/session/session.h"
#include "host/toolchain/temporary_folder.h"

namespace {

using tessel::format;

void consume(double value) { asm volatile("" : : "x"(value) : "memory"); }

struct model_t {
    const char* name;
    std::string text;
    std::size_t blocks, steps, chains;  // no chains: the loop
};

model_t model_of(const std::string& name, std::size_t steps) {
    if (name == "M1") return {"M1: loop of 18 blocks", bench::control_loop(steps), 18, steps, 0};
    const std::size_t chains = name == "M2" ? 100 : 10000;
    return {name == "M2" ? "M2: 800 blocks" : "M3: 80,000 blocks", bench::chain_farm(chains, steps), 8 * chains, steps,
            chains};
}

/// A model with its machine code, compiled anew.
class Native {
public:
    explicit Native(const model_t& model) : session_(setup(), model.text), cache_(folder_.path() / "cache") {
        session_.prepare();
        run_ = std::make_unique<zarn::Run>(session_);
        engine_ = std::make_unique<zarn::native::Engine>(session_, *run_, cache_);
        const double begin = bench::seconds();
        const zarn::TemporaryFolder fresh;
        zarn::native::Cache empty(fresh.path() / "cache");
        const zarn::native::Library library(engine_->text().source, empty, zarn::native::find_compiler());
        compile_s = bench::seconds() - begin;
    }
    void run(std::size_t steps) {
        engine_->begin();
        if (engine_->steps(steps) != steps) throw std::runtime_error("another number of steps");
    }
    const std::string& source() const { return engine_->text().source; }
    double output(std::uint64_t id) {
        double value;
        std::memcpy(&value, engine_->value(engine_->unit().find(id)->cell), sizeof value);
        return value;
    }
    double compile_s = 0;

private:
    static zarn::session_setup_t setup() {
        zarn::session_setup_t setup;
        setup.model = "bench.json";
        return setup;
    }

    zarn::TemporaryFolder folder_;
    zarn::Session session_;
    zarn::native::Cache cache_;
    std::unique_ptr<zarn::Run> run_;
    std::unique_ptr<zarn::native::Engine> engine_;
};

/// The last y, or the sum of the last o.
double by_hand(const model_t& model, std::vector<chain_t>& state) {
    if (model.chains == 0) return reference_loop(model.steps, bench::step_s, nullptr);
    for (std::size_t i = 0; i < state.size(); ++i) reference_chain_init(&state[i], i);
    return reference_chains(state.data(), state.size(), model.steps, bench::step_s, nullptr);
}

void compare(const model_t& model, int rounds) {
    const bench::TemporaryFile file(model.text);
    bench::Ready plan(file.path());
    Native native(model);
    std::vector<chain_t> state(model.chains);
    double hand = 0;
    const std::function<void()> ways[] = {[&] { consume(hand = by_hand(model, state)); }, [&] { plan.exec->run(); },
                                          [&] { native.run(model.steps); }};
    std::vector<double> seconds[3];
    for (int round = 0; round <= rounds; ++round)
        for (std::size_t i = 0; i < 3; ++i) {
            const std::clock_t begin = std::clock();
            ways[i]();
            if (round > 0) seconds[i].push_back(static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC);
        }
    double got = model.chains == 0 ? native.output(bench::y_id) : 0.0;
    for (std::size_t i = 0; i < model.chains; ++i) got += native.output(bench::chain_output(i));
    const char* names[] = {"hand-written C", "plan", "native"};
    const double unit = 1e9 / static_cast<double>(model.blocks * model.steps), floor = bench::median(seconds[0]);
    for (std::size_t i = 0; i < 3; ++i)
        std::printf(
            "| %s | %s | %.2f | %.2f | %s |\n", model.name, names[i], bench::median(seconds[i]) * unit,
            bench::median(seconds[i]) / floor,
            i != 2 ? "" : format("{:.2f} s, {}", native.compile_s, got == hand ? "equal" : "NOT EQUAL").c_str());
    std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 4 && std::string(argv[1]) == "--alone") {
        const model_t model = model_of(argv[2], std::stoul(argv[3]));
        Native(model).run(model.steps);
        return 0;
    }
    if (argc == 3 && std::string(argv[1]) == "--source") {
        std::fputs(Native(model_of(argv[2], 10)).source().c_str(), stdout);
        return 0;
    }
    const bool quick = argc == 2 && std::string(argv[1]) == "--quick";
    std::printf("| model | way | ns | ratio | compiled in, values |\n|---|---|---|---|---|\n");
    compare(model_of("M1", quick ? 100'000 : 1'000'000), quick ? 3 : 7);
    compare(model_of("M2", quick ? 1'000 : 10'000), quick ? 3 : 7);
    compare(model_of("M3", quick ? 20 : 100), quick ? 3 : 7);
}
