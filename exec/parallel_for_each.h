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

/// Runs `action(i)` for the numbers below `parts`, each once, on the pool and on the calling thread, and returns when
/// all are done. With one hardware thread, fewer than two parts or no pool the calling thread does it all in order.
template <class Action>
void parallel_for_parts(std::size_t parts, const Action& action) {
    const unsigned hardware = sys::hardware_threads();
    struct record_t {
        const Action& action;
        std::size_t parts;
        std::atomic<std::size_t> next{0};

        void work() {
            for (std::size_t i = next.fetch_add(1); i < parts; i = next.fetch_add(1)) action(i);
        }
    } record{action, parts};

    const auto item = hardware <= 1 || parts < 2
                          ? nullptr
                          : sys::WorkItem::create([](void* r) { static_cast<record_t*>(r)->work(); }, &record);
    if (item == nullptr) {
        record.work();
        return;
    }
    item->submit(static_cast<unsigned>(std::min<std::size_t>(parts, std::size_t{4} * hardware)));
    record.work();
    item->wait();
}

/// Runs `action(object)` for each element of a vector of pointers, chunk by chunk; null ones are passed over.
template <class Pointers, class Action>
void parallel_for_each(const Pointers& objects, const Action& action) {
    const auto part = partition_t::of(objects.size(), sys::hardware_threads());
    parallel_for_parts(part.chunks, [&](std::size_t chunk) {
        for (std::size_t i = part.begin_of(chunk); i < part.end_of(chunk); ++i)
            if (objects[i] != nullptr) action(*objects[i]);
    });
}

}  // namespace tessel
