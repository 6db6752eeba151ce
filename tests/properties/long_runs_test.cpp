// Ten million steps of a small model take no memory but that of what is recorded.

#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>

#include "tests/properties/bench.h"
#include "tests/support/random_model.h"
#include "tests/support/sanitizers.h"

namespace tessel::test {
namespace {

using nlohmann::json;

constexpr std::int64_t steps = 10'000'000;
constexpr std::int64_t slack = 1 << 20;  // bytes: the C library's own, the stack

/// Pages of this process that are in memory, in bytes.
std::int64_t resident() {
    std::int64_t whole = 0, pages = 0;
    std::ifstream("/proc/self/statm") >> whole >> pages;
    return pages * ::sysconf(_SC_PAGESIZE);
}

/// An oscillator with states of all kinds and a gated subsystem, with or without a recorder of its speed.
json oscillator(bool recorded) {
    json file;
    file["model"] = {{"ti", 0.0}, {"tf", static_cast<double>(steps - 1)}, {"ts", 1.0}};
    const auto add = [&file](const char* class_name, int id, int inputs, json parameters = json::object(),
                             int parent = 0) {
        parameters["name"] = class_name + std::to_string(id);
        parameters["id"] = id;
        parameters["parent"] = parent;
        parameters["inportCount"] = inputs;
        file["blocks"].push_back({{class_name, std::move(parameters)}});
    };
    const auto link = [&file](int from, int to, int port = 0) {
        file["links"].push_back({{"srcId", from}, {"dstId", to}, {"srcPort", 0}, {"dstPort", port}});
    };
    add("sinewave", 1, 0);
    add("memory", 2, 1);
    add("add", 3, 2);
    add("poly1st", 4, 1, {{"coeffA", "0.5"}, {"coeffB", "0.0"}});
    link(1, 3);
    link(2, 3, 1);
    link(3, 4);
    link(4, 2);
    add("random", 5, 0);
    add("delta", 6, 1);
    add("hysteresis", 7, 1);
    add("subsys", 8, 1);
    add("enable", 9, 1, json::object(), 8);
    add("inport", 10, 1, {{"portNumber", 0}}, 8);
    add("acc", 11, 3, json::object(), 8);
    link(5, 6);
    link(6, 7);
    link(7, 8, -1);
    link(4, 8);
    for (int port = 0; port < 3; ++port) link(10, 11, port);
    if (recorded) {
        add("to_workspace", 12, 1);
        link(4, 12);
    }
    return file;
}

/// Memory after the first thousand steps and after the last.
class Watch final : public RunMonitor {
public:
    bool step_done(double) noexcept override {
        if (++done == 1000) first = resident();
        if (done == steps) last = resident();
        return true;
    }
    std::int64_t growth() const { return last - first; }

    std::int64_t done = 0, first = 0, last = 0;
};

class LongRuns : public testing::TestWithParam<engine_t> {
protected:
    static std::int64_t growth(bool recorded) {
        prepare_bridge();
        Compiled compiled(oscillator(recorded));
        const auto exec = compiled.build(GetParam());
        Watch watch;
        exec->set_monitor(&watch);
        EXPECT_EQ(exec->run(), result_ok);
        EXPECT_EQ(watch.done, steps);
        return watch.growth();
    }
    void SetUp() override {
        if (address_sanitizer || thread_sanitizer) GTEST_SKIP() << "a sanitizer's memory is not the program's";
    }
    void TearDown() override { prepare_bridge(); }
};

TEST_P(LongRuns, TakeNoMemory) { EXPECT_LT(growth(false), slack); }

TEST_P(LongRuns, TakeTheMemoryOfTheRecordedSamples) {
    const auto samples = static_cast<std::int64_t>(steps * 2 * sizeof(double));
    const std::int64_t taken = growth(true);
    EXPECT_GT(taken, samples / 2);
    EXPECT_LT(taken, samples + slack);
}

INSTANTIATE_TEST_SUITE_P(By, LongRuns, testing::Values(engine_t::objects, engine_t::plan),
                         [](const auto& engine) { return engine.param == engine_t::plan ? "plan" : "objects"; });

}  // namespace
}  // namespace tessel::test
