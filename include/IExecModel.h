// A runnable model.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "ExecBlock.h"
#include "core/export.h"
#include "core/result.h"

namespace tessel {

class PropertiesModel;

/// What a host can watch and end of a run.
class RunMonitor {
public:
    virtual ~RunMonitor() = default;
    /// Called on the caller's thread after each time step; false ends the run as if "tf" had been passed. Input cells
    /// are up to date at the end of a run; who wants to look at them in between adds an object to the model.
    virtual bool step_done(double t) noexcept = 0;
    /// Whether `step_done` reads output cells or writes input cells. A run that nobody looks into is faster; its cells
    /// are up to date at its end.
    virtual bool looks_at_cells() const noexcept { return true; }
};

/// How a run steps its objects: by their virtual operations, or by a plan made of their lowerings. Nobody can tell the
/// two apart by any value.
enum class engine_t { objects, plan };

/// An object of the host's own and the id of the one that it follows, 0 for all of them.
struct attachment_t {
    std::uint64_t behind = 0;
    std::unique_ptr<ExecBlock> block;
};

/// A run in the hands of its caller, who reads and writes cells between steps. A step gives the values of the same step
/// of `IExecModel::run`. The model must outlive it, unchanged, and is neither run nor started again meanwhile.
class IStepper {
public:
    virtual ~IStepper() = default;
    /// Takes so many steps, fewer where "tf" is passed or the monitor ends the run. Returns how many.
    virtual std::uint64_t step(std::uint64_t count) noexcept = 0;
    /// The time of the next step, in seconds.
    virtual double time() const noexcept = 0;
    /// How many steps lie behind.
    virtual std::uint64_t count() const noexcept = 0;
    /// Whether there is no step to come.
    virtual bool done() const noexcept = 0;
    /// Brings the cells of inputs up to date; those of outputs always are.
    virtual void settle() noexcept = 0;
    /// Ends the run as `run` does at its end. The last call.
    virtual void finish() noexcept = 0;
    /// Everything that later steps depend on: the time, the cells of all ports, the states of the objects. Empty where
    /// an object does not tell its state. What `to_workspace` has recorded is not among it.
    virtual std::vector<std::byte> save() = 0;
    /// Goes to where `save` was called, on these objects or on those of the same model in another process. False, with
    /// nothing changed, for bytes that are not of this model.
    virtual bool restore(std::span<const std::byte> saved) noexcept = 0;
};

/// Typed runnable objects in stepping order. Call order: `set_properties` and `add_block` (both done by
/// `IMetaModel::build_exec`), then `run` any number of times.
class IExecModel {
public:
    using iterator = std::vector<std::unique_ptr<ExecBlock>>::iterator;

    virtual ~IExecModel() = default;
    /// Destroys all runnable objects; the properties stay.
    virtual void clear() noexcept = 0;
    virtual void set_properties(std::shared_ptr<PropertiesModel> properties) noexcept = 0;
    virtual void add_block(std::unique_ptr<ExecBlock>& block) = 0;
    /// First object with that id, or null.
    virtual ExecBlock* find_block(std::uint64_t id) const noexcept = 0;
    virtual iterator begin() noexcept = 0;
    virtual iterator end() noexcept = 0;
    /// Steps every object from "ti" while "tf" is not passed, "ts" seconds apart, on the caller's thread or, for very
    /// large models, on the pool. Ends the process when an object's id is missing in the enable map.
    /// @return result_ok, always.
    virtual result_t run() noexcept = 0;
    /// Wires the inputs and hands out the flags: what a run does first. An operation from here on does nothing in a
    /// model of the host's that does not know it.
    virtual void bind() {}
    /// The monitor of later runs, null for none. It must outlive them.
    virtual void set_monitor(RunMonitor* monitor) noexcept { static_cast<void>(monitor); }
    /// How later runs step their objects; by a plan unless this was called.
    virtual void set_engine(engine_t engine) noexcept { static_cast<void>(engine); }
    /// Puts objects directly behind those that they follow, in the order given, each with an id of its own and gated as
    /// the other is; one that follows all is never gated. Of objects with one id the first is meant, and with no such
    /// object the attachment is destroyed. Steps them behind those on every path of a run.
    virtual void attach(std::vector<attachment_t> attachments) { static_cast<void>(attachments); }
    /// Does what `run` does ahead of its first step, and leaves the steps to the caller.
    virtual std::unique_ptr<IStepper> start() { return nullptr; }
};

/// A runnable model without objects and without properties.
BLOCKS_API std::shared_ptr<IExecModel> create_empty_exec_model();

}  // namespace tessel
