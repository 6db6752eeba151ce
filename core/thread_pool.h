// A pool of worker threads for statically partitioned loops.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>

#include "core/export.h"

namespace tessel::sys {

/// Count of hardware threads, at least 1.
BLOCKS_API unsigned hardware_threads() noexcept;

/// Lets `hardware_threads` answer `count`, for tests and for users who want fewer; 0 restores the machine's own.
BLOCKS_API void set_hardware_threads(unsigned count) noexcept;

/// A callback with its context that pool threads run as often as it was submitted.
class BLOCKS_API WorkItem {
public:
    /// Empty when the pool has no thread to offer.
    static std::unique_ptr<WorkItem> create(void (*callback)(void*), void* context) noexcept;
    WorkItem(const WorkItem&) = delete;
    WorkItem& operator=(const WorkItem&) = delete;
    ~WorkItem();

    /// Asks for `times` runs of the callback on pool threads.
    void submit(unsigned times) noexcept;
    /// Takes back the runs that have not started and waits for those that have.
    void wait() noexcept;

private:
    WorkItem(void (*callback)(void*), void* context) noexcept;
    struct impl_t;
    impl_t* impl_;
};

}  // namespace tessel::sys
