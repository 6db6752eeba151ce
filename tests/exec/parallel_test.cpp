#include <gmock/gmock.h>
#include <sys/resource.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <fstream>
#include <numeric>
#include <thread>

#include "core/thread_pool.h"
#include "exec/parallel_for_each.h"
#include "tests/support/ExecBuilder.h"
#include "tests/support/sanitizers.h"

namespace tessel::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// Sets the number of hardware threads while it lives.
class Threads {
public:
    explicit Threads(unsigned count) { sys::set_hardware_threads(count); }
    ~Threads() { sys::set_hardware_threads(0); }
    Threads(const Threads&) = delete;
    Threads& operator=(const Threads&) = delete;
};

// ---- the partition

TEST(Partition, CutsAsToldForAnyNumberOfElements) {
    for (unsigned hardware : {1u, 2u, 3u, 8u, 64u}) {
        for (std::size_t n = 1; n < 3000; n += n < 300 ? 1 : 37) {
            const auto part = partition_t::of(n, hardware);
            const std::size_t chunks = std::min<std::size_t>(n, 32 * hardware);
            ASSERT_EQ(part.chunks, chunks);
            ASSERT_EQ(part.size, n / chunks);
            ASSERT_EQ(part.extra, n % chunks);
            std::size_t end = 0;
            for (std::size_t i = 0; i < chunks; ++i) {
                ASSERT_EQ(part.begin_of(i), end);
                ASSERT_EQ(part.begin_of(i), i * part.size + std::min(i, part.extra));
                ASSERT_EQ(part.end_of(i) - part.begin_of(i), part.size + (i < part.extra ? 1 : 0));
                end = part.end_of(i);
            }
            ASSERT_EQ(end, n);
        }
    }
    EXPECT_EQ(partition_t::of(0, 4).chunks, 0u);
}

// ---- the loop

struct element_t {
    std::atomic<int> visits{0};
    std::thread::id thread;
};

TEST(ParallelForEach, VisitsEveryElementOnce) {
    for (unsigned hardware : {1u, 2u, 3u, 8u}) {
        const Threads threads(hardware);
        for (std::size_t n : {0u, 1u, 2u, 3u, 63u, 64u, 65u, 257u, 5000u}) {
            std::vector<element_t> elements(n);
            std::vector<element_t*> pointers;
            for (auto& element : elements) pointers.push_back(&element);
            for (int round = 1; round <= 3; ++round) {
                parallel_for_each(pointers, [](element_t& element) { ++element.visits; });
                for (const auto& element : elements) ASSERT_EQ(element.visits, round);
            }
        }
    }
}

TEST(ParallelForEach, OneThreadOrOneElementStaysOnTheCallingThreadInOrder) {
    const auto visit = [](std::size_t n) {
        std::vector<int> values(n), order;
        std::iota(values.begin(), values.end(), 0);
        std::vector<int*> pointers;
        for (int& value : values) pointers.push_back(&value);
        parallel_for_each(pointers, [&order, caller = std::this_thread::get_id()](int& value) {
            EXPECT_EQ(std::this_thread::get_id(), caller);
            order.push_back(value);
        });
        EXPECT_EQ(order, values);
    };
    {
        const Threads one(1);
        visit(1000);
    }
    const Threads eight(8);
    visit(1);
    visit(0);
}

TEST(ParallelForEach, NullElementsArePassedOver) {
    const Threads threads(3);
    std::vector<element_t> elements(100);
    std::vector<element_t*> pointers;
    for (auto& element : elements) {
        pointers.push_back(&element);
        pointers.push_back(nullptr);
    }
    parallel_for_each(pointers, [](element_t& element) { ++element.visits; });
    for (const auto& element : elements) EXPECT_EQ(element.visits, 1);
}

