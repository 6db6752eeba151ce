// Random models of all kinds as programs, step by step beside their run.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <set>
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
        for (const cell_number input : pair.unit.of(role_t::input)) {
            const exact::cell_t& cell = pair.unit.cell(input);
            ExecBlock* const object = pair.exec->find_block(cell.block);
            ExecPort *const output = object->output(0), *const first = object->input(0);
            if (first != output && first->source() == nullptr) {
                fed_.push_back({first, input});
                continue;
            }
            const bool inside = pair.unit.part.empty() || cell.path.starts_with(pair.unit.part + ".");
            crossing_.push_back(
                {output != nullptr ? output : first, input, cell.of_last_step && !inside, cell.initial});
        }
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
        for (crossing_t& crossing : crossing_) {
            std::uint64_t now = 0;
            std::memcpy(&now, crossing.cell->value_ptr(), size_of(crossing.cell->type()));
            program_.set(crossing.input, crossing.before ? crossing.last : now);
            crossing.last = now;
        }
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

    /// What crosses the border of a part: the run shows it.
    struct crossing_t {
        ExecPort* cell;
        cell_number input;
        bool before;  // the value of the step before counts
        std::uint64_t last;
    };

    pair_t& pair_;
    Program& program_;
    std::vector<crossing_t> crossing_;
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

/// Compiles the programs in one call, and steps each beside its run.
void compare(const std::vector<std::unique_ptr<pair_t>>& pairs) {
    const ::test::TempFolder folder;
    std::vector<const exact::unit_t*> units;
    for (const auto& pair : pairs) units.push_back(&pair->unit);
    const Library library(folder.path(), units, tessel::format("gcc -std=c99 -O1 {}", warnings));
    std::size_t compared = 0;
    for (const auto& pair : pairs) {
        SCOPED_TRACE(pair->unit.name + " " + pair->unit.part);
        Program program(library, pair->unit);
        Lockstep lockstep(*pair, program);
        pair->exec->set_monitor(&lockstep);
        pair->exec->run();
        compare_sinks(*pair, program);
        compared += lockstep.compared;
        if (testing::Test::HasFailure()) return;
    }
    EXPECT_GT(compared, pairs.size() * 20);
}

void run_models(std::uint64_t first, std::uint64_t count) {
    prepare_bridge();
    std::vector<std::unique_ptr<pair_t>> pairs;
    for (std::uint64_t seed = first; seed < first + count; ++seed)
        pairs.push_back(std::make_unique<pair_t>(seed, options_of(seed)));
    compare(pairs);
}

/// The paths of the subsystems of a compiled model.
std::set<std::string> subsystems_of(const pair_t& pair) {
    std::set<std::string> paths;
    for (const exact::port_t& port : pair.unit.ports)
        if (const auto dot = port.path.rfind('.'); port.path.find('.') != dot) paths.insert(port.path.substr(0, dot));
    return paths;
}

TEST(ExactModels, ComputeWhatTheirRunsCompute) { run_models(1, 100); }
TEST(ExactModels, ComputeWhatTheirRunsComputeToo) { run_models(101, 100); }
TEST(ExactModels, ComputeWhatTheirRunsComputeAsWell) { run_models(201, 100); }

TEST(ExactModels, PartsComputeWhatTheyComputeInTheWhole) {
    prepare_bridge();
    std::vector<std::unique_ptr<pair_t>> parts;
    for (std::uint64_t seed = 1; seed <= 120; ++seed) {
        const pair_t whole(seed, options_of(seed));
        for (const std::string& path : subsystems_of(whole)) {
            exact::options_t options = options_of(seed);
            options.name += tessel::format("_{}", parts.size());
            options.subsystem = path;
            parts.push_back(std::make_unique<pair_t>(seed, options));
        }
    }
    EXPECT_GT(parts.size(), 80u);
    compare(parts);
}

}  // namespace
}  // namespace tessel::test
