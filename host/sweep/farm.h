// The threads of a sweep.
#pragma once

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <exception>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "exec/ensemble/program.h"
#include "host/sweep/kinds.h"

namespace zarn {

/// Variants of one kind in a batch.
struct group_t {
    std::shared_ptr<Kind> kind;
    std::shared_ptr<const lane_program_t> program;
    std::vector<std::size_t> rows;  // in the batch
    std::vector<std::uint64_t> values;
};

/// A batch on its way.
struct task_t {
    std::uint64_t first = 0;
    std::size_t count = 0;
    std::vector<double> values, measures, samples;
    std::vector<std::string> ended;
    std::vector<group_t> groups;
};

/// Batches on several threads: preparing is done by one at a time, since it asks the interpreter, and so is handing
/// over, in order.
template <class Prepare, class Run, class Take>
class Farm {
public:
    Farm(std::uint64_t first, std::uint64_t end, const Prepare& prepare, const Run& run, const Take& take)
        : next_(first), end_(end), due_(first), prepare_(prepare), run_(run), take_(take) {}

    bool go(unsigned threads) {
        std::vector<std::thread> others;
        for (unsigned i = 1; i < threads; ++i) others.emplace_back([this] { work(); });
        work();
        for (std::thread& thread : others) thread.join();
        if (failure_ != nullptr) std::rethrow_exception(failure_);
        return !stopped_;
    }

private:
    void work() noexcept {
        try {
            const auto run = run_();
            for (;;) {
                task_t task;
                {
                    const std::lock_guard lock(preparing_);
                    if (stopped_ || next_ >= end_) return;
                    const std::uint64_t first = next_;
                    const auto count =
                        static_cast<std::size_t>(std::min<std::uint64_t>(tessel::ensemble::most_lanes, end_ - first));
                    next_ += count;
                    task = prepare_(first, count);
                }
                run(task, stopped_);
                hand_over(std::move(task));
            }
        } catch (...) {
            const std::lock_guard lock(handing_);
            if (failure_ == nullptr) failure_ = std::current_exception();
            stopped_ = true;
            done_.notify_all();
        }
    }

    void hand_over(task_t task) {
        constexpr std::size_t most_waiting = 4;
        std::unique_lock lock(handing_);
        const std::uint64_t first = task.first;
        // who is far ahead waits, so that memory does not grow
        done_.wait(lock, [&] { return stopped_ || first == due_ || waiting_.size() < most_waiting; });
        if (stopped_) return;
        waiting_.emplace(first, std::move(task));
        for (auto found = waiting_.find(due_); found != waiting_.end() && !stopped_; found = waiting_.find(due_)) {
            const task_t& due = found->second;
            if (!take_({due.first, due.count, due.values, due.measures, due.samples, due.ended})) stopped_ = true;
            due_ += due.count;
            waiting_.erase(found);
        }
        done_.notify_all();
    }

    std::uint64_t next_, end_, due_;
    const Prepare& prepare_;
    const Run& run_;
    const Take& take_;
    std::mutex preparing_, handing_;
    std::condition_variable done_;
    std::map<std::uint64_t, task_t> waiting_;
    std::atomic<bool> stopped_ = false;
    std::exception_ptr failure_;
};

}  // namespace zarn
