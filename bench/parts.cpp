// What the parts cost, by Google Benchmark: each pass for a block, the step of one class of each family, conversions.
//
//   bench_parts [--benchmark_filter=REGEX] [--benchmark_format=json] ...

#include <benchmark/benchmark.h>

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "bench/engine.h"
#include "bench/models.h"
#include "bench/passes.h"
#include "bench/step_clock.h"
#include "core/convert.h"
#include "core/format.h"
#include "core/type.h"
#include "model/MetaModel.h"

namespace {

using tessel::format;
using tessel::MetaModel;

// ---- passes: seconds for the blocks of a thousand chains

void pass_alone(benchmark::State& state, std::size_t wanted) {
    constexpr std::size_t chains = 1000;
    const bench::TemporaryFile file(bench::chain_farm(chains, 1));
    for (auto unused : state) {
        static_cast<void>(unused);
        const auto model = tessel::create_empty_meta_model();
        auto& meta = static_cast<MetaModel&>(*model);
        model->set_properties(std::make_shared<tessel::PropertiesModel>());
        if (tessel::json::load(model.get(), file.path().string()) != tessel::result_ok) state.SkipWithError("load");
        for (std::size_t i = 0; i <= wanted; ++i) {
            const double begin = bench::seconds();
            if ((meta.*bench::passes[i].second)() != tessel::result_ok) state.SkipWithError(bench::passes[i].first);
            if (i == wanted) state.SetIterationTime(bench::seconds() - begin);
        }
    }
    state.SetItemsProcessed(state.iterations() * std::int64_t{8 * chains});
}

// ---- steps: a few hundred blocks of one class behind sources that change with time

struct family_t {
    const char* name;
    const char* block;
    int inputs;
    const char* parameters;  // behind the port counts
    const char* type;        // of the inputs
};

constexpr std::array families{
    family_t{"sources", "sinewave", 0, R"(,"frequency":"0.5","phase":"0.0")", nullptr},
    family_t{"arithmetic", "add", 2, "", "flt64"},
    family_t{"arithmetic, int16", "add", 2, "", "int16"},
    family_t{"arithmetic, flt32", "multiply", 2, "", "flt32"},
    family_t{"mathematical functions", "sin", 1, "", "flt64"},
    family_t{"limits", "clamp", 3, "", "flt64"},
    family_t{"logic", "logical", 2, R"(,"operator":"and")", "bool"},
    family_t{"comparison", "relational", 2, R"(,"operator":"lt")", "flt64"},
    family_t{"choice", "if", 3, "", "flt64"},
    family_t{"memory", "memory", 1, "", "flt64"},
    family_t{"accumulation", "acc", 3, "", "flt64"},
    family_t{"tables", "lut1d", 1, R"(,"bp1":"[-1.0,-0.4,0.0,0.5,1.2]","out":"[-0.8,-0.5,0.1,0.4,1.0]")", "flt64"},
    family_t{"formulas", "poly1st", 1, "", "flt64"},
};

constexpr std::size_t family_blocks = 256, family_steps = 2000;

std::string family_model(const family_t& family) {
    std::string blocks, links;
    std::uint64_t id = 3000000000000001;
    const auto block = [&](const char* name, int inputs, const std::string& parameters) {
        blocks += format(R"({}{{"{}":{{"name":"b{}","id":{},"inportCount":{},"outportCount":1{}}}}})",
                         blocks.empty() ? "" : ",\n", name, id, id, inputs, parameters);
        return id++;
    };
    const auto link = [&](std::uint64_t src, std::uint64_t dst, int port) {
        links += format(R"({}{{"srcId":{},"dstId":{},"srcPort":0,"dstPort":{}}})", links.empty() ? "" : ",\n", src, dst,
                        port);
    };
    std::vector<std::uint64_t> sources;
    for (int i = 0; i < family.inputs; ++i) {
        const auto wave = block("sinewave", 0, format(R"(,"frequency":"{}.5","phase":"0.0")", i));
        const bool flag = std::string_view(family.block) == "if" && i == 0;
        sources.push_back(block("cast", 1, format(R"(,"type":"{}")", flag ? "bool" : family.type)));
        link(wave, sources.back(), 0);
    }
    for (std::size_t n = 0; n < family_blocks; ++n) {
        const auto own = block(family.block, family.inputs, family.parameters);
        for (int i = 0; i < family.inputs; ++i) link(sources[static_cast<std::size_t>(i)], own, i);
        // a model without links keeps its root, which does not run
        if (n == 0 && family.inputs == 0) {
            blocks += format(R"(,{{"display":{{"id":{},"inportCount":1}}}})", id);
            link(own, id++, 0);
        }
    }
    return format(R"({{"blocks":[{}],"links":[{}],"model":{{"ti":0.0,"tf":{},"ts":0.001}}}})", blocks, links,
                  0.001 * (static_cast<double>(family_steps) - 0.5));
}

void family_step(benchmark::State& state, const family_t& family, tessel::engine_t engine) {
    const bench::TemporaryFile file(family_model(family));
    bench::Ready ready(file.path());
    bench::StepClock clock;
    ready.model().set_monitor(&clock);
    ready.model().set_engine(engine);
    for (auto unused : state) {
        static_cast<void>(unused);
        ready.exec->run();
        state.SetIterationTime(clock.seconds_per_step() * static_cast<double>(family_steps));
    }
    state.SetItemsProcessed(state.iterations() * std::int64_t{family_blocks * family_steps});
}

// ---- conversions

template <class To, class From>
void conversion(benchmark::State& state) {
    std::array<From, 1024> from;
    std::array<To, from.size()> to;
    for (std::size_t i = 0; i < from.size(); ++i) from[i] = tessel::convert<From>(static_cast<double>(i) * 1.7 - 400.0);
    for (auto unused : state) {
        static_cast<void>(unused);
        benchmark::DoNotOptimize(from.data());
        for (std::size_t i = 0; i < from.size(); ++i) to[i] = tessel::convert<To>(from[i]);
        benchmark::DoNotOptimize(to.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(from.size()));
}

template <class From, class... To>
void register_conversions(tessel::type_list<To...>) {
    (benchmark::RegisterBenchmark(
         format("convert/{} to {}", tessel::short_name(tessel::type_of<From>), tessel::short_name(tessel::type_of<To>))
             .c_str(),
         &conversion<To, From>),
     ...);
}

template <class... From>
void register_all_conversions(tessel::type_list<From...> types) {
    (register_conversions<From>(types), ...);
}

}  // namespace

int main(int argc, char** argv) {
    for (std::size_t i = 0; i < bench::passes.size(); ++i)
        benchmark::RegisterBenchmark(format("pass/{}", bench::passes[i].first).c_str(), pass_alone, i)
            ->UseManualTime()
            ->Iterations(20);
    for (const family_t& family : families)
        for (const auto engine : {tessel::engine_t::objects, tessel::engine_t::plan})
            benchmark::RegisterBenchmark(
                format("step/{}, {}", family.name, engine == tessel::engine_t::plan ? "plan" : "objects").c_str(),
                family_step, family, engine)
                ->UseManualTime();
    register_all_conversions(tessel::value_types{});
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
