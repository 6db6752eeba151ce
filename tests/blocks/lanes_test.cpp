// Every class in every accepted combination of types, many variants side by side, against objects that run alone.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "core/literal_bridge.h"
#include "exec/ensemble/batch.h"
#include "exec/ensemble/lower.h"
#include "framework/classes.h"
#include "tests/support/block_test.h"
#include "tests/support/kernel_cases.h"
#include "tests/support/slow_math.h"
#include "tests/support/walk.h"

namespace tessel::test {
namespace {

using ensemble::part_t;
using ensemble::place_t;
using ensemble::same_shape;

constexpr std::size_t values_of_feed = 8;

/// A member that puts out eight parameters by turns.
formula_t feed(type_t type) {
    formula_t f;
    f.states.push_back({"k", type_int32, 0, -1, 4});
    f.values = {
        {op_t::state, type_int32, {}, 0},      {op_t::constant, type_int32, {}, bits_of(std::int32_t{1})},
        {op_t::add, type_int32, {0, 1}},       {op_t::constant, type_int32, {}, bits_of(std::int32_t{values_of_feed})},
        {op_t::remainder, type_int32, {2, 3}}, {op_t::convert, type_int8, {0}}};
    tessel::value_t chosen{op_t::choose, type, {5, 6}};
    for (std::int32_t i = 0; i < static_cast<std::int32_t>(values_of_feed); ++i) {
        f.parameters.push_back({"p", type, 0});
        f.values.push_back({op_t::parameter, type, {}, static_cast<std::uint64_t>(i)});
        chosen.of.push_back(6 + i);
    }
    f.values.push_back(chosen);
    f.output = {"y", type, 0, -1, static_cast<std::int32_t>(f.values.size()) - 1};
    return f;
}

/// Keeps the bits of one signal.
class Keeper final : public ensemble::Listener {
public:
    explicit Keeper(std::size_t lanes) : lanes_(lanes) {}
    void take(std::size_t, std::uint64_t, double, const void* row, type_t type,
              const std::uint8_t* ran) noexcept override {
        for (std::size_t lane = 0; lane < lanes_; ++lane) {
            value_t v{type, 0};
            const std::size_t size = size_of(type);
            std::memcpy(&v.bits, static_cast<const std::byte*>(row) + lane * size, size);
            values.push_back(v);
            has_run.push_back(ran == nullptr || ran[lane] != 0);
        }
    }
    std::vector<value_t> values;
    std::vector<bool> has_run;

private:
    std::size_t lanes_;
};

/// One combination: a block between feeds, gated by a flag that differs from lane to lane.
class Stand {
public:
    Stand(const char* class_name, const signature_t& row, Draw& draw, std::size_t lanes, bool gated)
        : name_(class_name), lanes_(lanes), gated_(gated) {
        for (const case_t& c : cases_of(class_name)) {
            auto bench = std::make_unique<Bench>(class_name, std::vector<type_t>(types_of(row)));
            for (const auto& [key, text] : c.parameters) bench->set_param(key, text);
            bench->typed();
            bench->forced_as(row);
            formulas_.push_back(*bench->block().formula());
            benches_.push_back(std::move(bench));
        }
        std::vector<type_t> types = types_of(row);
        types.push_back(type_bool);
        for (const type_t type : types) model_.members.push_back({feed(type), {}});
        const auto flag = static_cast<std::int32_t>(types.size()) - 1;
        formula_t hold;
        hold.inputs.push_back({"u", type_bool});
        hold.values.push_back({op_t::input, type_bool, {}, 0});
        hold.taken = 0;
        model_.members.push_back({hold, {flag}});
        block_ = flag + 2;
        model_.members.push_back({formulas_[0], {}});
        for (std::int32_t i = 0; i < flag; ++i) model_.members.back().sources.push_back(i);
        model_.members.back().gate = gated ? flag + 1 : -1;
        model_.members.back().ends_on_zero = std::string_view(class_name) == "random";
        model_.ti = -0.25;
        model_.ts = 0.125;
        model_.tf = model_.ti + model_.ts * 11.5;
        vary(types, draw);
    }

    /// Runs all lanes and compares each with an object of its own.
    void check(ensemble::isa_t isa) {
        ensemble::request_t request;
        request.places = places_;
        request.isa = isa;
        request.lanes = ensemble::most_lanes;
        request.signals.push_back({block_, !model_.members.back().formula.has_output()});
        const auto program = ensemble::lower(model_, request);
        ensemble::Batch batch(program);
        Keeper keeper(lanes_);
        batch.run(values_, lanes_, {model_.ti, model_.tf, model_.ts}, keeper);
        for (std::size_t lane = 0; lane < lanes_ && !testing::Test::HasFailure(); ++lane)
            check_lane(keeper, lane, batch.faults()[lane]);
    }

private:
    static std::vector<type_t> types_of(const signature_t& row) {
        const auto types = input_types(row);
        return {types.begin(), types.end()};
    }

