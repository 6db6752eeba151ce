// The plan of a run: the step loop without objects.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <limits>
#include <span>
#include <vector>

#include "ExecBlock.h"
#include "core/large_array.h"
#include "exec/PortIndex.h"
#include "exec/lowering.h"

namespace tessel {

/// The place of an object in stepping order.
using position_t = std::uint32_t;

/// A flag that gates objects, and where the `enable` block of that flag stands in the order.
struct gate_t {
    const bool* flag;
    position_t enable_position;
};

/// What a run knows of the lowering of an object.
enum class role_t : std::uint8_t {
    foreign,   ///< there is none
    computes,  ///< it has an output
    takes_in,  ///< it has none, and a `run`
    holds,     ///< neither
};

/// What is left out of an object's cells during a run that nobody watches.
enum class settle_t : std::uint8_t { clock, sample, pass_through };

/// One object of a run, with what the many passes over all of them need to know.
struct planned_t {
    ExecBlock* block;
    std::uint32_t gate;  // which of the gates of the context
    std::uint8_t inputs = 0;
    role_t role = role_t::foreign;
    settle_t settle = settle_t::clock;
};

/// What plans need to know of the whole run: the objects in stepping order, whose output a port is, and where the
/// outputs' values are. In a run that nobody watches they are in one array in stepping order, a few bytes apart, and
/// not in their ports, which are spread over the objects.
///
/// Use: construct, make the plans, `plans_made`, step them, `store_outputs`.
class PlanContext {
public:
    /// The first gate is that of objects that nothing gates. The objects must be wired and started, and nothing be
    /// sampled before the plans are made. `outputs_in_ports`: somebody reads them there between steps.
    PlanContext(large_array<planned_t> objects, std::vector<gate_t> gates, bool outputs_in_ports);
    ~PlanContext();
    PlanContext(const PlanContext&) = delete;
    PlanContext& operator=(const PlanContext&) = delete;

    const large_array<planned_t>& objects() const noexcept { return objects_; }
    const bool* flag_of(const planned_t& object) const noexcept { return gates_[object.gate].flag; }
    /// Whether an object without a lowering takes part: it may look at any cell when its turn comes.
    bool watched() const noexcept { return watched_; }
    /// Whether anybody can look at what the objects do in the middle of a step or between two.
    bool looked_at() const noexcept { return outputs_in_ports_; }
    /// Whether the cell at that address is a flag that gates an object.
    bool is_gate(const void* cell) const noexcept;
    /// The position of the lowered object with that output port; `nowhere` for a foreign port. While plans are made.
    position_t owner_of(const ExecPort& port) const noexcept;
    /// Whether the output of the object at `from` is, after any step in which the one at `to` ran, still the value
    /// that the latter sampled: both run in the same steps, in this order.
    bool keeps_sample(position_t from, position_t to) const noexcept;
    /// Where the output of the object at `position`, which computes, is during the run.
    void* output_cell(position_t position) noexcept;
    void set_settle(position_t position, settle_t settle) noexcept { objects_[position].settle = settle; }

    /// Ends the search for owners and brings the outputs to where they are during the run. Before the first step.
    void plans_made() noexcept;
    /// Writes the outputs into their ports: at the end of a run.
    void store_outputs() noexcept;

    static constexpr position_t nowhere = std::numeric_limits<position_t>::max();

private:
    bool is_in_port(position_t position) const noexcept;
    void make_foreign(planned_t& object);

    large_array<planned_t> objects_;
    std::vector<gate_t> gates_;
    bool planning_ = true;
    bool watched_ = false;
    bool outputs_in_ports_;
    PortIndex<planned_t> owners_;           // by output port
    std::vector<const void*> gate_cells_;   // sorted
    std::vector<position_t> gate_outputs_;  // of those the outputs; sorted
    large_array<std::uint64_t> values_;     // of the outputs, by position
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
    /// Lowers all objects of the context, which must outlive the plan.
    explicit Plan(PlanContext& context);
    /// Lowers those at the given positions, which are ascending; the list must outlive the plan as well. No object is
    /// in two plans.
    Plan(PlanContext& context, std::span<const position_t> positions);
    Plan(Plan&&) = default;
    Plan& operator=(Plan&&) = default;

    /// Does what `enabled`, `set_time`, `sample` and `step` of every object do, in order.
    void step(double t) noexcept;
    /// Writes what `step` left out of the cells that a host can look at.
    void settle() noexcept;
    /// The cells hold what a host has put there: nothing is left to settle until a step.
    void cells_written() noexcept;

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
        const bool* gate;  // null where the object asks itself
        std::size_t op_end;
        position_t object_begin;  // of those to settle, in the sequence
        position_t object_end;
        double last;  // time of the last step that ran it
        bool ran;
    };

    void lower(PlanContext& context, std::size_t count);
    static void put_sinks_last(const PlanContext& context, std::span<position_t> order);
    struct sampler_t;
    /// Inputs to sample and operands of one stretch; kept for the next, since memory that is handed back and taken
    /// again has to be touched anew.
    struct stretch_t;
    std::size_t lower_stretch(PlanContext& context, std::span<const position_t> order, std::size_t begin,
                              stretch_t& stretch);
    void append(run_t run, std::span<const void* const> operands, std::size_t objects);
    void append_links(const lowering_t& lowering, std::span<const void* const> operands);
    void end_chain();
    void settle_segment(const segment_t& segment) noexcept;
    /// The position of an object of the sequence.
    position_t position_of(std::size_t i) const noexcept {
        return positions_ != nullptr ? positions_[i] : static_cast<position_t>(i);
    }

    const PlanContext* context_;
    const position_t* positions_ = nullptr;  // null for all objects of the context
    std::vector<segment_t> segments_;
    std::vector<op_t> ops_;
    large_array<const void*> operands_;    // never grows beyond what is reserved: the loops point into it
    std::deque<std::uint64_t> converted_;  // cells of inputs whose source has another type
    std::size_t chain_room_ = 0;           // links that the chain at the end can still take
    const void* last_output_ = nullptr;    // of the chain at the end
    bool watched_;
};

}  // namespace tessel
