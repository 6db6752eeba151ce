// Recording of signals during a run.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <memory_resource>
#include <new>
#include <string>
#include <vector>

#include "ExecBlock.h"
#include "core/type.h"

namespace zarn {

/// The step that a run is at, for all its probes.
struct run_clock_t {
    std::uint64_t step = 0;                                  ///< counts up behind each step
    double time = 0.0;                                       ///< of the last step, in seconds
    std::atomic<std::int64_t> room = std::int64_t{1} << 62;  ///< bytes that recordings may still take
    std::atomic<bool> exhausted = false;                     ///< a probe found no memory: a value is missing
    std::uint64_t drain_at = ~std::uint64_t{0};              ///< behind that step recordings are handed on
};

/// A stretch of neighbouring steps.
struct stretch_t {
    std::uint64_t first;
    std::uint64_t count;
};

/// Values of a recording in one piece.
struct values_t {
    std::shared_ptr<const void> owner;
    const void* data = nullptr;
    std::uint64_t count = 0;
};

/// What was recorded of one signal: values of one type, and the steps that they belong to.
class Recording {
public:
    virtual ~Recording() = default;
    virtual tessel::type_t type() const noexcept = 0;
    std::uint64_t size() const noexcept;
    std::vector<stretch_t> stretches() const;
    /// Whether a value was recorded in each of the steps from `first` on, and before `end`.
    bool is_complete(std::uint64_t first, std::uint64_t end) const noexcept;
    /// Calls `use` with neighbouring values and their number, in the order of the steps.
    using use_t = std::function<void(const void* values, std::size_t count)>;
    virtual void for_each_piece(const use_t& use) const = 0;
    /// Makes room for so many values in one piece, ahead of the first one. Raises `std::bad_alloc`.
    virtual void expect(std::uint64_t count) = 0;
    /// Hands all values over in the order of the steps, without a copy where they lie in one piece. Steps and number
    /// stay known; the values are the caller's.
    virtual values_t take() = 0;
    /// Drops what was recorded; the steps that come are recorded as before.
    virtual void forget() noexcept = 0;

protected:
    explicit Recording(run_clock_t& clock) : clock_(&clock) {}

    /// Begins a stretch at the step that the run is at. Raises `std::bad_alloc`.
    void begin_stretch();

    std::vector<stretch_t> stretches_;  // the last one's count is still open
    // What a probe touches for every value, in one line of memory: a run with many probes would not find room for more
    // in the cache near the core.
    alignas(32) std::uint64_t expected_ = 0;  // the step that continues the last stretch
    run_clock_t* clock_;
    void* next_ = nullptr;  // where the next value goes
    void* end_ = nullptr;
};

/// Reads a recording from its begin, in the order of the steps.
class Reader {
public:
    virtual ~Reader() = default;
    /// Whether there is a value for the step; a later step than in the call before.
    virtual bool has(std::uint64_t step) noexcept = 0;
    /// Appends the next value as JSON text.
    virtual void append(std::string& text) = 0;
    /// Appends the next value as plain text, without quotes around what is not finite.
    virtual void append_plain(std::string& text) = 0;
};

/// An object of the host's own that records one output, or what a block without outputs samples. It stands behind the
/// probed block and is gated as that is.
class Probe : public tessel::ExecBlock {
public:
    virtual const Recording& recording() const noexcept = 0;
    virtual Recording& recording() noexcept = 0;
    virtual std::unique_ptr<Reader> reader() const = 0;
    virtual tessel::ExecPort& port() noexcept = 0;

    static void* operator new(std::size_t size, std::align_val_t alignment) {
        return pool().allocate(size, static_cast<std::size_t>(alignment));
    }
    static void operator delete(void* probe, std::size_t size, std::align_val_t alignment) {
        pool().deallocate(probe, size, static_cast<std::size_t>(alignment));
    }

private:
    static std::pmr::memory_resource& pool();
};

/// A probe for values of a type, which counts its steps by `clock`.
std::unique_ptr<Probe> make_probe(tessel::type_t type, run_clock_t& clock);

}  // namespace zarn
