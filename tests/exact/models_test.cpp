// Random models of all kinds as programs, step by step beside their run.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "core/format.h"
#include "core/hash.h"
#include "framework/structure.h"
#include "tests/exact/program.h"
#include "tests/properties/bench.h"
#include "tests/support/random_model.h"
#include "tests/support/temp_folder.h"

namespace tessel::test {
namespace {

using exact::cell_number;
using exact::role_t;

/// A model, its run and its program.
struct pair_t {
    pair_t(std::uint64_t seed, const exact::options_t& options) : compiled(content(seed)) {
        exec = compiled.build(engine_t::plan);
        exec->bind();
        unit = exact::make_unit(compiled.model, *compiled.properties, *exec, options);
    }
    static nlohmann::json content(std::uint64_t seed) {
        SeededChoices choices(seed);
        return random_model(choices, {8 + static_cast<unsigned>(seed % 40), 3, seed % 4 != 0});
    }
    Compiled compiled;
    std::shared_ptr<ExecModel> exec;
    exact::unit_t unit;
};

exact::options_t options_of(std::uint64_t seed) {
    exact::options_t options;
    options.name = tessel::format("model{}", seed);
    options.inline_parameters = seed % 2 != 0;
    options.keep = seed % 3 == 0 ? exact::keep_t::ports : seed % 3 == 1 ? exact::keep_t::all : exact::keep_t::named;
    options.in_order_of_run = seed % 5 == 0;
    return options;
}

/// Steps the program behind each step of the run and compares all that both keep; feeds both with the same inputs.
class Lockstep final : public RunMonitor {
public:
    Lockstep(pair_t& pair, Program& program) : pair_(pair), program_(program) {
        for (const exact::port_t& port : pair.unit.ports)
            if (!port.is_input && pair.unit.cell(port.cell).kept)
                watched_.push_back({pair.exec->find_block(port.block)->output(port.port), &port});
        for (const cell_number input : pair.unit.of(role_t::input))
            fed_.push_back({pair.exec->find_block(pair.unit.cell(input).block)->input(0), input});
    }
    bool step_done(double t) noexcept override {
        try {
            compare(t);
        } catch (const std::exception& error) {
            ADD_FAILURE() << error.what();
            failed_ = true;
        }
        return !failed_;
    }
    std::size_t compared = 0;

private:
    void compare(double t) {
        EXPECT_EQ(program_.time(), t);
        program_.step();
        for (const auto& [cell, port] : watched_) {
            ++compared;
            std::uint64_t expected = 0;
            std::memcpy(&expected, cell->value_ptr(), size_of(cell->type()));
            if (same(port->type, expected, program_.get(port->cell))) continue;
            failed_ = true;
            ADD_FAILURE() << port->path << " at " << t << ": " << std::hex << expected << " in the run, "
                          << program_.get(port->cell) << " in the program";
            return;
        }
        double value = 3.0 * t - 1.25;
        for (const auto& [cell, input] : fed_) {
            std::memcpy(cell->value_ptr(), &value, sizeof value);
            program_.set(input, from_double(value));
            value = -2.0 * value;
        }
    }
    static std::uint64_t from_double(double v) {
        std::uint64_t bits;
        std::memcpy(&bits, &v, sizeof bits);
        return bits;
    }

    pair_t& pair_;
    Program& program_;
    std::vector<std::pair<ExecPort*, const exact::port_t*>> watched_;
    std::vector<std::pair<ExecPort*, cell_number>> fed_;
    bool failed_ = false;
};

/// The sinks, whose input cells a run brings up to date at its end.
void compare_sinks(const pair_t& pair, const Program& program) {
    for (const exact::port_t& port : pair.unit.ports) {
        if (!port.is_input || !pair.unit.cell(port.cell).kept) continue;
        ExecPort* cell = pair.exec->find_block(port.block)->input(0);
        std::uint64_t expected = 0;
        std::memcpy(&expected, cell->value_ptr(), size_of(cell->type()));
        EXPECT_TRUE(same(port.type, expected, program.get(port.cell))) << port.path;
    }
}

void run_models(std::uint64_t first, std::uint64_t count) {
    prepare_bridge();
    const ::test::TempFolder folder;
    std::vector<std::unique_ptr<pair_t>> pairs;
    std::vector<const exact::unit_t*> units;
    for (std::uint64_t seed = first; seed < first + count; ++seed) {
        pairs.push_back(std::make_unique<pair_t>(seed, options_of(seed)));
        units.push_back(&pairs.back()->unit);
    }
    const Library library(folder.path(), units, tessel::format("gcc -std=c99 -O1 {}", warnings));
    std::size_t compared = 0;
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        SCOPED_TRACE(pairs[i]->unit.name);
        Program program(library, pairs[i]->unit);
        Lockstep lockstep(*pairs[i], program);
        pairs[i]->exec->set_monitor(&lockstep);
        pairs[i]->exec->run();
        compare_sinks(*pairs[i], program);
        compared += lockstep.compared;
        if (testing::Test::HasFailure()) return;
    }
    EXPECT_GT(compared, count * 50);
}

TEST(ExactModels, ComputeWhatTheirRunsCompute) { run_models(1, 100); }
TEST(ExactModels, ComputeWhatTheirRunsComputeToo) { run_models(101, 100); }
TEST(ExactModels, ComputeWhatTheirRunsComputeAsWell) { run_models(201, 100); }

}  // namespace
}  // namespace tessel::test
