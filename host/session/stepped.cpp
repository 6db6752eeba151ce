#include "host/session/stepped.h"

#include "core/format.h"
#include "host/session/session.h"

namespace zarn {

Stepped::Stepped(Session& session) : session_(session), exec_(session.build()), inputs_(inputs_of(session)) {
    const Session::Active active(session_);
    session_.forget_answers();
    stepper_ = exec_->start();
}

Stepped::~Stepped() = default;

void Stepped::finish() {
    const Session::Active active(session_);
    stepper_->finish();
}

Stepped::signal_port_t Stepped::signal(const std::string& text) {
    if (const auto known = signals_.find(text); known != signals_.end()) return known->second;
    const auto found = find_signals(session_.model(), {text}, "signal");
    if (found.size() != 1)
        throw SessionError(problem_t::usage, tessel::format("signal {}: {} signals are like that, the first is {}",
                                                            text, found.size(), found.front().name));
    const signal_t& signal = found.front();
    auto* object = exec_->find_block(signal.block->id());
    const signal_port_t port{signal.is_input ? object->input(signal.port) : object->output(signal.port),
                             signal.is_input};
    return signals_.emplace(text, port).first->second;
}

Stepped::input_cell_t Stepped::input(const std::string& text) {
    if (const auto known = cells_.find(text); known != cells_.end()) return known->second;
    const input_t& input = find_input(inputs_, text);
    return cells_.emplace(text, input_cell_t{cell_of(*exec_, input), input.type}).first->second;
}

std::vector<std::byte> Stepped::save() {
    auto saved = stepper_->save();
    if (saved.empty())
        throw session_.error(problem_t::model, "a block of this model does not tell its state: there is no snapshot");
    return saved;
}

void Stepped::restore(std::span<const std::byte> saved) {
    if (!stepper_->restore(saved)) throw session_.error(problem_t::usage, "the snapshot was not taken of this model");
}

}  // namespace zarn
