// A run that its caller steps, on random diagrams of the real block classes: the values of an ordinary run, and those
// of one that was saved and goes on in other objects.

#include <gtest/gtest.h>

#include <cstddef>
#include <vector>

#include "exec/Port.h"
#include "tests/properties/bench.h"
#include "tests/support/random_model.h"

namespace tessel::test {
namespace {

constexpr std::uint64_t model_count = 200;

nlohmann::json model_of(std::uint64_t seed) {
    SeededChoices choices(seed);
    return random_model(choices, {8 + static_cast<unsigned>(seed % 40), 3, seed % 4 != 0});
}

/// The cells of all ports, without the clocks: those of an object that has not run since are not saved.
std::vector<std::uint64_t> port_cells(ExecModel& model) {
    std::vector<std::uint64_t> all;
    for (const auto& block : model.blocks)
        for (std::int16_t i = 0; ExecPort* port = block->input(i); ++i) all.push_back(bits_of(*port));
    return all;
}

TEST(Steppers, GiveTheOutputsAndCellsOfARun) {
    for (std::uint64_t seed = 7000; seed < 7000 + model_count; ++seed) {
        const auto file = model_of(seed);
        prepare_bridge();
        Compiled of_run(file), of_steps(file);
        const auto run = of_run.build(engine_t::objects), steps = of_steps.build(engine_t::plan);
        Series ran(of_run, *run), stepped(of_steps, *steps);
        run->set_monitor(&ran);
        steps->set_monitor(&stepped);
        for (int turn : {0, 1}) {
            run->run();
            const auto stepper = steps->start();
            std::uint64_t count = 0;
            while (!stepper->done()) count += stepper->step(1 + count % 3);
            ASSERT_EQ(stepper->count(), count);
            ASSERT_EQ(stepper->step(1), 0u);
            stepper->finish();
            ASSERT_EQ(stepped.times, ran.times) << seed;
            ASSERT_EQ(stepped.outputs, ran.outputs) << seed << "\n" << file.dump(1);
            ASSERT_EQ(cells(*steps), cells(*run)) << seed << " turn " << turn << "\n" << file.dump(1);
        }
        ASSERT_EQ(recordings(of_steps), recordings(of_run)) << seed;
    }
}

TEST(Steppers, GoOnInOtherObjectsFromWhatWasSaved) {
    std::size_t bytes = 0;
    for (std::uint64_t seed = 8000; seed < 8000 + model_count; ++seed) {
        const auto file = model_of(seed);
        prepare_bridge();
        Compiled first(file), second(file);
        const auto one = first.build(engine_t::plan), other = second.build(engine_t::plan);
        const auto stepper = one->start(), later = other->start();
        stepper->step(1 + seed % 9);
        const auto saved = stepper->save();
        ASSERT_FALSE(saved.empty()) << seed;
        bytes += saved.size();
        later->step(seed % 4);  // what it did before is of no account
        ASSERT_TRUE(later->restore(saved)) << seed;
        ASSERT_EQ(later->time(), stepper->time());
        ASSERT_EQ(later->count(), stepper->count());
        ASSERT_EQ(later->save(), saved) << seed;
        while (!stepper->done()) {
            ASSERT_EQ(stepper->step(2), later->step(2));
            stepper->settle();
            later->settle();
            ASSERT_EQ(port_cells(*other), port_cells(*one)) << seed << "\n" << file.dump(1);
        }
    }
    EXPECT_GT(bytes, model_count * 100);
}

TEST(Steppers, RefuseWhatWasSavedOfAnotherModel) {
    prepare_bridge();
    Compiled first(model_of(1)), second(model_of(2));
    const auto one = first.build(engine_t::plan), other = second.build(engine_t::plan);
    const auto stepper = one->start(), later = other->start();
    stepper->step(3);
    const auto before = later->save();
    auto saved = stepper->save();
    EXPECT_FALSE(later->restore(saved));
    saved.pop_back();
    EXPECT_FALSE(stepper->restore(saved));
    EXPECT_FALSE(stepper->restore({}));
    EXPECT_EQ(later->save(), before);
    EXPECT_EQ(stepper->count(), 3u);
}

}  // namespace
}  // namespace tessel::test
