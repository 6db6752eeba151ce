#include "core/thread_pool.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

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
    unsigned pending = 0;  // submitted and not started
    unsigned running = 0;
    std::condition_variable idle;
};

namespace {

/// The process's workers. They sleep while nothing is submitted and are joined when the process ends.
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
        const std::lock_guard lock(mutex);
        try {
            while (workers_.size() + 1 < hardware_threads()) workers_.emplace_back(body, std::ref(*this));
        } catch (const std::system_error&) {
            // fewer workers than asked for still serve
        }
        return !workers_.empty();
    }

    bool stopping() const noexcept { return stop_; }

    std::mutex mutex;
    std::condition_variable work;
    std::deque<void*> queue;  // items with pending runs

private:
    Pool() = default;
    bool stop_ = false;
    std::vector<std::thread> workers_;
};

}  // namespace

namespace {

template <class Impl>
void worker_body(Pool& pool) {
    std::unique_lock lock(pool.mutex);
    for (;;) {
        pool.work.wait(lock, [&] { return pool.stopping() || !pool.queue.empty(); });
        if (pool.stopping()) return;
        auto& item = *static_cast<Impl*>(pool.queue.front());
        if (--item.pending == 0) pool.queue.pop_front();
        ++item.running;
        lock.unlock();
        item.callback(item.context);
        lock.lock();
        if (--item.running == 0) item.idle.notify_all();
    }
}

}  // namespace

WorkItem::WorkItem(void (*callback)(void*), void* context) noexcept : impl_(new impl_t{callback, context, 0, 0, {}}) {}

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
    {
        const std::lock_guard lock(pool.mutex);
        if (impl_->pending == 0) pool.queue.push_back(impl_);
        impl_->pending += times;
    }
    if (times == 1) pool.work.notify_one();
    else pool.work.notify_all();
}

void WorkItem::wait() noexcept {
    Pool& pool = Pool::instance();
    std::unique_lock lock(pool.mutex);
    if (impl_->pending != 0) {
        impl_->pending = 0;
        std::erase(pool.queue, static_cast<void*>(impl_));
    }
    impl_->idle.wait(lock, [this] { return impl_->running == 0; });
}

}  // namespace tessel::sys
