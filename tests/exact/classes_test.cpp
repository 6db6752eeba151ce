// Every class in every accepted combination of types as C, beside its runnable object: extreme and random values,
// states and time. Several hundred blocks are one program, so that a compiler is called a few times.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "core/format.h"
#include "core/literal_bridge.h"
#include "formula/evaluate.h"
#include "framework/classes.h"
#include "tests/exact/program.h"
#include "tests/support/block_test.h"
#include "tests/support/kernel_cases.h"
#include "tests/support/slow_math.h"
#include "tests/support/temp_folder.h"
#include "tests/support/walk.h"

namespace tessel::test {
namespace {

using exact::cell_number;
using exact::cell_t;
using exact::role_t;

/// One block of a program, with its runnable object.
struct subject_t {
    subject_t(const case_t& c, const signature_t& row)
        : bench(c.class_name, {input_types(row).begin(), input_types(row).end()}) {
        for (const auto& [key, text] : c.parameters) bench.set_param(key, text);
        bench.typed();
        bench.forced_as(row);
        class_name = c.class_name;
        for (const type_t type : input_types(row)) types.push_back(type);
    }
    Bench bench;
    std::string class_name;
    std::vector<type_t> types;
    std::unique_ptr<Runnable> run;
    std::vector<cell_number> inputs;
    cell_number target = exact::no_cell;
};

cell_number add_cell(exact::unit_t& unit, role_t role, type_t type, std::uint64_t initial, std::string access) {
    cell_t& cell = unit.cells.emplace_back();
    cell.role = role;
    cell.type = type;
    cell.initial = initial;
    cell.access = std::move(access);
    return static_cast<cell_number>(unit.cells.size() - 1);
}

/// What a state is at the head of a run that begins at 0.
std::uint64_t started(const formula_t& formula, const state_t& state) {
    if (state.started < 0) return state.initial;
    formula_t asked = formula;
    asked.output.next = state.started;
    const std::vector<std::uint64_t> nothing(formula.inputs.size());
    return evaluator(asked).step(nothing, 0.0);
}

/// Puts a block into the program: its inputs are inputs of the program.
void add_block(exact::unit_t& unit, subject_t& subject, std::size_t number, bool inlined) {
    const std::string name = tessel::format("b{}", number);
    exact::statement_t statement;
    statement.path = "main." + name;
    statement.class_name = subject.class_name.c_str();
    statement.formula = subject.bench.block().formula().value();
    const formula_t& formula = statement.formula;
    for (std::size_t i = 0; i < subject.types.size(); ++i)
        subject.inputs.push_back(
            add_cell(unit, role_t::input, subject.types[i], 0, tessel::format("inputs.{}.u{}", name, i)));
    statement.sources = subject.inputs;
    for (const auto& p : formula.parameters) {
        const std::string access = tessel::format("{}{}.{}", inlined ? unit.name + "_" : "parameters.", name, p.name);
        statement.parameters.push_back(add_cell(unit, role_t::parameter, p.type, p.value, access));
        if (inlined) std::ranges::replace(unit.cells.back().access, '.', '_');
        unit.cells.back().kept = !inlined;
    }
    for (const auto& list : formula.lists) {
        statement.lists.push_back(
            add_cell(unit, role_t::table, type_flt64, 0, unit.name + "_" + name + "_" + list.name));
        unit.cells.back().values = list.values;
        unit.cells.back().kept = false;
        unit.cells.back().is_series = subject.class_name == "from_workspace";
    }
    for (const auto& s : formula.states)
        statement.states.push_back(
            add_cell(unit, role_t::state, s.type, started(formula, s), tessel::format("states.{}.{}", name, s.name)));
    const type_t type = formula.has_output() ? formula.output.type : formula.at(formula.taken).type;
    subject.target = add_cell(unit, role_t::signal, type, formula.has_output() ? started(formula, formula.output) : 0,
                              "signals." + name);
    statement.target = subject.target;
    unit.statements.push_back(std::move(statement));
}

struct batch_t {
    exact::unit_t unit;
    std::vector<std::unique_ptr<subject_t>> subjects;
};

/// What the object shows after a step, as the formula tells it.
value_t shown(const subject_t& subject, const std::vector<value_t>& u) {
    if (subject.class_name == "display" || subject.class_name == "enable") return subject.run->input();
    if (subject.class_name == "to_workspace") return convert_to(type_flt64, u[0]);
    return subject.run->output();
}

class ExactClasses : public testing::Test {
protected:
    ExactClasses() {
        python::literal_bridge().clear();
        python::literal_bridge().set_series("s", {0.0, 0.5, 0.5, 3.0, 4.25}, {10.0, -20.5, 300.0, 0.1, 7.0});
        python::literal_bridge().set_series("empty", {}, {});
        console_ = python::set_console([](std::string_view) {});
    }
    ~ExactClasses() override {
        python::set_console(console_);
        python::literal_bridge().clear();
    }

