// A run in the hands of its caller: its steps are a run's, and what it saves goes back only where it came from.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "exec/Exec.h"
#include "tests/support/ExecBuilder.h"

namespace tessel::test {
namespace {

struct Clock {
    using in = inputs<>;
    using out = outputs<double>;
    double eval(double t, double y) noexcept { return 3.0 * t + 0.5 * y; }
};
struct Delay {
    using in = inputs<double>;
    using out = outputs<double>;
    double last = 0;
    double eval(double, double, double u) noexcept { return std::exchange(last, u); }
};
template <class A, class B>
struct Sum {
    using in = inputs<A, B>;
    using out = outputs<double>;
    static double eval(A a, B b) noexcept { return static_cast<double>(a) + 0.25 * static_cast<double>(b); }
};
/// An object that keeps its state to itself.
class Silent final : public Ports<inputs<double>, outputs<double>> {
public:
    void step() noexcept override { out0.value = in0.value; }
};

/// clock -> delay -> sum (delay, clock), from 0 to 3 in steps of 0.25.
template <class Adder = Sum<double, double>>
class Chain {
public:
    Chain() {
        add(make_exec<StatefulExec<Clock>>());
        add(make_exec<StatefulExec<Delay>>());
        add(make_exec<Exec<Adder>>());
        builder_.link(1, 2).link(2, 0, 3, 0).link(1, 0, 3, 1).times(0.0, 3.0, 0.25);
    }
    ExecModel& model() { return builder_.model; }
    double sum() { return *static_cast<const double*>(model().find_block(3)->output(0)->value_ptr()); }

private:
    void add(std::unique_ptr<ExecBlock> block) {
        block->set_identity(++count_, 0);
        builder_.put(std::move(block), 0);
    }
    ExecBuilder builder_;
    std::uint64_t count_ = 0;
};

TEST(Stepper, ItsStepsAreThoseOfARun) {
    Chain<> run, stepped;
    run.model().run();
    const auto stepper = stepped.model().start();
    EXPECT_EQ(stepper->count(), 0u);
    EXPECT_EQ(stepper->time(), 0.0);
    EXPECT_EQ(stepper->step(5), 5u);
    EXPECT_EQ(stepper->count(), 5u);
    EXPECT_EQ(stepper->time(), 1.25);
    EXPECT_FALSE(stepper->done());
    EXPECT_EQ(stepper->step(100), 8u);
    EXPECT_TRUE(stepper->done());
    EXPECT_EQ(stepper->step(1), 0u);
    EXPECT_EQ(stepper->count(), 13u);
    stepper->finish();
    EXPECT_EQ(stepped.sum(), run.sum());
    EXPECT_NE(run.sum(), 0.0);
}

TEST(Stepper, GoesOnFromWhatItSavedHereAndInAnother) {
    Chain<> first, second;
    const auto one = first.model().start(), other = second.model().start();
    one->step(4);
    const auto saved = one->save();
    ASSERT_FALSE(saved.empty());
    one->step(5);
    const double wanted = first.sum();
    one->step(2);
    EXPECT_NE(first.sum(), wanted);
    for (auto* stepper : {one.get(), other.get()}) {
        ASSERT_TRUE(stepper->restore(saved));
        EXPECT_EQ(stepper->count(), 4u);
        EXPECT_EQ(stepper->time(), 1.0);
        EXPECT_EQ(stepper->step(5), 5u);
    }
    EXPECT_EQ(first.sum(), wanted);
    EXPECT_EQ(second.sum(), wanted);
}

TEST(Stepper, CanGoBackFromTheEnd) {
    Chain<> chain;
    const auto stepper = chain.model().start();
    const auto saved = stepper->save();
    stepper->step(100);
    stepper->finish();
    EXPECT_TRUE(stepper->done());
    ASSERT_TRUE(stepper->restore(saved));
    EXPECT_FALSE(stepper->done());
    EXPECT_EQ(stepper->step(100), 13u);
}

/// What another model saved is refused, and nothing changes.
template <class Other>
void expect_refused(const std::vector<std::byte>& saved) {
    Chain<Other> chain;
    const auto stepper = chain.model().start();
    stepper->step(3);
    const double before = chain.sum();
    EXPECT_FALSE(stepper->restore(saved));
    EXPECT_EQ(stepper->count(), 3u);
    EXPECT_EQ(chain.sum(), before);
}

TEST(Stepper, RefusesWhatIsNotOfThisModel) {
    Chain<> chain;
    const auto stepper = chain.model().start();
    stepper->step(2);
    auto saved = stepper->save();
    expect_refused<Sum<double, float>>(saved);         // another size
    expect_refused<Sum<double, std::int64_t>>(saved);  // other types of the same size
    expect_refused<Sum<std::uint64_t, double>>(saved);
    saved.pop_back();
    EXPECT_FALSE(stepper->restore(saved));
    EXPECT_FALSE(stepper->restore({}));
    EXPECT_EQ(stepper->count(), 2u);

    Chain<Sum<std::int64_t, double>> left;
    const auto of_left = left.model().start();
    expect_refused<Sum<double, std::int64_t>>(of_left->save());  // the same types in another order
}

TEST(Stepper, SavesNothingWhereAnObjectKeepsItsStateToItself) {
    ExecBuilder b;
    auto block = std::make_unique<Silent>();
    block->set_identity(1, 0);
    b.put(std::unique_ptr<ExecBlock>(std::move(block)), 0);
    b.times(0.0, 1.0, 0.5);
    const auto stepper = b.model.start();
    EXPECT_TRUE(stepper->save().empty());
    EXPECT_FALSE(stepper->restore({}));
}

}  // namespace
}  // namespace tessel::test