TEST(ParallelForEach, PoolThreadsTakePart) {
    const Threads threads(4);
    std::vector<element_t> elements(64);
    std::vector<element_t*> pointers;
    for (auto& element : elements) pointers.push_back(&element);
    std::atomic<int> inside{0};
    std::atomic<bool> met{false};
    parallel_for_each(pointers, [&](element_t& element) {
        element.thread = std::this_thread::get_id();
        ++inside;
        for (int i = 0; i < 2000 && !met; ++i) {  // wait until two are inside, two seconds at most
            if (inside > 1) met = true;
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        --inside;
    });
    EXPECT_TRUE(met);
}

/// Takes the memory away that thread stacks need and runs a loop. Gives it back to end, as coverage writes its counters
/// then.
void loop_without_pool() {
    rlimit before{};
    if (getrlimit(RLIMIT_AS, &before) != 0) _exit(2);
    std::ifstream statm("/proc/self/statm");
    rlim_t pages = 0;
    statm >> pages;
    const rlim_t bytes = pages * static_cast<rlim_t>(sysconf(_SC_PAGESIZE)) + (rlim_t{1} << 20);
    const rlimit limit{bytes, before.rlim_max};
    if (setrlimit(RLIMIT_AS, &limit) != 0) _exit(2);
    sys::set_hardware_threads(8);
    std::vector<int> order;
    std::vector<int> values(100);
    std::vector<int*> pointers;
    for (int& value : values) pointers.push_back(&value);
    order.reserve(values.size());
    parallel_for_each(pointers, [&](int& value) { order.push_back(static_cast<int>(&value - values.data())); });
    bool in_order = order.size() == values.size();
    for (std::size_t i = 0; in_order && i < order.size(); ++i) in_order = order[i] == static_cast<int>(i);
    setrlimit(RLIMIT_AS, &before);
    std::exit(in_order ? 0 : 1);
}

TEST(ParallelForEachDeathTest, WithoutPoolTheCallingThreadDoesItAll) {
    if (address_sanitizer || thread_sanitizer) GTEST_SKIP() << "a sanitizer needs address space of its own";
    GTEST_FLAG_SET(death_test_style, "threadsafe");  // a fresh process, in which the pool has no workers yet
    EXPECT_EXIT(loop_without_pool(), testing::ExitedWithCode(0), "");
}

// ---- which path a run takes

/// Objects of the given zone sizes, the highest zone first in the list, so that the first step tells the paths apart:
/// the serial one goes by the list, the parallel one by the zones.
class Shape {
public:
    explicit Shape(const std::vector<std::size_t>& zones, engine_t engine = engine_t::objects) {
        std::uint64_t id = 1;
        for (std::size_t zone = zones.size(); zone-- > 0;) {
            for (std::size_t n = 0; n < zones[zone]; ++n) {
                TestExec& block = b.add(id++, 0, 0, 0, static_cast<std::int32_t>(zone));
                block.on_step = [this, zone](TestExec&) { steps.push_back(zone); };
            }
        }
        b.model.set_engine(engine);
        b.times(0.1, 0.1, 1.0);
    }
    /// Whether the zones were stepped from the lowest up.
    bool runs_parallel() {
        const Threads one(1);
        steps.clear();
        EXPECT_EQ(b.run(), result_ok);
        EXPECT_EQ(steps.size(), b.model.blocks.size());
        return std::ranges::is_sorted(steps);
    }

    ExecBuilder b;
    std::vector<std::size_t> steps;
};

TEST(ParallelRun, FewerThan8096ObjectsRunSeriallyAndAreNotAskedForTheirZone) {
    std::vector<std::string> calls;
    for (const std::size_t count : {8095u, 8096u}) {
        Shape shape({count - 1, 1});
        calls.clear();
        static_cast<TestExec&>(*shape.b.model.blocks[5]).calls = &calls;
        EXPECT_FALSE(shape.runs_parallel());
        if (count == 8095) EXPECT_THAT(calls, testing::Not(testing::Contains("6.zone")));
        else
            EXPECT_THAT(calls, ElementsAre("6.set_enable", "6.zone", "6.set_time(0.1)", "6.start", "6.enabled",
                                           "6.set_time(0.1)", "6.sample", "6.step", "6.finish"));
    }
}

TEST(ParallelRun, ManyObjectsInTwoZonesRunSerially) { EXPECT_FALSE(Shape({20000, 20000}).runs_parallel()); }

TEST(ParallelRun, Needs32ZonesOfMoreThan1024Objects) {
    for (const engine_t engine : {engine_t::objects, engine_t::plan}) {
        std::vector<std::size_t> zones(31, 1025);
        zones.push_back(1024);
        EXPECT_FALSE(Shape(zones, engine).runs_parallel());
        zones.push_back(1);
        zones.back() = 1025;
        EXPECT_TRUE(Shape(zones, engine).runs_parallel());
    }
}

TEST(ParallelRun, SecondRunFindsNoZonesAndIsSerial) {
    Shape shape(std::vector<std::size_t>(32, 1025));
    EXPECT_TRUE(shape.runs_parallel());
    EXPECT_FALSE(shape.runs_parallel()) << "the low half of one time is one zone";
}

TEST(ParallelRun, EmptyEntriesArePassedOver) {
    for (const engine_t engine : {engine_t::objects, engine_t::plan}) {
        Shape shape(std::vector<std::size_t>(33, 1100), engine);
        const std::size_t objects = shape.b.model.blocks.size();
        for (int n = 0; n < 3; ++n) {
            std::unique_ptr<ExecBlock> nothing;
            shape.b.model.add_block(nothing);
        }
        const Threads two(2);
        std::atomic<std::size_t> steps{0};
        for (const auto& block : shape.b.model.blocks)
            if (block != nullptr) static_cast<TestExec&>(*block).on_step = [&steps](TestExec&) { ++steps; };
        EXPECT_EQ(shape.b.run(), result_ok);
        EXPECT_EQ(steps, objects);
    }
}

TEST(ParallelRun, MonitorEndsTheRun) {
    class Once final : public RunMonitor {
        bool step_done(double) noexcept override { return false; }
    } once;
    Shape shape(std::vector<std::size_t>(32, 1025));
    shape.b.times(0.0, 5.0, 1.0);
    shape.b.model.set_monitor(&once);
    EXPECT_TRUE(shape.runs_parallel());
    for (const auto& block : shape.b.model.blocks) ASSERT_EQ(static_cast<TestExec&>(*block).finishes, 1);
}

}  // namespace
}  // namespace tessel::test
