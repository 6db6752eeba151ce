// The runnable model.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <unordered_set>
#include <vector>

#include "IExecModel.h"
#include "PropertiesModel.h"
#include "core/export.h"
#include "core/id_index.h"
#include "core/large_array.h"

namespace tessel {

class PlanContext;
class Stepper;

/// Implements `IExecModel`. Null entries of `blocks` (a block without a runnable form) and links with an end that does
/// not exist are passed over.
class BLOCKS_API ExecModel final : public IExecModel {
public:
    ExecModel();
    ~ExecModel() override;

    void clear() noexcept override;
    void set_properties(std::shared_ptr<PropertiesModel> properties) noexcept override;
    void add_block(std::unique_ptr<ExecBlock>& block) override;
    ExecBlock* find_block(std::uint64_t id) const noexcept override;
    iterator begin() noexcept override { return blocks.begin(); }
    iterator end() noexcept override { return blocks.end(); }
    result_t run() noexcept override;

    void bind() override;
    void set_monitor(RunMonitor* monitor) noexcept override { monitor_ = monitor; }
    void set_engine(engine_t engine) noexcept override { engine_ = engine; }
    void attach(std::vector<attachment_t> attachments) override;
    std::unique_ptr<IStepper> start() override;

    /// Lets the next run take the parallel path whatever the model's size, with every zone shared that can be: for who
    /// compares the paths of a run.
    void share_next_run() noexcept { share_all_ = true; }
    /// Places in `blocks` in the order in which a run steps them. Before the first run, which overwrites the zones.
    std::vector<std::uint32_t> stepping_order() const;

    /// A run's path is the parallel one from this many objects on, when at least `wide_zones` zones hold more than
    /// `wide_zone` objects each.
    static constexpr std::size_t parallel_objects = 8096;
    static constexpr std::size_t wide_zones = 32;
    static constexpr std::size_t wide_zone = 1024;

    std::vector<std::unique_ptr<ExecBlock>> blocks;
    std::unordered_set<ExecBlock*> enable_blocks;  // those that gate an object; filled by run
    std::shared_ptr<PropertiesModel> properties;

private:
    friend class Stepper;

    /// The flags that gate objects, which are reset ahead of each step.
    std::vector<bool*> flags() const;
    /// The loop over time of a run: resets the flags and calls `step(t)`.
    template <class Step>
    void run_steps(double ti, double tf, double ts, const Step& step);
    /// The same zone by zone; `step_share(zone, share, t)` is called on several threads at once for the shares of one.
    template <class Zones, class Share>
    void run_zones(const Zones& zones, unsigned threads, double ti, double tf, double ts, const Share& step_share);
    /// The objects in stepping order: that of the list, or that of the given places in it. Once in a run: the list of
    /// gates is in it then. `looked_at`: somebody reads cells between steps.
    PlanContext plan_context(std::span<const std::uint32_t> order, bool looked_at);
    bool is_looked_at() const noexcept { return monitor_ != nullptr && monitor_->looks_at_cells(); }
    /// The zones in which an object reads what another of the same zone puts out, as a memory block fed by a source
    /// does, or is gated by one: their objects take their turns in the order of the list, on one thread, so that a run
    /// gives the same values on any number of threads. Before the first `set_time`, once wired.
    std::unordered_set<std::int32_t> ordered_zones() const;

    void wire(const IdIndex<ExecBlock>& index);
    void set_enables(const IdIndex<ExecBlock>& index);
    /// Whether enough zones are wide enough for the parallel run.
    bool is_wide() const;
    void run_serial(double ti, double tf, double ts);
    void run_parallel(double ti, double tf, double ts);

    RunMonitor* monitor_ = nullptr;
    engine_t engine_ = engine_t::plan;
    bool share_all_ = false;
    std::vector<ExecBlock*> enables_;   // those of enable_blocks, in the order of what they gate
    large_array<std::uint32_t> gates_;  // of each entry of `blocks`: 1 + which of them gates it, 0 for none
};

}  // namespace tessel
