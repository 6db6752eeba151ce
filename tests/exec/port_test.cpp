#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <tuple>
#include <vector>

#include "core/var.h"
#include "exec/Port.h"
#include "exec/ports.h"

namespace tessel::test {
namespace {

/// An object with one output.
template <class T>
class Feed final : public ExecBlock {
public:
    ExecPort* input(std::int16_t i) noexcept override { return output(i); }
    const ExecPort* input(std::int16_t i) const noexcept override { return output(i); }
    ExecPort* output(std::int16_t i) noexcept override { return i == 0 ? &port : nullptr; }
    const ExecPort* output(std::int16_t i) const noexcept override { return i == 0 ? &port : nullptr; }
    void sample() noexcept override {}
    void step() noexcept override {}
    Port<T> port;
};

template <class To, class From>
To pulled(From value) {
    Feed<From> feed;
    feed.port.value = value;
    Port<To> input;
    input.connect(feed, 0);
    input.pull();
    return input.value;
}

constexpr double nan64 = std::numeric_limits<double>::quiet_NaN();
constexpr double inf64 = std::numeric_limits<double>::infinity();

TEST(Port, ConvertsFloatsToIntegersWithoutClamping) {
    EXPECT_EQ((pulled<std::uint8_t>(-1.0)), 255);
    EXPECT_EQ((pulled<std::uint8_t>(300.7)), 44);
    EXPECT_EQ((pulled<std::uint8_t>(nan64)), 0);
    EXPECT_EQ((pulled<std::uint16_t>(70000.0)), 4464);
    EXPECT_EQ((pulled<std::uint16_t>(3e10)), 0);
    EXPECT_EQ((pulled<std::int16_t>(40000.9f)), -25536);
    EXPECT_EQ((pulled<std::int8_t>(-129.0f)), 127);
    EXPECT_EQ((pulled<std::int32_t>(nan64)), std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ((pulled<std::int32_t>(2147483648.0)), std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ((pulled<std::int32_t>(-2147483648.9)), std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ((pulled<std::uint32_t>(-1.0)), 0xFFFFFFFFu);
    EXPECT_EQ((pulled<std::uint32_t>(4294967296.0)), 0u);
    EXPECT_EQ((pulled<std::uint32_t>(inf64)), 0u);
    EXPECT_EQ((pulled<std::int64_t>(nan64)), std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ((pulled<std::int64_t>(9223372036854775808.0)), std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ((pulled<std::uint64_t>(-1.0)), 0xFFFFFFFFFFFFFFFFu);
    EXPECT_EQ((pulled<std::uint64_t>(9223372036854775808.0)), 0x8000000000000000u);
    EXPECT_EQ((pulled<std::uint64_t>(18446744073709549568.0)), 0xFFFFFFFFFFFFF800u);
    EXPECT_EQ((pulled<std::uint64_t>(18446744073709551616.0)), 0x8000000000000000u);
    EXPECT_EQ((pulled<std::uint64_t>(inf64)), 0x8000000000000000u);
    EXPECT_EQ((pulled<std::uint64_t>(nan64)), 0x8000000000000000u);
}

TEST(Port, ConvertsToBoolByComparisonWithZero) {
    EXPECT_TRUE(pulled<bool>(nan64));
    EXPECT_TRUE(pulled<bool>(0.25));
    EXPECT_TRUE(pulled<bool>(std::numeric_limits<float>::denorm_min()));
    EXPECT_FALSE(pulled<bool>(-0.0));
    EXPECT_FALSE(pulled<bool>(0.0f));
    EXPECT_TRUE(pulled<bool>(std::uint64_t{0x100000000u}));
    EXPECT_TRUE(pulled<bool>(std::int16_t{256}));
}

TEST(Port, ExtendsIntegersByTheSignOfTheSource) {
    EXPECT_EQ((pulled<std::uint32_t>(std::int8_t{-1})), 0xFFFFFFFFu);
    EXPECT_EQ((pulled<std::uint64_t>(std::int8_t{-1})), 0xFFFFFFFFFFFFFFFFu);
    EXPECT_EQ((pulled<std::int64_t>(std::uint8_t{255})), 255);
    EXPECT_EQ((pulled<float>(std::int8_t{-1})), -1.0f);
    EXPECT_EQ((pulled<std::int64_t>(true)), 1);
    EXPECT_EQ((pulled<double>(true)), 1.0);
    EXPECT_EQ((pulled<std::int8_t>(std::uint8_t{200})), -56);
    EXPECT_EQ((pulled<std::uint8_t>(std::int64_t{-2})), 254);
}

TEST(Port, RoundsLargeIntegersToNearest) {
    EXPECT_EQ((pulled<double>(std::uint64_t{0xFFFFFFFFFFFFFFFFu})), 18446744073709551616.0);
    EXPECT_EQ((pulled<double>(std::uint64_t{0x8000000000000400u})), 9223372036854775808.0);
    EXPECT_EQ((pulled<double>(std::uint64_t{0x8000000000000401u})), 9223372036854777856.0);
    EXPECT_EQ((pulled<float>(std::uint64_t{0x8000008000000001u})), 9223373136366403584.0f);
    EXPECT_EQ((pulled<float>(std::int32_t{16777217})), 16777216.0f);
    EXPECT_EQ((pulled<float>(std::uint32_t{0xFFFFFFFFu})), 4294967296.0f);
    EXPECT_EQ((pulled<double>(std::uint32_t{0xFFFFFFFFu})), 4294967295.0);
    EXPECT_EQ((pulled<double>(std::int64_t{9007199254740993})), 9007199254740992.0);
}

// ---- all 121 pairs against the rules written a second way, over edge values of every type

__extension__ typedef __int128 int128;
__extension__ typedef unsigned __int128 uint128;

template <class To>
To of_integer(int128 v) {
    if constexpr (std::is_same_v<To, bool>) return v != 0;
    else if constexpr (std::is_floating_point_v<To>) return static_cast<To>(v);  // to nearest, of the whole value
    else return static_cast<To>(static_cast<uint128>(v));                        // low bytes
}

template <class To>
To of_float(long double v) {
    constexpr long double two63 = 9223372036854775808.0L;
    const auto truncated = [](long double x, long double limit) -> int128 {
        const long double whole = std::trunc(x);
        return whole >= -limit && whole < limit ? static_cast<int128>(whole) : -static_cast<int128>(limit);
    };
    if constexpr (std::is_same_v<To, bool>) return !(v == 0.0L);
    else if constexpr (std::is_same_v<To, std::uint64_t>) {
        if (!(v >= two63)) return of_integer<To>(truncated(v, two63));
        return v - two63 < two63 ? of_integer<To>(static_cast<int128>(std::trunc(v))) : 0x8000000000000000u;
    } else if constexpr (sizeof(To) == 8 || std::is_same_v<To, std::uint32_t>)
        return of_integer<To>(truncated(v, two63));
    else return of_integer<To>(truncated(v, 2147483648.0L));
}

template <class To, class From>
To expected(From v) {
    if constexpr (std::is_same_v<To, From>) return v;
    else if constexpr (std::is_floating_point_v<From> && std::is_floating_point_v<To>) return static_cast<To>(v);
    else if constexpr (std::is_floating_point_v<From>) return of_float<To>(v);
    else return of_integer<To>(v);
}

template <class T>
std::vector<T> edges() {
    using limits = std::numeric_limits<T>;
    if constexpr (std::is_same_v<T, bool>) return {false, true};
    else if constexpr (std::is_integral_v<T>) {
        std::vector<T> all{0, 1, static_cast<T>(-1), 2, 127, static_cast<T>(128), limits::min(), limits::max()};
        for (int bit = 1; bit < limits::digits; ++bit)
            for (int off : {-1, 0, 1}) all.push_back(static_cast<T>((T{1} << bit) + static_cast<T>(off)));
        return all;
    } else {
        std::vector<T> all{0,
                           T(-0.0),
                           T(0.5),
                           T(-0.5),
                           T(0.999999),
                           T(1.5),
                           T(300.7),
                           T(-300.7),
                           limits::min(),
                           limits::denorm_min(),
                           limits::max(),
                           limits::lowest(),
                           limits::infinity(),
                           -limits::infinity(),
                           limits::quiet_NaN()};
        for (int exponent : {7, 8, 15, 16, 31, 32, 63, 64}) {
            const T power = std::ldexp(T(1), exponent);
            for (T v : {power, std::nextafter(power, T(0)), std::nextafter(power, limits::max()), power - 1, power + 1,
                        power + T(0.5), power - T(0.5)}) {
                all.push_back(v);
                all.push_back(-v);
            }
        }
        return all;
    }
}

template <class T>
bool same(T a, T b) {
    return a == b || (a != a && b != b);
}

template <class To, class From>
int check_pair() {
    for (const From v : edges<From>()) {
        EXPECT_TRUE(same(pulled<To>(v), expected<To>(v)))
            << short_name(type_of<From>) << " to " << short_name(type_of<To>) << ", " << +v << ": " << +pulled<To>(v)
            << ", not " << +expected<To>(v);
    }
    return 1;
}
template <class From, class... To>
int check_from(type_list<To...>) {
    return (check_pair<To, From>() + ...);
}
template <class... From>
int check_all(type_list<From...> types) {
    return (check_from<From>(types) + ...);
}

TEST(Port, AllPairsOfTypesFollowTheRules) { EXPECT_EQ(check_all(value_types{}), 121); }

template <class T>
int check_port() {
    Port<T> port;
    EXPECT_EQ(port.value, T{});
    EXPECT_EQ(port.source(), nullptr);
    EXPECT_EQ(port.type(), type_of<T>);
    EXPECT_EQ(port.value_ptr(), &port.value);
    port.value = T{1};
    port.idle_hook();
    port.pull();
    EXPECT_EQ(port.value, T{1}) << "an unfed port keeps what it holds";
    var_t out("text");
    port.to_var(out);
    EXPECT_EQ(out.type(), type_of<T>);
    EXPECT_EQ(out.payload<T>(), T{1});
    return 1;
}
template <class... T>
int check_ports(type_list<T...>) {
    return (check_port<T>() + ...);
}

TEST(Port, HoldsZeroAndNoSourceAtTheStart) { EXPECT_EQ(check_ports(value_types{}), 11); }

TEST(Port, ConnectTakesWhateverTheBlockAnswers) {
    Feed<double> feed;
    Port<double> input;
    input.connect(feed, 0);
    EXPECT_EQ(input.source(), &feed.port);
    input.connect(feed, 1);
    EXPECT_EQ(input.source(), nullptr);
    input.connect(feed, 65535);
    EXPECT_EQ(input.source(), nullptr);
    input.value = 3.0;
    input.pull();
    EXPECT_EQ(input.value, 3.0);
}

// ---- layouts

template <class In, class Out>
class Still final : public Ports<In, Out> {
public:
    void step() noexcept override {}
};

/// The flat list of a layout: n inputs and m outputs, from both names, with everything around it.
template <class In, class Out>
void check_layout(int n, int m) {
    Still<In, Out> block;
    const ExecBlock& constant = block;
    std::vector<ExecPort*> ports;
    for (int i = 0; i < n + m; ++i) {
        ports.push_back(block.input(static_cast<std::int16_t>(i)));
        ASSERT_NE(ports.back(), nullptr) << i;
        for (int k = 0; k < i; ++k) EXPECT_NE(ports[static_cast<std::size_t>(k)], ports.back());
    }
    for (int i = -40; i < 40; ++i) {
        const auto index = static_cast<std::int16_t>(i);
        const auto at = [&ports](int position) {
            return position >= 0 && position < static_cast<int>(ports.size())
                       ? ports[static_cast<std::size_t>(position)]
                       : nullptr;
        };
        EXPECT_EQ(block.input(index), at(i)) << i;
        EXPECT_EQ(constant.input(index), at(i)) << i;
        EXPECT_EQ(block.output(index), at(i + n)) << i;
        EXPECT_EQ(constant.output(index), at(i + n)) << i;
    }
    for (std::int16_t index : {std::int16_t{32767}, std::int16_t{-32768}}) {
        EXPECT_EQ(block.input(index), nullptr);
        EXPECT_EQ(block.output(index), nullptr);
    }
}

TEST(Layout, InputAndOutputAreViewsOfOneList) {
    check_layout<inputs<>, outputs<double>>(0, 1);
    check_layout<inputs<bool>, outputs<>>(1, 0);
    check_layout<inputs<float>, outputs<float>>(1, 1);
    check_layout<inputs<std::int8_t, double>, outputs<double>>(2, 1);
    check_layout<inputs<bool, std::uint16_t, float>, outputs<float>>(3, 1);
    check_layout<same_inputs<bool, 2>, outputs<bool>>(2, 1);
    check_layout<same_inputs<double, 8>, outputs<double>>(8, 1);
}

TEST(Layout, PortsHaveTheirTypesInOrder) {
    Still<inputs<bool, std::uint16_t, float>, outputs<float>> block;
    EXPECT_EQ(block.input(0)->type(), type_bool);
    EXPECT_EQ(block.input(1)->type(), type_uint16);
    EXPECT_EQ(block.input(2)->type(), type_flt32);
    EXPECT_EQ(block.output(0)->type(), type_flt32);
    EXPECT_EQ(block.output(-1), block.input(2));
    EXPECT_EQ(block.input(3), block.output(0));
}

TEST(Layout, SamplePullsEveryFedInput) {
    Feed<double> feed;
    feed.port.value = 300.7;
    Still<inputs<std::uint8_t, std::int16_t, bool>, outputs<std::int16_t>> block;
    block.in1.value = 9;
    block.in0.connect(feed, 0);
    block.in2.connect(feed, 0);
    block.sample();
    EXPECT_EQ(block.in0.value, 44);
    EXPECT_EQ(block.in1.value, 9);
    EXPECT_TRUE(block.in2.value);
    EXPECT_EQ(block.out0.value, 0);

    Still<same_inputs<float, 5>, outputs<float>> wide;
    for (auto& port : wide.in) port.connect(feed, 0);
    wide.sample();
    for (const auto& port : wide.in) EXPECT_EQ(port.value, 300.7f);
}

// ---- what the base class does

TEST(ExecBlock, ZoneAndTimeShareOneCell) {
    Feed<double> block;
    for (const std::int32_t zone : {0, 1001, -1, std::numeric_limits<std::int32_t>::min()}) {
        block.set_identity(7, zone);
        EXPECT_EQ(block.zone(), zone);
        EXPECT_EQ(block.id(), 7u);
    }
    block.set_time(0.1);  // 0x3FB999999999999A
    EXPECT_EQ(block.zone(), static_cast<std::int32_t>(0x9999999Au));
    block.set_time(1.0);
    EXPECT_EQ(block.zone(), 0) << "the low half of a short binary fraction is empty";
}

TEST(ExecBlock, EnabledReadsBehindThePointer) {
    Feed<double> block;
    bool flag = true;
    block.set_enable(&flag);
    EXPECT_TRUE(block.enabled());
    flag = false;
    EXPECT_FALSE(block.enabled());
    block.configure(nullptr);
    block.start();
    block.finish();
}

}  // namespace
}  // namespace tessel::test