    /// All classes; with constants those with parameters, in short those with at most two inputs.
    void add_all(bool inlined, bool in_short = false) {
        constexpr std::size_t most = 100;  // a compiler takes much longer for a longer function
        for (const class_row_t& class_row : factory::class_rows()) {
            for (const case_t& c : cases_of(class_row.name)) {
                if (inlined && c.parameters.empty()) continue;
                for (const signature_t& row : accepted(class_row.name)) {
                    if (in_short && row.inputs > 2) continue;
                    if (batches_.empty() || batches_.back().subjects.size() >= most) {
                        batches_.emplace_back().unit.name = tessel::format("batch{}", batches_.size());
                        batches_.back().unit.ts = 0.125;
                    }
                    batch_t& batch = batches_.back();
                    batch.subjects.push_back(std::make_unique<subject_t>(c, row));
                    add_block(batch.unit, *batch.subjects.back(), batch.subjects.size(), inlined);
                }
            }
        }
    }
    void compare(int steps, std::size_t at_least, const std::string& compiler) {
        constexpr std::size_t at_once = 8;
        std::size_t blocks = 0;
        for (std::size_t first = 0; first < batches_.size() && !HasFailure(); first += at_once) {
            const std::span some(batches_.data() + first, std::min(at_once, batches_.size() - first));
            std::vector<const exact::unit_t*> units;
            for (const batch_t& batch : some) units.push_back(&batch.unit);
            const ::test::TempFolder folder;
            const Library library(folder.path(), units, compiler);
            for (batch_t& batch : some) compare(batch, library, steps);
            for (const batch_t& batch : some) blocks += batch.subjects.size();
        }
        EXPECT_GT(blocks, at_least);
    }

private:
    void compare(batch_t& batch, const Library& library, int steps) {
        Program program(library, batch.unit);
        for (auto& subject : batch.subjects) {
            subject->run = std::make_unique<Runnable>(subject->bench);
            subject->run->start(0.0);
            if ((*subject->run)->output(0) != nullptr) check(*subject, subject->run->output(), program, "started");
        }
        for (int i = 0; i < steps && !HasFailure(); ++i) step(batch, program);
    }
    void check(const subject_t& subject, const value_t& expected, const Program& program, const char* when) {
        const std::uint64_t got = program.get(subject.target);
        if (same(expected.type, expected.bits, got)) return;
        ADD_FAILURE() << subject.class_name << " " << when << ": " << expected << " in the run, " << std::hex << got
                      << " in the program";
    }
    void step(batch_t& batch, Program& program) {
        std::vector<std::vector<value_t>> all;
        for (auto& subject : batch.subjects) {
            std::vector<value_t>& u = all.emplace_back();
            do {
                u.clear();
                for (const type_t type : subject->types) u.push_back(draw_(type));
            } while (has_no_quotient(subject->class_name, u));
            for (std::size_t k = 0; k < u.size(); ++k) {
                subject->run->set(k, u[k]);
                program.set(subject->inputs[k], u[k].bits);
            }
        }
        const double t = program.time();
        program.step();
        for (std::size_t i = 0; i < batch.subjects.size(); ++i) {
            subject_t& subject = *batch.subjects[i];
            subject.run->step(t);
            check(subject, shown(subject, all[i]), program, "steps");
        }
    }

    std::vector<batch_t> batches_;
    Draw draw_{20250117};
    python::console_t console_;
};

TEST_F(ExactClasses, ComputeWhatTheirObjectsCompute) {
    add_all(false);
    compare(200, 5000, tessel::format("gcc -std=c99 -O2 {}", warnings));
}

TEST_F(ExactClasses, ComputeTheSameWithConstants) {
    add_all(true);
    compare(100, 400, "gcc -std=c99 -O1");
}

/// What C leaves open ends the program here.
TEST_F(ExactClasses, DoNothingThatCLeavesOpen) {
    add_all(false, true);
    compare(100, 1300, "gcc -std=c99 -O0 -fsanitize=undefined,float-cast-overflow -fsanitize-undefined-trap-on-error");
}

}  // namespace
}  // namespace tessel::test
