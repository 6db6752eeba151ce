#include "host/native/engine.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <map>
#include <tuple>

#include "exec/lowering.h"
#include "host/session/session.h"

namespace zarn::native {
namespace {

using tessel::exact::cell_number;
using tessel::exact::no_cell;
using tessel::exact::role_t;

tessel::exact::unit_t unit_of(Session& session, tessel::IExecModel& exec) {
    tessel::exact::options_t how;
    how.name = "model";
    how.in_order_of_run = true;
    const Session::Active active(session);
    exec.bind();
    try {
        return tessel::exact::make_unit(session.model(), session.properties(), exec, how);
    } catch (const tessel::exact::Refusal& refusal) {
        throw Unavailable(refusal.what());
    }
}

/// The objects of a runnable model by id.
std::unordered_map<std::uint64_t, tessel::ExecBlock*> objects_of(tessel::IExecModel& exec) {
    std::unordered_map<std::uint64_t, tessel::ExecBlock*> objects;
    for (const auto& object : exec)
        if (object != nullptr) objects.try_emplace(object->id(), object.get());
    return objects;
}

template <class Copy>
void perform(const Copy& copy) noexcept {
    std::memcpy(copy.to, copy.from, copy.size);
}

}  // namespace

Engine::Engine(Session& session, Run& run, Cache& cache, const std::function<bool()>& interrupted)
    : session_(session),
      unit_(unit_of(session, run.model())),
      text_(write_text(unit_)),
      library_(text_.source, cache, find_compiler(), interrupted),
      room_(text_.layout.size() / 8 + 1),
      structure_(reinterpret_cast<std::byte*>(room_.data()), text_.layout.size()) {}

void Engine::begin() {
    std::ranges::fill(room_, 0);
    time() = unit_.ti;
    for (const initial_t& initial : text_.initial)
        std::memcpy(structure_.data() + text_.layout.offset(initial.place), &initial.bits,
                    tessel::size_of(initial.place.type));
}

std::vector<Engine::copy_t> Engine::copies_to_ports(tessel::IExecModel& exec) {
    const auto objects = objects_of(exec);
    std::vector<copy_t> copies;
    copies.reserve(unit_.ports.size());
    for (const auto& port : unit_.ports) {
        const auto found = objects.find(port.block);
        if (!has(port.cell) || found == objects.end()) continue;
        auto* to = port.is_input ? found->second->input(port.port) : found->second->output(port.port);
        if (to == nullptr || to->type() != unit_.cell(port.cell).type) continue;
        copies.push_back({value(port.cell), to->value_ptr(), tessel::size_of(to->type())});
    }
    return copies;
}

/// The flags that gate objects are the input cells of `enable` blocks.
std::vector<Engine::copy_t> Engine::copies_of_flags(tessel::IExecModel& exec) {
    const auto objects = objects_of(exec);
    std::vector<copy_t> copies;
    for (std::size_t i = 0; i < unit_.cells.size(); ++i) {
        if (unit_.cells[i].role != role_t::flag || !has(static_cast<cell_number>(i))) continue;
        const auto found = objects.find(unit_.cells[i].block);
        if (found != objects.end())
            copies.push_back({value(static_cast<cell_number>(i)), found->second->input(0)->value_ptr(), 1});
    }
    return copies;
}

/// Probes, and blocks that take a value to somewhere. One that stands ahead of the `enable` block that gates it finds
/// the flag down in every step, and never runs.
std::vector<Engine::consumer_t> Engine::consumers_of(tessel::IExecModel& exec, const std::vector<signal_t>& signals) {
    const auto objects = objects_of(exec);
    std::vector<consumer_t> consumers;
    const auto add = [&](const tessel::exact::port_t& port, tessel::ExecBlock* consumer, bool samples) {
        auto& owner = *objects.at(port.block);
        auto* to = port.is_input ? owner.input(port.port) : owner.output(port.port);
        // what the machine code does not have never changes: the port has it
        const std::byte* from = has(port.cell) ? value(port.cell) : static_cast<const std::byte*>(to->value_ptr());
        consumers.push_back(
            {consumer, {from, to->value_ptr(), has(port.cell) ? tessel::size_of(to->type()) : 0}, samples});
    };
    std::map<std::tuple<std::uint64_t, std::int16_t, bool>, tessel::ExecBlock*> probes;
    for (const signal_t& signal : signals)
        if (signal.probe != nullptr) probes[{signal.block->id(), signal.port, signal.is_input}] = signal.probe;
    for (const auto& port : unit_.ports) {
        if (port.cell == no_cell || is_ahead_of_its_gate(port.block)) continue;
        const auto probe = probes.find({port.block, port.port, port.is_input});
        if (probe != probes.end()) add(port, probe->second, true);
        if (!port.is_input) continue;
        auto* object = objects.at(port.block);
        const auto* lowering = object->lowering();
        if (lowering == nullptr || lowering->run != nullptr) add(port, object, false);
    }
    return consumers;
}

bool Engine::is_ahead_of_its_gate(std::uint64_t block) const {
    const auto place_of = [this](std::uint64_t id) {
        const auto found = places_.find(id);
        return found != places_.end() ? found->second : std::size_t{0};
    };
    const std::uint64_t gate = session_.properties().enables_of(block).second;
    return gate != 0 && place_of(block) < place_of(gate);
}

void Engine::step_one_by_one(Watch& watch, const std::vector<copy_t>& flags, const std::vector<consumer_t>& consumers) {
    for (;;) {
        const double t = time();
        if (!step()) return;
        for (const copy_t& flag : flags) perform(flag);
        for (const consumer_t& consumer : consumers) {
            perform(consumer.value);
            if (!consumer.object->enabled()) continue;
            consumer.object->set_time(t);
            if (consumer.samples) consumer.object->sample();
            consumer.object->step();
        }
        if (!watch.step_done(t)) return;
    }
}

/// Many steps at once, in stretches that are short enough for people.
void Engine::step_many(Watch& watch) {
    using steady = std::chrono::steady_clock;
    constexpr auto patience = std::chrono::milliseconds(10);
    std::uint64_t stretch = 16;
    for (;;) {
        const auto begin = steady::now();
        const std::uint64_t done = steps(stretch);
        if (done > 0 && !watch.steps_done(done, last())) return;
        if (done < stretch) return;
        if (steady::now() - begin < patience) stretch *= 2;
    }
}

void Engine::drive(tessel::IExecModel& exec, Watch& watch, const std::vector<signal_t>& signals) {
    exec.bind();
    begin();
    places_.clear();
    for (const auto& object : exec) {
        if (object == nullptr) continue;
        places_.try_emplace(object->id(), places_.size());
        object->set_time(unit_.ti);
        object->start();
    }
    const auto consumers = consumers_of(exec, signals);
    if (consumers.empty()) step_many(watch);
    else step_one_by_one(watch, copies_of_flags(exec), consumers);
    for (const copy_t& copy : copies_to_ports(exec)) perform(copy);
    for (const auto& object : exec)
        if (object != nullptr) object->finish();
}

}  // namespace zarn::native
