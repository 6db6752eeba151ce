// The formula of every class in every accepted combination of types against the class's runnable object.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "core/literal_bridge.h"
#include "formula/evaluate.h"
#include "formula/words.h"
#include "framework/classes.h"
#include "tests/support/block_test.h"
#include "tests/support/kernel_cases.h"
#include "tests/support/slow_math.h"
#include "tests/support/walk.h"

namespace tessel::test {
namespace {

struct bench_t {
    bench_t(const case_t& c, const signature_t& row) : bench(c.class_name, sources(row)) {
        for (const auto& [key, text] : c.parameters) bench.set_param(key, text);
        bench.typed();
        bench.forced_as(row);
    }
    static std::vector<type_t> sources(const signature_t& row) {
        const auto types = input_types(row);
        return {types.begin(), types.end()};
    }
    Bench bench;
};

/// What the object shows after a step, as the formula tells it.
value_t shown(const std::string& class_name, const Runnable& run, const std::vector<value_t>& u) {
    if (class_name == "display" || class_name == "enable") return run.input();
    if (class_name == "to_workspace") return convert_to(type_flt64, u[0]);
    return run.output();
}

void compare(const case_t& c, const signature_t& row, Draw& draw, int steps) {
    bench_t bench(c, row);
    const auto formula = bench.bench.block().formula();
    ASSERT_TRUE(formula.has_value());
    ASSERT_EQ(formula->fault, nullptr) << formula->fault;
    ASSERT_EQ(formula->inputs.size(), row.inputs);
    ASSERT_FALSE(lines_of(*formula).empty());

    Runnable run(bench.bench);
    evaluator evaluated(*formula);
    const type_t out = formula->has_output() ? formula->output.type : formula->at(formula->taken).type;
    double t = -0.25;
    for (int i = 0; i < steps; ++i) {
        if (i == 0 || i == steps / 2) {  // another run of the same object
            const auto same = [&] {
                return !formula->has_output() || value_t{out, evaluated.output()} == run.output();
            };
            ASSERT_TRUE(same()) << "before a run";
            run.start(t);
            evaluated.start(t);
            ASSERT_TRUE(same()) << "started";
        }
        std::vector<value_t> u;
        std::vector<std::uint64_t> bits;
        for (const type_t type : input_types(row)) u.push_back(draw(type));
        if (has_no_quotient(c.class_name, u)) continue;
        for (std::size_t k = 0; k < u.size(); ++k) {
            run.set(k, u[k]);
            bits.push_back(u[k].bits);
        }
        run.step(t);
        const value_t told{out, evaluated.step(bits, t)};
        ASSERT_EQ(told, shown(c.class_name, run, u)) << "step " << i << " of " << lines_of(*formula).back();
        t += i % 7 == 0 ? 0.37 : 0.125;
    }
}

class Formulas : public testing::Test {
protected:
    Formulas() {
        python::literal_bridge().clear();
        python::literal_bridge().set_series("s", {0.0, 0.5, 0.5, 3.0, 4.25}, {10.0, -20.5, 300.0, 0.1, 7.0});
        python::literal_bridge().set_series("empty", {}, {});
        console_ = python::set_console([](std::string_view) {});
    }
    ~Formulas() override {
        python::set_console(console_);
        python::literal_bridge().clear();
    }

