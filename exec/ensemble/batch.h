// A run of as many variants as a program has lanes.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "core/export.h"
#include "exec/ensemble/program.h"

namespace tessel::ensemble {

/// Hears what is watched, step by step; of members that do not depend on each other one has many steps before another.
class Listener {
public:
    virtual ~Listener() = default;
    /// A signal after a step, a value for each lane; `ran` has a byte for each, 0 where it was not computed, or is null
    /// where it was in all.
    virtual void take(std::size_t signal, std::uint64_t step, double t, const void* row, type_t type,
                      const std::uint8_t* ran) noexcept = 0;
    /// What the host feeds in a step.
    virtual double feed([[maybe_unused]] std::size_t number, [[maybe_unused]] std::uint64_t step) noexcept {
        return 0.0;
    }
};

/// When a run's steps are.
struct times_t {
    double ti = 0.0, tf = 0.0, ts = 1.0;
};

/// The memory of one batch, for one thread. The program must outlive it.
class BLOCKS_API Batch {
public:
    explicit Batch(const program_t& program);

    /// Runs `count` variants, at least one, side by side. `values` has for each varied place one value a variant.
    /// @return false when `ended` became true in the middle.
    bool run(std::span<const std::uint64_t> values, std::size_t count, const times_t& times, Listener& listener,
             const std::atomic<bool>* ended = nullptr);

    /// How each variant's run was ended by a step that has no result.
    std::span<const fault_t> faults() const noexcept { return std::span(faults_).first(frame_.lanes[0]); }

private:
    void fill(std::span<const std::uint64_t> values);
    void fill_lists(std::span<const std::uint64_t> values);
    void run_range(range_t range) noexcept;
    void feed(Listener& listener) noexcept;
    void step(const component_t& component, double t) noexcept;
    void step_segment(const segment_t& segment) noexcept;
    void tell(const tap_t& tap, double t, Listener& listener) noexcept;
    bool all_ended(std::uint64_t step) const noexcept;

    struct release_t {
        void operator()(std::byte* memory) const noexcept { ::operator delete[](memory, std::align_val_t{alignment}); }
    };

    const program_t& program_;
    std::unique_ptr<std::byte[], release_t> memory_;
    std::vector<std::vector<double>> list_values_;  // of those that vary, lane by lane
    std::vector<list_rows_t> lists_;
    std::vector<fault_t> faults_;
    frame_t frame_{};
    bool filled_ = false;
};

}  // namespace tessel::ensemble
