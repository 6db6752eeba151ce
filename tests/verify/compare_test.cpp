#include "host/verify/compare.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <functional>
#include <limits>

#include "formula/formula.h"

namespace zarn::verify {
namespace {

using kind_t = difference_t::kind_t;

/// A way whose values are those of a function of step and port, with a change in one place.
class Scripted final : public Way {
public:
    std::uint64_t steps = 10;
    std::function<std::uint64_t(std::uint64_t, std::size_t)> value = [](std::uint64_t step, std::size_t port) {
        return std::bit_cast<std::uint64_t>(std::sin(static_cast<double>(step)) * static_cast<double>(port + 1));
    };
    int runs = 0;

    Scripted(std::size_t ports, std::uint64_t of_steps) : steps(of_steps) {
        for (std::size_t i = 0; i < ports; ++i)
            ports_.push_back({"b" + std::to_string(i), "add", 100 + i, 0, false, tessel::type_flt64});
    }
    std::string name() const override { return "scripted"; }
    const std::vector<watched_t>& ports() const override { return ports_; }
    seen_t run(const look_t& look) override {
        ++runs;
        Watcher watcher(look);
        for (std::uint64_t step = 0; step < std::min(steps, look.steps); ++step)
            watcher.step(static_cast<double>(step) * 0.5, ports_.size(), [&](std::size_t port) {
                const std::uint64_t bits = value(step, port);
                return trace_bits(&bits, 8, 1);
            });
        for (std::size_t port = 0; port < ports_.size(); ++port)
            watcher.seen().final.push_back(value(std::min(steps, look.steps) - 1, port));
        return std::move(watcher.seen());
    }

private:
    std::vector<watched_t> ports_;
};

std::optional<difference_t> compared(Scripted& a, Scripted& b, std::uint64_t steps = never) {
    const look_t look{.steps = steps};
    const seen_t expected = a.run(look), got = b.run(look);
    return compare(a, expected, b, got, steps);
}

TEST(Compare, FindsNothingWhereAllIsEqual) {
    Scripted a(3, 5000), b(3, 5000);
    EXPECT_FALSE(compared(a, b));
    EXPECT_EQ(a.runs, 1);  // nothing to look for
}

/// One bit in one value of one step, anywhere in runs of any length, is found where it is.
TEST(Compare, FindsTheStepAndThePortOfOneWrongBit) {
    for (const std::uint64_t steps : {1u, 2u, 1023u, 1024u, 1025u, 2048u, 3000u, 50000u})
        for (const std::uint64_t at : {std::uint64_t{0}, steps / 3, steps / 2, steps - 1})
            for (const std::size_t port : {0u, 4u}) {
                Scripted a(5, steps), b(5, steps);
                b.value = [&](std::uint64_t step, std::size_t i) {
                    return a.value(step, i) ^ (step == at && i == port ? 1u : 0u);
                };
                const auto difference = compared(a, b);
                ASSERT_TRUE(difference) << steps << " steps, at " << at;
                EXPECT_EQ(difference->kind, kind_t::value);
                EXPECT_EQ(difference->step, at);
                EXPECT_EQ(difference->time, static_cast<double>(at) * 0.5);
                EXPECT_EQ(difference->port.block, 100 + port);
                EXPECT_EQ(difference->expected ^ difference->got, 1u);
            }
}

TEST(Compare, TellsTheFirstOfManyDifferences) {
    Scripted a(5, 4000), b(5, 4000);
    b.value = [&](std::uint64_t step, std::size_t i) { return a.value(step, i) ^ (step >= 1234 && i >= 2 ? 8u : 0u); };
    const auto difference = compared(a, b);
    ASSERT_TRUE(difference);
    EXPECT_EQ(difference->step, 1234u);
    EXPECT_EQ(difference->port.block, 102u);
}

TEST(Compare, TakesAnyNotANumberForAnother) {
    Scripted a(1, 10), b(1, 10);
    a.value = [](std::uint64_t, std::size_t) { return std::uint64_t{0x7ff8000000000000}; };
    b.value = [](std::uint64_t step, std::size_t) { return std::uint64_t{0xfff0000000000001} + step; };
    const auto normal = [](Scripted& way) { return way.run({}).trace.fold; };
    EXPECT_EQ(normal(a), normal(b));
}

TEST(Compare, TellsZerosApart) {
    Scripted a(1, 10), b(1, 10);
    a.value = [](std::uint64_t, std::size_t) { return std::bit_cast<std::uint64_t>(0.0); };
    b.value = [](std::uint64_t, std::size_t) { return std::bit_cast<std::uint64_t>(-0.0); };
    EXPECT_TRUE(compared(a, b));
}

TEST(Compare, TellsRunsOfOtherLengthsApart) {
    Scripted a(1, 10), b(1, 11);
    const auto difference = compared(a, b);
    ASSERT_TRUE(difference);
    EXPECT_EQ(difference->kind, kind_t::steps);
    EXPECT_EQ(difference->expected, 10u);
    EXPECT_EQ(difference->got, 11u);
    EXPECT_FALSE(compared(a, b, 10));
}

TEST(Compare, TellsAValueThatOnlyTheEndOfTheRunHas) {
    Scripted a(2, 10), b(2, 10);
    const look_t look;
    const seen_t expected = a.run(look);
    seen_t got = b.run(look);
    got.final[1] ^= 4;
    const auto difference = compare(a, expected, b, got, never);
    ASSERT_TRUE(difference);
    EXPECT_EQ(difference->kind, kind_t::final);
    EXPECT_EQ(difference->port.block, 101u);
}

TEST(Compare, SaysSoWhereARunIsNotTheSameTwice) {
    Scripted a(1, 100), b(1, 100);
    b.value = [&](std::uint64_t step, std::size_t i) {
        return a.value(step, i) ^ (b.runs == 1 && step == 50 ? 1u : 0u);
    };
    const auto difference = compared(a, b);
    ASSERT_TRUE(difference);
    EXPECT_EQ(difference->kind, kind_t::unsteady);
}

TEST(Compare, KeepsNoMoreOfALongRunThanOfAShortOne) {
    Scripted a(1, 300000);
    const trace_t trace = a.run({}).trace;
    EXPECT_EQ(trace.steps, 300000u);
    EXPECT_LE(trace.count, static_cast<unsigned>(TRACE_POINTS));
    EXPECT_GE(trace.count, static_cast<unsigned>(TRACE_POINTS) / 2 - 1);
    EXPECT_LE(trace.count * trace.stride, trace.steps);
}

TEST(Values, AreWrittenWithTheirBits) {
    EXPECT_EQ(value_text(tessel::type_flt64, std::bit_cast<std::uint64_t>(0.1)), "0.1 (0x3fb999999999999a)");
    EXPECT_EQ(value_text(tessel::type_flt32, std::bit_cast<std::uint32_t>(0.1f)), "0.1 (0x3dcccccd)");
    EXPECT_EQ(value_text(tessel::type_int8, 0xff), "-1 (0xff)");
    EXPECT_EQ(value_text(tessel::type_bool, 1), "1 (0x01)");
}

TEST(Values, AreSomeUlpsApart) {
    const auto f64 = [](double a, double b) {
        return ulps_between(tessel::type_flt64, std::bit_cast<std::uint64_t>(a), std::bit_cast<std::uint64_t>(b));
    };
    EXPECT_EQ(f64(1.0, 1.0), 0u);
    EXPECT_EQ(f64(1.0, std::nextafter(1.0, 2.0)), 1u);
    EXPECT_EQ(f64(std::nextafter(1.0, 0.0), std::nextafter(1.0, 2.0)), 2u);
    EXPECT_EQ(f64(-0.0, 0.0), 0u);
    EXPECT_EQ(f64(-5e-324, 5e-324), 2u);
    EXPECT_EQ(f64(1.0, std::numeric_limits<double>::quiet_NaN()), never);
    EXPECT_EQ(ulps_between(tessel::type_flt32, std::bit_cast<std::uint32_t>(1.0f),
                           std::bit_cast<std::uint32_t>(std::nextafter(1.0f, 2.0f))),
              1u);
    EXPECT_EQ(ulps_between(tessel::type_int32, 1, 2), never);
}

}  // namespace
}  // namespace zarn::verify
