#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/literal_bridge.h"
#include "tests/support/block_test.h"
#include "tests/support/diagram.h"

namespace tessel::test {
namespace {

using samples_t = std::vector<double>;

class ToWorkspace : public testing::Test {
protected:
    ToWorkspace() { python::literal_bridge().clear(); }
    ~ToWorkspace() override { python::literal_bridge().clear(); }

    static samples_t stored(const char* name) { return python::literal_bridge().array(name); }
};

/// Keeps the calls of one `finish` in their order.
class Listener final : public python::IPythonWrap {
public:
    Listener() { python::set_wrap(this); }
    ~Listener() override { python::set_wrap(nullptr); }
    std::shared_ptr<python::ISeries> find_series(const char*) override { return nullptr; }
    void set_array(std::string_view name, const double* values, std::int32_t count) override {
        calls.push_back("set_array " + std::string(name) + " " + std::to_string(count));
        delete[] values;
    }
    void set_attribute(std::string_view, std::string_view, double) override {}
    result_t evaluate_array(std::string_view, std::string_view, python::var_array_t&) override {
        return result_failure;
    }
    result_t evaluate(std::string_view, std::string_view, var_t*) override { return result_failure; }
    void assign(std::string_view name, std::string_view expression) override {
        calls.push_back("assign " + std::string(name) + " " + std::string(expression));
    }

    std::vector<std::string> calls;
};

TEST_F(ToWorkspace, StoresOneSampleAStepUnderThePath) {
    Bench bench("to_workspace", {type_int8});
    bench.block().set_python_path("mainsys.motor.log");
    Runnable run(bench.typed());
    ASSERT_TRUE(run);
    run.put(std::int8_t{-3}).step(0.5);
    run.put(std::int8_t{4}).step(0.75);
    EXPECT_EQ(python::literal_bridge().assigned("mainsys.motor.log"), "");
    run->finish();
    EXPECT_EQ(python::literal_bridge().assigned("mainsys.motor.log"), "zarn.TimeSeries('mainsys.motor.log')");
    EXPECT_EQ(stored("mainsys.motor.log.xdata"), (samples_t{0.5, 0.75}));
    EXPECT_EQ(stored("mainsys.motor.log.ydata"), (samples_t{-3.0, 4.0}));
}

TEST_F(ToWorkspace, AnotherRunAppends) {
    Bench bench("to_workspace", {type_flt64});
    bench.block().set_python_path("mainsys.log");
    Runnable run(bench.typed());
    run.put(1.0).step(0.0);
    run->finish();
    run.put(2.0).step(0.0);
    run->finish();
    EXPECT_EQ(stored("mainsys.log.xdata"), (samples_t{0.0, 0.0}));
    EXPECT_EQ(stored("mainsys.log.ydata"), (samples_t{1.0, 2.0}));
}

TEST_F(ToWorkspace, MakesTheSeriesBeforeItsArrays) {
    Bench bench("to_workspace", {type_flt64});
    bench.block().set_python_path("mainsys.log");
    Runnable run(bench.typed());
    run.put(1.0).step(0.0);
    Listener listener;
    run->finish();
    EXPECT_EQ(listener.calls,
              (std::vector<std::string>{"assign mainsys.log zarn.TimeSeries('mainsys.log')",
                                        "set_array mainsys.log.xdata 1", "set_array mainsys.log.ydata 1"}));
}

TEST_F(ToWorkspace, WithoutASampleTheSeriesIsEmpty) {
    Bench bench("to_workspace", {type_flt64});
    bench.block().set_python_path("mainsys.log");
    Runnable run(bench.typed());
    Listener listener;
    run->finish();
    EXPECT_EQ(listener.calls.size(), 3u);
    EXPECT_EQ(listener.calls.back(), "set_array mainsys.log.ydata 0");
}

TEST_F(ToWorkspace, ConvertsLargeUnsignedIntegers) {
    Bench bench("to_workspace", {type_uint64});
    bench.block().set_python_path("mainsys.log");
    Runnable run(bench.typed());
    run.put(std::uint64_t{0xffffffffffffffffu}).step(0.0);
    run->finish();
    EXPECT_EQ(stored("mainsys.log.ydata"), (samples_t{18446744073709551616.0}));
}

TEST_F(ToWorkspace, LoweredStepRecordsToo) {
    Bench bench("to_workspace", {type_flt32});
    bench.block().set_python_path("mainsys.log");
    Runnable run(bench.typed());
    run.step_lowered({value(0.5f)}, 2.0);
    run->finish();
    EXPECT_EQ(stored("mainsys.log.xdata"), (samples_t{2.0}));
    EXPECT_EQ(stored("mainsys.log.ydata"), (samples_t{0.5}));
}

TEST_F(ToWorkspace, RunsWithElevenInputTypes) {
    EXPECT_EQ(accepted("to_workspace").size(), 11u);
    Bench text("to_workspace", {type_cstr});
    EXPECT_FALSE(Runnable(text.typed()));
}

TEST_F(ToWorkspace, WritesNoCode) {
    Bench bench("to_workspace", {type_flt64});
    EXPECT_EQ(bench.typed().init_c(), "    // no initialization is required\n");
    EXPECT_EQ(bench.init_py(), "        # no initialization is required\n");
    EXPECT_EQ(bench.step_c(), "    // no code generated\n");
    EXPECT_EQ(bench.step_py(), "        # no code generated\n");
}

TEST_F(ToWorkspace, RecordsASeriesThroughAWholeRun) {
    python::literal_bridge().set_series("s", {0.0, 1.0, 2.0}, {10.0, 20.0, 30.0});
    Diagram diagram;
    diagram.set_time(0.0, 1.5, 0.5);
    diagram.add("from_workspace", "in", 5).param("expression") = var_t("s");
    diagram.add("to_workspace", "out log", 6);
    diagram.link(5, 6);
    ASSERT_EQ(diagram.compile(), result_ok);
    ASSERT_EQ(diagram.build()->run(), result_ok);
    EXPECT_EQ(stored("mainsys.out_log.xdata"), (samples_t{0.0, 0.5, 1.0, 1.5}));
    EXPECT_EQ(stored("mainsys.out_log.ydata"), (samples_t{10.0, 20.0, 20.0, 30.0}));
}

TEST_F(ToWorkspace, InASubsystemThatIsNeverEnabledStoresNothing) {
    python::literal_bridge().set_series("off", {0.0}, {0.0});
    Diagram diagram;
    diagram.add("from_workspace", "flag", 5).param("expression") = var_t("off");
    diagram.add("subsys", "sub", 7, 0, {1, 0});
    diagram.add("enable", "gate", 8, 7);
    diagram.add_port("inport", "u", 9, 7, 0);
    diagram.add("to_workspace", "log", 10, 7);
    diagram.link(5, 7, 0, -1);
    diagram.link(5, 7, 0, 0);
    diagram.link(9, 10);
    ASSERT_EQ(diagram.compile(), result_ok);
    const auto exec = diagram.build();
    Listener listener;
    ASSERT_EQ(exec->run(), result_ok);
    ASSERT_EQ(listener.calls.size(), 3u);
    EXPECT_EQ(listener.calls[1], "set_array mainsys.sub.log.xdata 0");
}

}  // namespace
}  // namespace tessel::test
