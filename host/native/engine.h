// Runs a model by machine code that was made for it.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <unordered_map>
#include <vector>

#include "coder/exact/unit.h"
#include "host/native/library.h"
#include "host/native/text.h"
#include "host/session/run.h"

namespace zarn {
class Session;
}

namespace zarn::native {

/// The compiled form of a run's model. Its values are those of the other engines, to the last bit. A division that ends
/// a run's process (the lowest integer by -1) wraps here, as it does in exported code.
class Engine {
public:
    /// Compiles the model of a run that has no probes yet, or finds it in the cache. Raises `Unavailable`.
    Engine(Session& session, Run& run, Cache& cache, const std::function<bool()>& interrupted = {});

    /// Steps the run to its end, or to where the watch ends it: call it through `Run::go`. Probes record, blocks that
    /// take values for the workspace get them, and behind the run the outputs of all blocks hold theirs.
    void drive(tessel::IExecModel& exec, Watch& watch, const std::vector<signal_t>& signals);

    /// For who steps without a run: back to the start, and one step, false where no step is left.
    void begin();
    bool step() { return library_.run(structure_.data(), 1, unit_.tf) == 1; }
    std::uint64_t steps(std::uint64_t most) { return library_.run(structure_.data(), most, unit_.tf); }
    double last() const { return reinterpret_cast<const double*>(structure_.data())[1]; }
    /// Whether the machine code has a variable of the unit, and where it stands between steps.
    bool has(tessel::exact::cell_number cell) const {
        return cell != tessel::exact::no_cell && text_.places[static_cast<std::size_t>(cell)].is_known();
    }
    std::byte* value(tessel::exact::cell_number cell) {
        return structure_.data() + text_.layout.offset(text_.places[static_cast<std::size_t>(cell)]);
    }
    const tessel::exact::unit_t& unit() const { return unit_; }

    bool was_compiled() const { return library_.was_compiled(); }
    const text_t& text() const { return text_; }

private:
    /// A value to copy from the structure to a port.
    struct copy_t {
        const std::byte* from;
        void* to;
        std::size_t size;
    };
    /// An object that does something with the values of a step.
    struct consumer_t {
        tessel::ExecBlock* object;
        copy_t value;
        bool samples;  ///< its input, from the port that was copied to
    };

    std::vector<copy_t> copies_to_ports(tessel::IExecModel& exec);
    std::vector<copy_t> copies_of_flags(tessel::IExecModel& exec);
    std::vector<consumer_t> consumers_of(tessel::IExecModel& exec, const std::vector<signal_t>& signals);
    void step_one_by_one(Watch& watch, const std::vector<copy_t>& flags, const std::vector<consumer_t>& consumers);
    void step_many(Watch& watch);
    /// Of the next step.
    double& time() { return *reinterpret_cast<double*>(structure_.data()); }
    bool is_ahead_of_its_gate(std::uint64_t block) const;

    const Session& session_;
    tessel::exact::unit_t unit_;
    text_t text_;
    Library library_;
    std::unordered_map<std::uint64_t, std::size_t> places_{};  // of the objects in stepping order, by id
    std::vector<std::uint64_t> room_;                          // the structure, aligned
    std::span<std::byte> structure_;
};

}  // namespace zarn::native
