#include "tests/support/walk.h"

#include <gtest/gtest.h>

#include <sstream>

#include "tests/support/slow_math.h"

namespace tessel::test {
namespace {

/// Calls `visit` with every choice of one value from each list until it answers false.
template <class Visit>
bool for_each_choice(const std::vector<std::vector<value_t>>& lists, std::vector<value_t>& picked, Visit visit) {
    if (picked.size() == lists.size()) return visit(picked);
    for (const value_t& v : lists[picked.size()]) {
        picked.push_back(v);
        const bool more = for_each_choice(lists, picked, visit);
        picked.pop_back();
        if (!more) return false;
    }
    return true;
}

std::string text_of(std::span<const value_t> inputs) {
    std::ostringstream out;
    for (const value_t& v : inputs) out << "  " << v << "\n";
    return out.str();
}

void walk_row(const walk_t& what, const signature_t& row) {
    const auto types = input_types(row);
    Bench bench(what.class_name, {types.begin(), types.end()});
    if (what.prepare) what.prepare(bench, row);
    else bench.typed();
    Runnable run(bench);
    ASSERT_TRUE(run);
    ASSERT_EQ(run->id(), 42u);
    ASSERT_EQ(run->zone(), bench.block().zone());
    for (std::size_t i = 0; i < types.size(); ++i) ASSERT_EQ(run.input(i), (value_t{types[i], 0}));
    ASSERT_EQ(run.output().type, output_type(row));

    Runnable lowered(bench);
    std::vector<std::vector<value_t>> lists;
    for (const type_t type : types) lists.push_back(edge_values(type, what.few));
    std::vector<value_t> picked;
    const bool same = for_each_choice(lists, picked, [&](const std::vector<value_t>& inputs) {
        const auto expected = what.expected(inputs, output_type(row));
        if (!expected) return true;
        for (std::size_t i = 0; i < inputs.size(); ++i) run.set(i, inputs[i]);
        EXPECT_EQ(run.step().output(), *expected) << text_of(inputs);
        EXPECT_EQ(lowered.step_lowered(inputs).output(), *expected) << "lowered\n" << text_of(inputs);
        return !testing::Test::HasFailure();
    });
    ASSERT_TRUE(same);
}

}  // namespace

std::span<const type_t> input_types(const signature_t& row) { return std::span(row.types).first(row.inputs); }
type_t output_type(const signature_t& row) { return row.types[row.inputs]; }

void walk(const walk_t& what) {
    for (const signature_t& row : accepted(what.class_name)) {
        std::string name = what.class_name;
        for (const type_t type : input_types(row)) name += std::string(" ") + short_name(type);
        SCOPED_TRACE(name);
        ASSERT_EQ(row.outputs, 1);
        walk_row(what, row);
        if (testing::Test::HasFailure()) return;
    }
}

}  // namespace tessel::test
