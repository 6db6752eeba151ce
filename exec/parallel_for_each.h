// A statically partitioned loop over the thread pool.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>

#include "core/thread_pool.h"

namespace tessel {

/// The chunks that a loop over `n` elements is cut into: at most 32 for each hardware thread, of sizes that differ by
/// one at most.
struct partition_t {
    std::size_t chunks;
    std::size_t size;
    std::size_t extra;

    static partition_t of(std::size_t n, unsigned hardware) noexcept {
        const std::size_t chunks = std::min<std::size_t>(n, std::size_t{32} * hardware);
        return {chunks, chunks != 0 ? n / chunks : 0, chunks != 0 ? n % chunks : 0};
    }
    std::size_t begin_of(std::size_t i) const noexcept { return i * size + std::min(i, extra); }
    std::size_t end_of(std::size_t i) const noexcept { return begin_of(i + 1); }
};

/// Runs `action(begin, end)` over the chunks of `n` elements, on the pool and on the calling thread, and returns when
/// all are done. With one hardware thread, fewer than two elements or no pool the calling thread does it all in order.
template <class Action>
void parallel_for_chunks(std::size_t n, const Action& action) {
    const unsigned hardware = sys::hardware_threads();
    if (hardware <= 1 || n < 2) {
        action(std::size_t{0}, n);
        return;
    }
    struct record_t {
        const Action& action;
        partition_t part;
        std::atomic<std::size_t> next{0};

        void work() {
            for (std::size_t i = next.fetch_add(1); i < part.chunks; i = next.fetch_add(1))
                action(part.begin_of(i), part.end_of(i));
        }
    } record{action, partition_t::of(n, hardware)};

    const auto item = sys::WorkItem::create([](void* r) { static_cast<record_t*>(r)->work(); }, &record);
    if (item == nullptr) {
        action(std::size_t{0}, n);
        return;
    }
    item->submit(static_cast<unsigned>(std::min<std::size_t>(record.part.chunks, std::size_t{4} * hardware)));
    record.work();
    item->wait();
}

/// Runs `action(object)` for each element of a vector of pointers; null ones are passed over.
template <class Pointers, class Action>
void parallel_for_each(const Pointers& objects, const Action& action) {
    parallel_for_chunks(objects.size(), [&](std::size_t begin, std::size_t end) {
        for (std::size_t i = begin; i < end; ++i)
            if (objects[i] != nullptr) action(*objects[i]);
    });
}

}  // namespace tessel
