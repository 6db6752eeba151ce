// A run that its caller steps: for plants outside of the model, for tests, for learning environments.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "IExecModel.h"
#include "host/session/fault_trap.h"
#include "host/session/inputs.h"
#include "host/session/probes.h"

namespace zarn {

class Session;

/// The runnable model of a compiled session between its steps, each of which gives the values of that step of a run.
/// The session must outlive it.
class Stepped {
public:
    /// Raises `SessionError` when a block has no runnable form.
    explicit Stepped(Session& session);
    Stepped(const Stepped&) = delete;
    Stepped& operator=(const Stepped&) = delete;
    ~Stepped();

    /// Takes so many steps, fewer at the end of the time; returns how many. Raises `SessionError` where a step ends in
    /// a divide fault: there is no step after that.
    std::uint64_t step(std::uint64_t count) {
        if (broken_) throw fault_error(session_, time());
        std::uint64_t taken = 0;
        if (!FaultTrap::survives([&] { taken = stepper_->step(count); })) {
            broken_ = true;
            throw fault_error(session_, time());
        }
        return taken;
    }
    double time() const noexcept { return stepper_->time(); }
    std::uint64_t count() const noexcept { return stepper_->count(); }
    bool done() const noexcept { return stepper_->done(); }
    /// Leaves what `to_workspace` recorded in the workspace. The last call.
    void finish();

    /// The port of a signal PATH[:PORT]; `sampled` where it is an input, which `settle` brings up to date. Raises
    /// `SessionError` for a text that names none or several.
    struct signal_port_t {
        tessel::ExecPort* port;
        bool sampled;
    };
    signal_port_t signal(const std::string& text);
    void settle() noexcept { stepper_->settle(); }
    /// The cell of an input of the model.
    struct input_cell_t {
        void* cell;
        tessel::type_t type;
    };
    input_cell_t input(const std::string& text);
    const std::vector<input_t>& inputs() const { return inputs_; }

    /// Everything that later steps depend on. Raises `SessionError` where a block cannot tell its state.
    std::vector<std::byte> save();
    /// Raises `SessionError` for bytes that are not of this model.
    void restore(std::span<const std::byte> saved);

private:
    Session& session_;
    std::shared_ptr<tessel::IExecModel> exec_;
    std::unique_ptr<tessel::IStepper> stepper_;
    std::vector<input_t> inputs_;
    std::unordered_map<std::string, signal_port_t> signals_;
    std::unordered_map<std::string, input_cell_t> cells_;
    bool broken_ = false;  // by a fault
};

}  // namespace zarn
