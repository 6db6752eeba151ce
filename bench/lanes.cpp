// Many variants side by side: time for each variant, as a ratio to hand-written C of the same run.
//
//   bench_lanes [--quick] [--out FILE]

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fstream>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "bench/engine.h"
#include "bench/models.h"
#include "bench/reference.h"
#include "core/format.h"
#include "exec/ensemble/batch.h"
#include "exec/ensemble/lower.h"
#include "host/session/session.h"
#include "host/sweep/lanes.h"

namespace {

using tessel::format;
namespace ensemble = tessel::ensemble;

bool quick = false;
std::string report;

void line(const std::string& text) {
    std::printf("%s\n", text.c_str());
    std::fflush(stdout);
    report += text + "\n";
}

void consume(double value) { asm volatile("" : : "x"(value) : "memory"); }

/// Of this thread: what other processes take does not count.
double processor_seconds() {
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) + 1e-9 * static_cast<double>(t.tv_nsec);
}

class Nobody final : public ensemble::Listener {
public:
    void take(std::size_t, std::uint64_t, double, const void*, tessel::type_t, const std::uint8_t*) noexcept override {}
};

/// A model and the places of it that vary: every number of the members of those classes.
class Lanes {
public:
    Lanes(const std::string& text, const std::vector<std::string>& classes) {
        zarn::session_setup_t setup;
        setup.model = "bench.json";
        session_ = std::make_unique<zarn::Session>(std::move(setup), text);
        if (session_->load() != tessel::result_ok || session_->compile() != tessel::result_ok)
            throw std::runtime_error("the model does not compile");
        model_ = zarn::model_in_lanes(*session_).model;
        const auto blocks = zarn::model_in_lanes(*session_).blocks;
        for (std::size_t m = 0; m < blocks.size(); ++m) {
            if (std::ranges::find(classes, blocks[m]->class_name()) == classes.end()) continue;
            const auto& formula = model_.members[m].formula;
            for (std::uint32_t i = 0; i < formula.parameters.size(); ++i)
                if (formula.parameters[i].type == tessel::type_flt64)
                    places_.push_back({static_cast<std::int32_t>(m), ensemble::part_t::parameter, i});
        }
    }
    void lower(ensemble::isa_t isa) {
        ensemble::request_t request;
        request.places = places_;
        request.isa = isa;
        program_ = ensemble::lower(model_, request);
        batch_ = std::make_unique<ensemble::Batch>(program_);
        std::mt19937_64 random(1);
        std::uniform_real_distribution<double> near(0.999, 1.001);
        values_.clear();
        for (const auto& place : places_) {
            const auto base = tessel::from_bits<double>(
                value_at(model_.members[static_cast<std::size_t>(place.member)].formula, place));
            for (std::size_t lane = 0; lane < ensemble::most_lanes; ++lane)
                values_.push_back(tessel::bits_of(base * near(random)));
        }
    }
    /// Seconds for each of the variants of one full batch.
    double seconds_per_variant() {
        Nobody nobody;
        const std::size_t lanes = program_.lanes;
        std::vector<std::uint64_t> values;
        for (std::size_t p = 0; p < places_.size(); ++p)
            values.insert(values.end(), values_.begin() + static_cast<std::ptrdiff_t>(p * ensemble::most_lanes),
                          values_.begin() + static_cast<std::ptrdiff_t>(p * ensemble::most_lanes + lanes));
        const double begin = processor_seconds();
        batch_->run(values, lanes, {model_.ti, model_.tf, model_.ts}, nobody);
        return (processor_seconds() - begin) / static_cast<double>(lanes);
    }
    std::size_t instructions() const { return program_.code.size(); }

private:
    std::unique_ptr<zarn::Session> session_;
    ensemble::model_t model_;
    std::vector<ensemble::place_t> places_;
    std::vector<std::uint64_t> values_;
    ensemble::program_t program_;
    std::unique_ptr<ensemble::Batch> batch_;
};

double seconds_of(const std::function<void()>& work) {
    const double begin = processor_seconds();
    work();
    return processor_seconds() - begin;
}

void compare(const std::string& name, const std::string& text, const std::vector<std::string>& varied,
             const std::function<void()>& by_hand) {
    Lanes lanes(text, varied);
    const std::pair<ensemble::isa_t, const char*> sets[] = {
        {ensemble::isa_t::baseline, "baseline"}, {ensemble::isa_t::avx2, "AVX2"}, {ensemble::isa_t::avx512, "AVX-512"}};
    for (const auto& [isa, isa_name] : sets) {
        if (isa > ensemble::best_isa()) continue;
        lanes.lower(isa);
        lanes.seconds_per_variant();
        std::vector<double> ratios;
        for (int round = 0; round < (quick ? 5 : 11); ++round)
            ratios.push_back(lanes.seconds_per_variant() / seconds_of(by_hand));
        line(format("| {} | {} | {:.3f} |", name, isa_name, bench::median(ratios)));
    }
}

}  // namespace

int main(int argc, char** argv) {
    std::string out;
    for (int i = 1; i < argc; ++i) {
        const std::string option = argv[i];
        if (option == "--quick") quick = true;
        else if (option == "--out" && i + 1 < argc) out = argv[++i];
        else return std::fprintf(stderr, "usage: bench_lanes [--quick] [--out FILE]\n"), 2;
    }
    line("\n## Many variants in lanes, per variant, one core\n");
    line("| model | instructions | ratio to hand-written C |");
    line("|---|---|---|");
    const std::size_t loop_steps = quick ? 20'000 : 200'000, farm_steps = quick ? 200 : 2'000;
    compare("M1, every constant varied", bench::control_loop(loop_steps), {"constant"},
            [=] { consume(reference_loop(loop_steps, bench::step_s, nullptr)); });
    const auto farm = [](std::size_t chains) {
        std::vector<chain_t> state(chains);
        for (std::size_t i = 0; i < chains; ++i) reference_chain_init(&state[i], i);
        return state;
    };
    auto chains = farm(100);
    const auto by_hand = [&] {
        consume(reference_chains(chains.data(), chains.size(), farm_steps, bench::step_s, nullptr));
    };
    compare("M2, constants varied", bench::chain_farm(100, farm_steps), {"constant"}, by_hand);
    compare("M2, frequency and phase varied too", bench::chain_farm(100, farm_steps), {"constant", "sinewave"},
            by_hand);
    const std::size_t wide_steps = quick ? 20 : 100;
    auto wide = farm(10000);
    compare("M3: 80,000 blocks", bench::chain_farm(10000, wide_steps), {"constant"},
            [&] { consume(reference_chains(wide.data(), wide.size(), wide_steps, bench::step_s, nullptr)); });
    if (!out.empty()) std::ofstream(out, std::ios::app) << report;
    return 0;
}
