// The bridge to the interpreter, called from the pool's threads.

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "core/format.h"
#include "core/python.h"
#include "core/thread_pool.h"
#include "host/embed/interpreter.h"

namespace zarn {
namespace {

constexpr int threads = 4;
constexpr int rounds = 50;

/// All operations under names of one thread's own, and reads of what all share. Answers whether all went well.
bool use_bridge(int thread) {
    auto& bridge = *python::wrap();
    bool good = true;
    for (int round = 0; round < rounds; ++round) {
        const std::string own = tessel::format("thread{}_{}", thread, round);
        tessel::var_t value;
        good = good && bridge.evaluate("mainsys.x", "shared + 2", &value) == tessel::result_ok && int(value) == 42;
        python::var_array_t array;
        good = good && bridge.evaluate_array("mainsys.x", "[[1, 2], [3, shared]]", array) == tessel::result_ok &&
               array.values.size() == 4 && int(array.values[3]) == 40;
        good = good && bridge.evaluate("mainsys.x", "shared / 0", &value) != tessel::result_ok;

        auto* times = new double[3]{0.0, 1.0, 2.0};
        auto* values = new double[3]{1.0 * thread, 1.0 * round, 5.0};
        bridge.assign(own, tessel::format("zarn.TimeSeries('{}')", own));
        bridge.set_array(own + ".xdata", times, 3);
        bridge.set_array(own + ".ydata", values, 3);
        bridge.set_attribute(own, "gain", 0.5);
        const auto series = bridge.find_series(own.c_str());
        if (series == nullptr) return false;
        const auto samples = series->value_data();
        good = good && samples.data[0] == thread && samples.data[1] == round;
        good = good && bridge.evaluate("mainsys.x", own + ".gain", &value) == tessel::result_ok && double(value) == 0.5;
    }
    return good;
}

TEST(Bridge, AnswersThreadsOfThePool) {
    std::atomic<int> lines{0};
    python::set_console([&lines](std::string_view) { ++lines; });
    {
        Interpreter interpreter({BLOCKS_PYTHON_PACKAGES, {"zarn"}, false});
        python::set_wrap(&interpreter.bridge());
        ASSERT_EQ(interpreter.run_code("shared = 40"), Interpreter::ended_t::well);

        struct work_t {
            std::atomic<int> next{0}, good{0};
        } work;
        tessel::sys::set_hardware_threads(threads + 1);
        const auto item = tessel::sys::WorkItem::create(
            [](void* context) {
                auto& mine = *static_cast<work_t*>(context);
                if (use_bridge(mine.next++)) ++mine.good;
            },
            &work);
        ASSERT_NE(item, nullptr);
        item->submit(threads);
        // until each has begun: what has not is taken back
        while (work.next < threads) std::this_thread::yield();
        // the caller takes part, as it does in a parallel run
        EXPECT_TRUE(use_bridge(threads));
        item->wait();
        tessel::sys::set_hardware_threads(0);
        EXPECT_EQ(work.good, threads);
        EXPECT_EQ(lines, (threads + 1) * rounds);  // one for each division by zero
        python::set_wrap(nullptr);
    }
    python::set_console(nullptr);
}

}  // namespace
}  // namespace zarn
