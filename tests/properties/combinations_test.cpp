// Both engines on every class in every combination of types that it can run.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>

#include "exec/Exec.h"
#include "framework/classes.h"
#include "tests/properties/bench.h"
#include "tests/support/block_test.h"
#include "tests/support/random_model.h"
#include "tests/support/slow_math.h"

namespace tessel::test {
namespace {

/// Plays the edge values of a type, from a place in the list on.
template <class T>
struct Cycle {
    using in = inputs<>;
    using out = outputs<T>;
    std::vector<value_t> values;
    std::size_t at = 0;

    void configure(const void* record) { values = *static_cast<const std::vector<value_t>*>(record); }
    T eval(double, T) noexcept { return values[at++ % values.size()].template as<T>(); }
};

template <class... T>
std::unique_ptr<ExecBlock> make_cycle(type_t type, type_list<T...>) {
    std::unique_ptr<ExecBlock> made;
    ((type_of<T> == type ? (void)(made = make_exec<StatefulExec<Cycle<T>>>()) : (void)0), ...);
    return made;
}

/// Sources of one type, each at a place of its own in the list of values. As divisors serve small values above 0.
std::unique_ptr<ExecBlock> source(type_t type, std::size_t phase, bool divisor) {
    std::vector<value_t> values;
    if (divisor)
        for (const int n : {1, 2, 3, 7, 100, 5}) values.push_back(convert_to(type, value(n)));
    else values = edge_values(type, true);
    std::rotate(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(phase % values.size()), values.end());
    auto made = make_cycle(type, value_types{});
    made->configure(&values);
    return made;
}

/// One model of all combinations of a class with one choice of its parameters. `matching` sources have the types of the
/// inputs that they feed, others any.
class Gallery {
public:
    Gallery(const class_row_t& row, const char* key, const char* word, bool matching, engine_t engine) {
        properties_->set("ti", 0.0);
        properties_->set("tf", 12.0);
        properties_->set("ts", 1.0);
        exec.set_properties(properties_);
        exec.set_engine(engine);
        const bool divides = row.name == std::string_view("divide") || row.name == std::string_view("mod");
        std::vector<std::unique_ptr<ExecBlock>> blocks;
        std::uint64_t id = 1000;
        for (const signature_t& types : row.entry->accepted) {
            Bench bench(row.name, {types.types.begin(), types.types.begin() + types.inputs});
            if (row.name == std::string_view("from_workspace")) bench.set_param("expression", random_series.data());
            if (key != nullptr) bench.set_param(key, word);
            bench.typed().forced_as(types);
            auto object = bench.block().create_exec();
            if (object == nullptr) throw std::runtime_error(std::string("no runnable form of ") + row.name);
            object->set_identity(++id, 1);
            for (std::uint8_t n = 0; n < types.inputs; ++n) {
                static constexpr std::array others{type_flt64, type_int8, type_uint64, type_bool, type_flt32};
                const type_t type = matching ? types.types[n] : others[(id + n) % others.size()];
                properties_->insert_link(source_of(type, n * 3, divides), id, 0, n, "");
            }
            properties_->enable_map[id] = {0, 0};
            blocks.push_back(std::move(object));
        }
        for (auto& block : blocks) exec.add_block(block);
        count = blocks.size();
    }

    ExecModel exec;
    std::size_t count = 0;

private:
    std::uint64_t source_of(type_t type, std::size_t phase, bool divisor) {
        const std::uint64_t id = 1 + static_cast<std::uint64_t>(type) * 32 + phase;
        if (exec.find_block(id) != nullptr) return id;
        auto made = source(type, phase, divisor);
        made->set_identity(id, 0);
        properties_->enable_map[id] = {0, 0};
        exec.add_block(made);
        return id;
    }

    std::shared_ptr<PropertiesModel> properties_ = std::make_shared<PropertiesModel>();
};

/// Notes all outputs after each step.
class Outputs final : public RunMonitor {
public:
    explicit Outputs(ExecModel& model) : model_(model) {}
    bool step_done(double) noexcept override {
        for (const auto& block : model_.blocks)
            if (ExecPort* port = block->output(0); port != nullptr) seen.push_back(bits_of(*port));
        return true;
    }
    std::vector<std::uint64_t> seen;

private:
    ExecModel& model_;
};

std::size_t expect_agreement(const class_row_t& row, const char* key = nullptr, const char* word = nullptr) {
    SCOPED_TRACE(row.name);
    std::size_t count = 0;
    for (const bool matching : {true, false}) {
        Gallery objects(row, key, word, matching, engine_t::objects), plan(row, key, word, matching, engine_t::plan);
        Outputs expected(objects.exec), got(plan.exec);
        objects.exec.set_monitor(&expected);
        plan.exec.set_monitor(&got);
        for (int run = 0; run < 2; ++run) {
            objects.exec.run();
            plan.exec.run();
            EXPECT_EQ(got.seen, expected.seen) << "run " << run;
            EXPECT_EQ(cells(plan.exec), cells(objects.exec)) << "run " << run;
        }
        // once more, each for itself: the plan keeps values elsewhere when nobody looks
        objects.exec.set_monitor(nullptr);
        plan.exec.set_monitor(nullptr);
        objects.exec.run();
        plan.exec.run();
        EXPECT_EQ(cells(plan.exec), cells(objects.exec)) << "with nobody looking";
        count = objects.count;
    }
    return count;
}

TEST(Combinations, BothEnginesGiveTheSameValues) {
    prepare_bridge();
    std::size_t count = 0;
    for (const class_row_t& row : factory::class_rows()) {
        const std::string_view name = row.name;
        if (row.entry->accepted.empty()) continue;
        if (name == "relational")
            for (const char* word : {"eq", "ne", "lt", "le", "gt", "ge"})
                count += expect_agreement(row, "operator", word);
        else if (name == "logical")
            for (const char* word : {"and", "or", "nand", "nor"}) count += expect_agreement(row, "operator", word);
        else if (name == "debounce")
            for (const char* rise : {"0.0", "2.0"}) count += expect_agreement(row, "rise", rise);
        else count += expect_agreement(row);
        if (testing::Test::HasFailure()) return;
    }
    EXPECT_GT(count, 5600u);
}

}  // namespace
}  // namespace tessel::test
