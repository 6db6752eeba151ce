// The plan of a run: the step loop without objects.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <span>
#include <vector>

#include "ExecBlock.h"
#include "core/id_index.h"
#include "exec/lowering.h"

namespace tessel {

/// One object of a run with the flag that gates it and where the `enable` block of that flag stands in the order.
struct planned_t {
    ExecBlock* block;
    const bool* gate;
    std::size_t enable_position;
};

/// What plans need to know of the whole run: the objects in stepping order, whose output a port is, and where the
/// outputs' values are. In a run that nobody watches they are in one array in stepping order, a few bytes apart, and
/// not in their ports, which are spread over the objects.
class PlanContext {
public:
    /// `always` is the flag of objects that nothing gates. The objects must be wired and started.
    /// `outputs_in_ports`: somebody reads them there between steps.
    PlanContext(std::vector<planned_t> objects, const bool* always, bool outputs_in_ports);
    PlanContext(const PlanContext&) = delete;
    PlanContext& operator=(const PlanContext&) = delete;

    const std::vector<planned_t>& objects() const noexcept { return objects_; }
    /// Whether an object without a lowering takes part: it may look at any cell when its turn comes.
    bool watched() const noexcept { return watched_; }
    /// Whether anybody can look at what the objects do in the middle of a step or between two.
    bool looked_at() const noexcept { return outputs_in_ports_; }
    /// Whether the cell at that address is a flag that gates an object.
    bool is_gate(const void* cell) const noexcept;
    /// The position of the lowered object with that output port; `nowhere` for a foreign port.
    std::size_t owner_of(const ExecPort* port) const noexcept;
    /// Whether the output of the object at `from` is, after any step in which the one at `to` ran, still the value
    /// that the latter sampled: both run in the same steps, in this order.
    bool keeps_sample(std::size_t from, std::size_t to) const noexcept;

    /// Where the output of the lowered object at `position` is during the run; null when it has none.
    void* output_cell(std::size_t position) const noexcept { return cells_[position]; }
    /// Writes the outputs into their ports: at the end of a run.
    void store_outputs() const noexcept;

    static constexpr std::size_t nowhere = static_cast<std::size_t>(-1);

private:
    std::vector<planned_t> objects_;
    const bool* always_;
    bool watched_ = false;
    bool outputs_in_ports_;
    IdIndex<const planned_t> owners_;  // by the address of the output port
    std::vector<const void*> gates_;   // sorted
    std::vector<void*> cells_;         // of the outputs, by position
    std::vector<std::uint64_t> values_;
};

/// A sequence of objects lowered to loops over cells. Values, states and times are those of calling the objects one by
/// one; cells and clocks of objects that nobody watches are brought up to date by `store_outputs` of the context and
/// then `settle`.
///
/// Equal neighbours are one loop. Single objects that compute flt64 from flt64 are links of a chain: each hands its
/// output to the next in a register and jumps there, so that neither the way through memory nor a call is between two
/// blocks that follow each other.
class Plan {
public:
    /// Lowers the objects at the given positions of the context's order, which are ascending. The context must
    /// outlive the plan.
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

    static std::vector<std::size_t> sinks_last(const PlanContext& context, std::span<const std::size_t> positions);
    std::size_t lower_stretch(const PlanContext& context, std::span<const std::size_t> positions, std::size_t begin);
    void append(run_t run, std::span<const void* const> operands, std::size_t objects);
    void append_links(const lowering_t& lowering, std::span<const void* const> operands);
    void end_chain();
    void settle_segment(const segment_t& segment) noexcept;

    std::vector<segment_t> segments_;
    std::vector<op_t> ops_;
    std::vector<const void*> operands_;  // never grows beyond what is reserved: the loops point into it
    std::vector<ExecBlock*> objects_;
    std::vector<settle_t> settles_;        // of the objects
    std::deque<std::uint64_t> converted_;  // cells of inputs whose source has another type
    std::size_t chain_room_ = 0;           // links that the chain at the end can still take
    const void* last_output_ = nullptr;    // of the chain at the end
    bool watched_;
};

}  // namespace tessel