    void vary(const std::vector<type_t>& types, Draw& draw) {
        const auto add = [this](const place_t& place, auto value_of_lane) {
            places_.push_back(place);
            for (std::size_t lane = 0; lane < lanes_; ++lane) values_.push_back(value_of_lane(lane));
        };
        for (std::size_t i = 0; i < types.size(); ++i) {
            inputs_.emplace_back();
            for (std::uint32_t k = 0; k < values_of_feed; ++k) {
                add({static_cast<std::int32_t>(i), part_t::parameter, k}, [&](std::size_t) {
                    inputs_[i].push_back(draw(types[i]));
                    return inputs_[i].back().bits;
                });
            }
        }
        std::vector<place_t> differences;
        for (const formula_t& f : formulas_) {
            alike_.push_back(same_shape(formulas_[0], f));
            if (alike_.back()) append_differences(differences, block_, formulas_[0], f);
        }
        std::ranges::sort(differences);
        differences.erase(std::unique(differences.begin(), differences.end()), differences.end());
        for (const place_t& place : differences)
            add(place, [&](std::size_t lane) { return value_at(formulas_[case_of(lane)], place); });
    }
    std::size_t case_of(std::size_t lane) const {
        const std::size_t wanted = lane % formulas_.size();
        return alike_[wanted] ? wanted : 0;
    }
    const value_t& input(std::size_t i, std::size_t step, std::size_t lane) const {
        return inputs_[i][step % values_of_feed * lanes_ + lane];
    }

    void check_lane(const Keeper& keeper, std::size_t lane, const ensemble::fault_t& fault) const {
        SCOPED_TRACE("lane " + std::to_string(lane));
        Runnable run(benches_[case_of(lane)]->block());
        const std::size_t ports = inputs_.size() - 1;
        double t = model_.ti;
        run.start(t);
        std::uint64_t ended = ensemble::never;
        for (std::size_t step = 0; model_.tf >= t; ++step, t = t + model_.ts) {
            const bool open = !gated_ || input(ports, step, lane).bits != 0;
            ASSERT_EQ(keeper.has_run[step * lanes_ + lane], open) << "step " << step;
            std::vector<value_t> u;
            for (std::size_t i = 0; i < ports; ++i) u.push_back(input(i, step, lane));
            if (open && has_no_quotient(name_, u) && ends(u)) {
                ended = step;
                break;
            }
            if (open) {
                for (std::size_t i = 0; i < ports; ++i) run.set(i, u[i]);
                run.step(t);
            }
            const bool has_output = model_.members.back().formula.has_output();
            ASSERT_EQ(keeper.values[step * lanes_ + lane], has_output ? run.output() : run.input()) << "step " << step;
        }
        EXPECT_EQ(fault.step, ended);
        EXPECT_EQ(fault.member, ended == ensemble::never ? -1 : block_);
    }
    /// Operands in whose common type there is no quotient.
    static bool ends(const std::vector<value_t>& u) {
        const auto is = [&](auto zero) {
            using T = decltype(zero);
            const value_t a = convert_to(type_of<T>, u[0]), b = convert_to(type_of<T>, u[1]);
            return a == value(std::numeric_limits<T>::min()) && b == value(T{-1});
        };
        const type_t meet = std::max({u[0].type, u[1].type, type_int32});
        return (meet == type_int32 && is(std::int32_t{})) || (meet == type_int64 && is(std::int64_t{}));
    }

    std::string name_;
    std::size_t lanes_;
    bool gated_;
    std::int32_t block_ = 0;
    ensemble::model_t model_;
    std::vector<std::unique_ptr<Bench>> benches_;
    std::vector<formula_t> formulas_;
    std::vector<bool> alike_;
    std::vector<std::vector<value_t>> inputs_;
    std::vector<place_t> places_;
    std::vector<std::uint64_t> values_;
};

std::vector<ensemble::isa_t> instruction_sets() {
    std::vector<ensemble::isa_t> sets;
    for (const auto isa : {ensemble::isa_t::baseline, ensemble::isa_t::avx2, ensemble::isa_t::avx512})
        if (isa <= ensemble::best_isa()) sets.push_back(isa);
    return sets;
}

class Lanes : public testing::Test {
protected:
    Lanes() {
        python::literal_bridge().clear();
        python::literal_bridge().set_series("s", {0.0, 0.5, 0.5, 3.0, 4.25}, {10.0, -20.5, 300.0, 0.1, 7.0});
        python::literal_bridge().set_series("empty", {}, {});
        console_ = python::set_console([](std::string_view) {});
    }
    ~Lanes() override {
        python::set_console(console_);
        python::literal_bridge().clear();
    }

    static void check_all(bool gated, std::size_t lanes) {
        Draw draw(4711);
        std::size_t rows = 0;
        for (const class_row_t& class_row : factory::class_rows()) {
            for (const signature_t& row : accepted(class_row.name)) {
                std::string name = class_row.name;
                for (const type_t type : input_types(row)) name += std::string(" ") + short_name(type);
                SCOPED_TRACE(name);
                Stand stand(class_row.name, row, draw, lanes, gated);
                for (const auto isa : instruction_sets()) stand.check(isa);
                if (HasFailure()) return;
                ++rows;
            }
        }
        EXPECT_GT(rows, 5000u);
    }

private:
    python::console_t console_;
};

TEST_F(Lanes, EqualObjectsThatRunAlone) { check_all(false, 64); }
TEST_F(Lanes, EqualObjectsThatRunAloneBehindGates) { check_all(true, 64); }
TEST_F(Lanes, EqualObjectsThatRunAloneInAPartOfABatch) { check_all(true, 3); }

}  // namespace
}  // namespace tessel::test
