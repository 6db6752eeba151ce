#include <cmath>
#include <cstring>
#include <vector>

#include "exec/ExecModel.h"
#include "tests/fuzz/harness.h"
#include "tests/fuzz/targets.h"

namespace fuzz::models {
namespace {

using namespace tessel;

/// All cells, with one bit pattern for all not-a-numbers.
std::vector<std::uint64_t> cells(ExecModel& exec) {
    std::vector<std::uint64_t> all;
    for (const auto& block : exec.blocks) {
        if (block == nullptr) continue;
        for (std::int16_t i = 0; ExecPort* port = block->input(i); ++i) {
            double number = 0.0;
            port->to_flt64(&number);
            std::uint64_t bits = 0;
            std::memcpy(&bits, port->value_ptr(), size_of(port->type()));
            all.push_back(std::isnan(number) ? 0 : bits);
        }
    }
    return all;
}

std::vector<std::uint64_t> run(MetaModel& model, engine_t engine) {
    ExecModel exec;
    model.build_exec(&exec);
    exec.set_engine(engine);
    require(exec.run() == result_ok, "a run fails");
    auto all = cells(exec);
    require(exec.run() == result_ok, "a second run fails");
    const auto second = cells(exec);
    all.insert(all.end(), second.begin(), second.end());
    return all;
}

}  // namespace

int one_input(const std::uint8_t* data, std::size_t size) {
    const Quiet quiet;
    test::prepare_bridge();
    test::ByteChoices choices({data, size});
    const auto model = compiled(model_of(choices).dump());
    if (model == nullptr || can_fault(*model)) return 0;
    require(run(*model, engine_t::plan) == run(*model, engine_t::objects), "the engines differ");
    return 0;
}

}  // namespace fuzz::models
