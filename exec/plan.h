// The plan of a run: the step loop without objects.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "ExecBlock.h"
#include "core/id_index.h"

namespace tessel {

/// One object of a run with the flag that gates it and where the `enable` block of that flag stands in the order.
struct planned_t {
    ExecBlock* block;
    const bool* gate;
    std::size_t enable_position;
};

/// What plans need to know of the whole run: the objects in stepping order and whose output a port is.
class PlanContext {
public:
    /// `always` is the flag of objects that nothing gates. The objects must be wired.
    PlanContext(std::vector<planned_t> objects, const bool* always);
    PlanContext(const PlanContext&) = delete;
    PlanContext& operator=(const PlanContext&) = delete;

    const std::vector<planned_t>& objects() const noexcept { return objects_; }
    /// Whether an object without a lowering takes part: it may look at any cell when its turn comes.
    bool watched() const noexcept { return watched_; }
    /// Whether the cell at that address is a flag that gates an object.
    bool is_gate(const void* cell) const noexcept;
    /// The position of the lowered object with that output port; `nowhere` for a foreign port.
    std::size_t owner_of(const ExecPort* port) const noexcept;
    /// Whether the output of the object at `from` is, after any step in which the one at `to` ran, still the value
    /// that the latter sampled: both run in the same steps, in this order.
    bool keeps_sample(std::size_t from, std::size_t to) const noexcept;

    static constexpr std::size_t nowhere = static_cast<std::size_t>(-1);

private:
    std::vector<planned_t> objects_;
    const bool* always_;
    bool watched_ = false;
    IdIndex<const planned_t> owners_;  // by the address of the output port
    std::vector<const void*> gates_;   // sorted
};

/// A sequence of objects lowered to loops over cells. Values, states and times are those of calling the objects one by
/// one; input cells and clocks of objects that nobody watches are brought up to date by `settle`.
class Plan {
public:
    /// Lowers the objects at the given positions of the context's order, which are ascending. Holds no reference to
    /// the context.
    Plan(const PlanContext& context, std::span<const std::size_t> positions);
    Plan(Plan&&) = default;
    Plan& operator=(Plan&&) = default;

    /// Does what `enabled`, `set_time`, `sample` and `step` of every object do, in order.
    void step(double t) noexcept;
    /// Writes what `step` left out of the cells that a host can look at.
    void settle() noexcept;

private:
    using run_t = void (*)(const void* const* operands, std::size_t count, double t) noexcept;
    /// A loop over `count` objects.
    struct op_t {
        run_t run;
        const void* const* operands;  // the first in operands_
        std::size_t count;
    };
    /// Neighbours with one gate.
    struct segment_t {
        const bool* gate;
        std::size_t op_end;
        std::size_t object_begin;
        std::size_t object_end;
        double last;  // time of the last step that ran it
        bool ran;
    };
    enum class settle_t : std::uint8_t { clock, sample, pass_through };
    struct object_t {
        ExecBlock* block;
        settle_t settle;
    };

    std::size_t lower_stretch(const PlanContext& context, std::span<const std::size_t> positions, std::size_t begin);
    void append(run_t run, std::span<const void* const> operands, std::size_t objects);
    void settle_segment(const segment_t& segment) noexcept;

    std::vector<segment_t> segments_;
    std::vector<op_t> ops_;
    std::vector<const void*> operands_;
    std::vector<std::size_t> offsets_;  // of each loop's operands, while they can still move
    std::vector<object_t> objects_;
    bool watched_;
};

}  // namespace tessel
