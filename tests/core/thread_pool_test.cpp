#include "core/thread_pool.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <mutex>
#include <set>
#include <thread>

namespace tessel::sys {
namespace {

using namespace std::chrono_literals;

/// Forces the count of hardware threads for one test.
class ThreadPool : public testing::Test {
protected:
    void SetUp() override { set_hardware_threads(4); }
    void TearDown() override { set_hardware_threads(0); }
};

struct counter_t {
    std::atomic<int> runs{0};
    static void run(void* self) { ++static_cast<counter_t*>(self)->runs; }
};

template <class Condition>
bool eventually(Condition condition) {
    for (int i = 0; i < 5000 && !condition(); ++i) std::this_thread::sleep_for(1ms);
    return condition();
}

TEST_F(ThreadPool, HardwareThreadsAnswersWhatWasSet) {
    EXPECT_EQ(hardware_threads(), 4u);
    set_hardware_threads(7);
    EXPECT_EQ(hardware_threads(), 7u);
    set_hardware_threads(0);
    EXPECT_GE(hardware_threads(), 1u);
    EXPECT_EQ(hardware_threads(), std::max(1u, std::thread::hardware_concurrency()));
}

TEST_F(ThreadPool, RunsAsOftenAsSubmitted) {
    counter_t counter;
    auto item = WorkItem::create(&counter_t::run, &counter);
    ASSERT_NE(item, nullptr);
    item->submit(3);
    EXPECT_TRUE(eventually([&] { return counter.runs == 3; }));
    item->submit(1);
    item->submit(2);
    EXPECT_TRUE(eventually([&] { return counter.runs == 6; }));
    item->wait();
    EXPECT_EQ(counter.runs, 6);
}

TEST_F(ThreadPool, SubmittingNothingRunsNothing) {
    counter_t counter;
    auto item = WorkItem::create(&counter_t::run, &counter);
    item->submit(0);
    item->wait();
    EXPECT_EQ(counter.runs, 0);
}

TEST_F(ThreadPool, RunsOnOtherThreads) {
    struct record_t {
        std::mutex mutex;
        std::set<std::thread::id> threads;
        static void run(void* self) {
            auto& record = *static_cast<record_t*>(self);
            const std::lock_guard lock(record.mutex);
            record.threads.insert(std::this_thread::get_id());
        }
    } record;
    auto item = WorkItem::create(&record_t::run, &record);
    item->submit(50);
    EXPECT_TRUE(eventually([&] {
        const std::lock_guard lock(record.mutex);
        return !record.threads.empty();
    }));
    item->wait();
    EXPECT_FALSE(record.threads.contains(std::this_thread::get_id()));
}

TEST_F(ThreadPool, WaitTakesBackWhatHasNotStartedAndWaitsForTheRest) {
    struct gate_t {
        std::atomic<int> started{0}, ended{0};
        std::atomic<bool> open{false};
        static void run(void* self) {
            auto& gate = *static_cast<gate_t*>(self);
            ++gate.started;
            while (!gate.open) std::this_thread::sleep_for(1ms);
            ++gate.ended;
        }
    } gate;
    auto item = WorkItem::create(&gate_t::run, &gate);
    item->submit(1000);
    ASSERT_TRUE(eventually([&] { return gate.started > 0; }));
    std::thread opener([&] {
        std::this_thread::sleep_for(20ms);
        gate.open = true;
    });
    item->wait();
    const int started = gate.started;
    EXPECT_EQ(gate.ended, started);
    EXPECT_LT(started, 1000);
    opener.join();
    std::this_thread::sleep_for(20ms);
    EXPECT_EQ(gate.started, started);
}

TEST_F(ThreadPool, TheDestructorWaits) {
    struct slow_t {
        std::atomic<bool> started{false}, ended{false};
        static void run(void* self) {
            auto& slow = *static_cast<slow_t*>(self);
            slow.started = true;
            std::this_thread::sleep_for(20ms);
            slow.ended = true;
        }
    } slow;
    {
        auto item = WorkItem::create(&slow_t::run, &slow);
        item->submit(1);
        ASSERT_TRUE(eventually([&] { return slow.started.load(); }));
    }
    EXPECT_TRUE(slow.ended);
}

TEST_F(ThreadPool, ManyItemsAtOnce) {
    counter_t counters[20];
    std::unique_ptr<WorkItem> items[20];
    for (int i = 0; i < 20; ++i) items[i] = WorkItem::create(&counter_t::run, &counters[i]);
    for (auto& item : items) item->submit(10);
    for (int i = 0; i < 20; ++i) {
        EXPECT_TRUE(eventually([&] { return counters[i].runs == 10; }));
        items[i]->wait();
    }
}

TEST_F(ThreadPool, ACallbackMaySubmitAnotherItem) {
    struct chain_t {
        WorkItem* next = nullptr;
        static void run(void* self) { static_cast<chain_t*>(self)->next->submit(1); }
    } chain;
    counter_t counter;
    auto last = WorkItem::create(&counter_t::run, &counter);
    chain.next = last.get();
    auto first = WorkItem::create(&chain_t::run, &chain);
    first->submit(5);
    EXPECT_TRUE(eventually([&] { return counter.runs == 5; }));
    first->wait();
    last->wait();
}

}  // namespace
}  // namespace tessel::sys
