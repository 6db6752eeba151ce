#include "exec/team.h"

#include <thread>

#include "core/spin.h"

namespace tessel {

Team::Team(std::size_t parts, void (*part)(void*, std::size_t), void* context)
    : part_(part), context_(context), claims_(parts) {
    if (parts < 2) return;
    item_ = sys::WorkItem::create([](void* team) { static_cast<Team*>(team)->follow(); }, this);
    if (item_ != nullptr) item_->submit(static_cast<unsigned>(parts - 1));
}

Team::~Team() {
    phase_.store(over, std::memory_order_release);
    phase_.notify_all();
    if (item_ != nullptr) item_->wait();
}

void Team::run_phase() noexcept {
    const std::uint64_t phase = phase_.load(std::memory_order_relaxed) + 1;
    done_.store(0, std::memory_order_relaxed);
    phase_.store(phase, std::memory_order_release);
    phase_.notify_all();
    take_parts(phase, 0);
    const auto done = [this] { return done_.load(std::memory_order_acquire) == claims_.size(); };
    while (!sys::spin_until(done)) std::this_thread::yield();
}

// A phase ends when all its parts are done, so a thread that comes late finds each taken in this phase or a later one.
void Team::take_parts(std::uint64_t phase, std::size_t first) noexcept {
    for (std::size_t n = 0; n < claims_.size(); ++n) {
        const std::size_t i = (first + n) % claims_.size();
        std::uint64_t before = phase - 1;
        if (!claims_[i].phase.compare_exchange_strong(before, phase, std::memory_order_relaxed)) continue;
        part_(context_, i);
        done_.fetch_add(1, std::memory_order_release);
    }
}

void Team::follow() noexcept {
    const std::size_t own = 1 + followers_.fetch_add(1, std::memory_order_relaxed);
    std::uint64_t seen = 0;
    const auto news = [&] { return phase_.load(std::memory_order_acquire) != seen; };
    for (;;) {
        if (!sys::spin_until(news, 50 * sys::patience)) phase_.wait(seen, std::memory_order_acquire);
        seen = phase_.load(std::memory_order_acquire);
        if (seen == over) return;
        take_parts(seen, own);
    }
}

}  // namespace tessel
