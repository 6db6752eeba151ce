// Threads that go through the zones of a step together.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "core/thread_pool.h"

namespace tessel {

/// The calling thread and workers of the pool, which do the parts of one phase after another. The same worker takes
/// the same part of every phase as long as it comes in time, so that what a part reads from earlier phases is in that
/// worker's cache; a part whose worker is late is done by whoever is free. No lock and no call of the system lies
/// between two phases that follow each other.
class Team {
public:
    /// `part(context, i)` does part i of the phase at hand, and does not throw. Without workers the caller does all.
    Team(std::size_t parts, void (*part)(void* context, std::size_t i), void* context);
    Team(const Team&) = delete;
    Team& operator=(const Team&) = delete;
    ~Team();

    /// Does all parts of a phase, each once. What was written before is seen by every part, and what they write by
    /// the caller.
    void run_phase() noexcept;

private:
    /// The last phase in which a part was taken, on a line of memory of its own.
    struct alignas(64) claim_t {
        std::atomic<std::uint64_t> phase{0};
    };
    static constexpr std::uint64_t over = ~std::uint64_t{0};

    void take_parts(std::uint64_t phase, std::size_t first) noexcept;
    void follow() noexcept;

    void (*part_)(void*, std::size_t);
    void* context_;
    std::vector<claim_t> claims_;
    alignas(64) std::atomic<std::uint64_t> phase_{0};
    alignas(64) std::atomic<std::size_t> done_{0};  // parts of the phase at hand
    std::atomic<std::size_t> followers_{0};
    std::unique_ptr<sys::WorkItem> item_;
};

}  // namespace tessel
