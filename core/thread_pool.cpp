#include "core/thread_pool.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

#include "core/spin.h"

namespace tessel::sys {
namespace {

std::atomic<unsigned> forced_threads{0};

}  // namespace

unsigned hardware_threads() noexcept {
    const unsigned forced = forced_threads.load(std::memory_order_relaxed);
    return forced != 0 ? forced : std::max(1u, std::thread::hardware_concurrency());
}

void set_hardware_threads(unsigned count) noexcept { forced_threads.store(count, std::memory_order_relaxed); }

struct WorkItem::impl_t {
    void (*callback)(void*);
    void* context;
    unsigned pending = 0;              // submitted and not started; under the pool's lock
    std::atomic<unsigned> running{0};  // raised under the lock, lowered without it
};

namespace {

/// The process's workers. They spin for a while and then sleep while nothing is submitted, and are joined when the
/// process ends.
class Pool {
public:
    static Pool& instance() {
        static Pool pool;
        return pool;
    }

    ~Pool() {
        {
            const std::lock_guard lock(mutex);
            stop_ = true;
        }
        work.notify_all();
        for (auto& worker : workers_) worker.join();
    }

    /// Brings the pool to one worker less than the hardware threads, since the caller takes part; false when there is
    /// none.
    bool grow(void (*body)(Pool&)) noexcept {
        const std::size_t wanted = hardware_threads() - 1;
        if (size_.load(std::memory_order_acquire) < wanted) {
            const std::lock_guard lock(mutex);
            try {
                while (workers_.size() < wanted) workers_.emplace_back(body, std::ref(*this));
            } catch (const std::system_error&) {
                // fewer workers than asked for still serve
            }
            size_.store(workers_.size(), std::memory_order_release);
        }
        return size_.load(std::memory_order_relaxed) != 0;
    }

    bool stopping() const noexcept { return stop_.load(std::memory_order_relaxed); }

    std::mutex mutex;
    std::condition_variable work;      // something was submitted
    std::condition_variable idle;      // a callback has returned
    std::deque<void*> queue;           // items with pending runs
    std::atomic<unsigned> pending{0};  // runs in the queue: what idle workers watch without the lock
    unsigned sleepers = 0;             // workers that wait for `work`

private:
    Pool() = default;
    std::atomic<bool> stop_{false};
    std::vector<std::thread> workers_;
    std::atomic<std::size_t> size_{0};
};

template <class Impl>
void worker_body(Pool& pool) {
    for (;;) {
        spin_until([&] { return pool.stopping() || pool.pending.load(std::memory_order_relaxed) != 0; });
        std::unique_lock lock(pool.mutex);
        ++pool.sleepers;
        pool.work.wait(lock, [&] { return pool.stopping() || !pool.queue.empty(); });
        --pool.sleepers;
        if (pool.stopping()) return;
        auto& item = *static_cast<Impl*>(pool.queue.front());
        pool.pending.fetch_sub(1, std::memory_order_relaxed);
        if (--item.pending == 0) pool.queue.pop_front();
        item.running.fetch_add(1, std::memory_order_relaxed);
        lock.unlock();
        item.callback(item.context);
        // the item may be gone once nothing of it runs, so the pool's own lock and signal tell its end
        if (item.running.fetch_sub(1, std::memory_order_acq_rel) == 1) {
            lock.lock();
            pool.idle.notify_all();
        }
    }
}

}  // namespace

WorkItem::WorkItem(void (*callback)(void*), void* context) noexcept : impl_(new impl_t{callback, context, 0, {}}) {}

std::unique_ptr<WorkItem> WorkItem::create(void (*callback)(void*), void* context) noexcept {
    if (!Pool::instance().grow(&worker_body<impl_t>)) return nullptr;
    return std::unique_ptr<WorkItem>(new WorkItem(callback, context));
}

WorkItem::~WorkItem() {
    wait();
    delete impl_;
}

void WorkItem::submit(unsigned times) noexcept {
    if (times == 0) return;
    Pool& pool = Pool::instance();
    const std::lock_guard lock(pool.mutex);
    if (impl_->pending == 0) pool.queue.push_back(impl_);
    impl_->pending += times;
    pool.pending.fetch_add(times, std::memory_order_relaxed);
    if (pool.sleepers == 0) return;
    if (times == 1) pool.work.notify_one();
    else pool.work.notify_all();
}

void WorkItem::wait() noexcept {
    Pool& pool = Pool::instance();
    {
        const std::lock_guard lock(pool.mutex);
        if (impl_->pending != 0) {
            pool.pending.fetch_sub(impl_->pending, std::memory_order_relaxed);
            impl_->pending = 0;
            std::erase(pool.queue, static_cast<void*>(impl_));
        }
    }
    const auto done = [this] { return impl_->running.load(std::memory_order_acquire) == 0; };
    if (spin_until(done)) return;
    std::unique_lock lock(pool.mutex);
    pool.idle.wait(lock, done);
}

}  // namespace tessel::sys