    /// The lines of a class's formula for its first combination with these types of inputs.
    static std::string text(const case_t& c, const std::vector<type_t>& types) {
        for (const signature_t& row : accepted(c.class_name)) {
            const auto in = input_types(row);
            if (!std::ranges::equal(in, types) || (types.empty() && output_type(row) != type_flt64)) continue;
            bench_t bench(c, row);
            std::string out;
            for (const std::string& line : lines_of(*bench.bench.block().formula()))
                out += (out.empty() ? "" : "; ") + line;
            return out;
        }
        return "no such combination";
    }

private:
    python::console_t console_;
};

TEST_F(Formulas, ComputeWhatTheRunnableObjectComputes) {
    Draw draw(20241122);
    std::size_t rows = 0;
    for (const class_row_t& class_row : factory::class_rows()) {
        for (const case_t& c : cases_of(class_row.name)) {
            for (const signature_t& row : accepted(class_row.name)) {
                std::string name = class_row.name;
                for (const type_t type : input_types(row)) name += std::string(" ") + short_name(type);
                SCOPED_TRACE(name + (c.parameters.empty() ? "" : std::string(" ") + c.parameters.front().second));
                compare(c, row, draw, row.inputs > 2 ? 60 : 300);
                if (HasFailure()) return;
                ++rows;
            }
        }
    }
    EXPECT_GT(rows, 5000u);
}

TEST_F(Formulas, AreThereForEveryClassThatSteps) {
    for (const class_row_t& row : factory::class_rows()) {
        const std::string_view name = row.name;
        const bool goes =
            name == "cast" || name == "from" || name == "goto" || name == "refsys" || name.starts_with("subsys");
        EXPECT_EQ(accepted(row.name).empty(), goes) << name;
        for (const signature_t& accepted_row : accepted(row.name)) EXPECT_NE(accepted_row.trace, nullptr) << name;
    }
    Bench bench("from", {});
    EXPECT_FALSE(bench.block().formula().has_value());
    Bench untyped("add", {type_unknown, type_unknown});
    EXPECT_FALSE(untyped.block().formula().has_value());
}

TEST_F(Formulas, OfAllTypesComeFromOneKernel) {
    const auto rows = accepted("add");
    const auto first_of = [&](int inputs) { return std::ranges::find(rows, inputs, &signature_t::inputs)->trace; };
    for (const signature_t& row : rows) EXPECT_EQ(row.trace, first_of(row.inputs));
}

TEST_F(Formulas, ReadAsOnPaper) {
    constexpr type_t f = type_flt64;
    EXPECT_EQ(text({"clamp", {}}, {f, f, f}), "y = u > hi ? hi : lo > u ? lo : u");
    EXPECT_EQ(text({"clamp", {}}, {f, f, type_int32}), "y = u > hi ? hi : lo > u ? lo : u");
    EXPECT_EQ(text({"clamp", {}}, {type_flt32, type_int32, type_flt32}),
              "y = u > hi ? hi : flt32(lo) > u ? flt32(lo) : u");
    EXPECT_EQ(text({"add", {}}, {f, type_int8}), "y = u0 + u1");
    EXPECT_EQ(text({"add", {}}, {type_int8, type_uint8}), "y = uint8(u0 + u1)");
    EXPECT_EQ(text({"add", {}}, {type_int64, f}), "y = flt64(u0) + u1");
    EXPECT_EQ(text({"subtract", {}}, {f, f, f}), "y = u0 - (u1 - u2)");
    EXPECT_EQ(text({"mod", {}}, {f, f}), "y = fmod(u0, u1)");
    EXPECT_EQ(text({"mod", {}}, {type_int32, type_int32}), "y = int32(u0 % u1)");
    EXPECT_EQ(text({"abs", {}}, {type_int8}), "y = int8(fabs(u))");
    EXPECT_EQ(text({"not", {}}, {f}), "y = u == 0 ? 1 : 0");
    EXPECT_EQ(text({"switch", {}}, {f, f, f, f}),
              "y = int8(selector) == 0 ? case 0 : int8(selector) == 1 ? case 1 : otherwise");
    EXPECT_EQ(text({"delta", {}}, {f}), "last' = u; y = u - last");
    EXPECT_EQ(text({"acc", {}}, {f, f, type_bool}), "y = reset ? reset value : y + u");
    EXPECT_EQ(text(cases_of("hysteresis")[0], {f}), "state' = u > on ? true : u < off ? false : state; y = state'");
    EXPECT_EQ(text(cases_of("logical")[2], {type_bool, type_bool}), "y = !(u0 && u1)");
    EXPECT_EQ(text(cases_of("random")[0], {}),
              "a = state ^ state << 13; b = a ^ a >> 17; state' = b ^ b << 5; y = flt64(state' % range) + offset");
    EXPECT_EQ(text(cases_of("lut1d")[0], {f}), "y = interpolate(u, bp, out)");
    EXPECT_EQ(text(cases_of("from_workspace")[0], {}),
              "index' = first_not_before(times, index, t); y = values[index']");
    EXPECT_EQ(text(cases_of("unpack")[0], {type_int32}), "y = int32(((uint32(u) & mask) >> shift) * a + b)");
    EXPECT_EQ(text({"to_workspace", {}}, {type_int64}), "takes flt64(u)");
    EXPECT_EQ(text(cases_of("debounce")[2], {type_bool}),
              "held = (u ? count < 0 : count > 0) ? 0 : count; done = u ? held >= rise : fall >= held; dt = t - last; "
              "count' = done ? held : u ? held + dt : held - dt; last' = t; y = done ? u : y");
}

TEST_F(Formulas, TellTheirParameters) {
    Bench bench("lut1d", {type_flt64});
    bench.set_param("bp1", "[0.0, 1.0]");
    bench.set_param("out", "[0.25, 1e20]");
    EXPECT_EQ(parameters_of(*bench.typed().block().formula()),
              (std::vector<std::string>{"bp = [0, 1]", "out = [0.25, 1e+20]"}));
}

}  // namespace
}  // namespace tessel::test
