#include "exec/plan.h"

#include <algorithm>
#include <array>
#include <functional>
#include <type_traits>

#include "core/convert.h"
#include "exec/Exec.h"
#include "exec/Port.h"
#include "exec/lowering.h"

namespace tessel {
namespace {

using run_t = void (*)(const void* const* operands, std::size_t count, double t) noexcept;

// ---- loops over input cells

/// Operands: cell to write, cell to read.
template <class To, class From>
void run_convert(const void* const* p, std::size_t count, double) noexcept {
    for (; count != 0; --count, p += 2)
        *static_cast<To*>(const_cast<void*>(p[0])) = convert<To>(*static_cast<const From*>(p[1]));
}

/// Operand: the input port.
template <class T>
void run_pull(const void* const* p, std::size_t count, double) noexcept {
    for (; count != 0; --count, ++p) static_cast<Port<T>*>(static_cast<ExecPort*>(const_cast<void*>(*p)))->pull();
}

/// Operand: an object without a lowering.
void run_foreign(const void* const* p, std::size_t count, double t) noexcept {
    for (; count != 0; --count, ++p) {
        auto& block = *static_cast<ExecBlock*>(const_cast<void*>(*p));
        if (!block.enabled()) continue;
        block.set_time(t);
        block.sample();
        block.step();
    }
}

/// Operands: the links of a chain.
void run_chain(const void* const* p, std::size_t, double t) noexcept { detail::next_link(p, t, 0.0); }

void end_of_chain(const void* const*, double, double) noexcept {}

const void* link_operand(link_step_t step) noexcept { return reinterpret_cast<const void*>(step); }

/// Loops shorter than this are links of a chain.
constexpr std::size_t shortest_loop = 4;
/// Keeps the stack small in builds that make no tail calls.
constexpr std::size_t longest_chain = 64;

std::uint64_t address(const ExecPort* port) noexcept { return reinterpret_cast<std::uintptr_t>(port); }

constexpr std::size_t type_count = value_types::size;

template <class... T>
constexpr std::size_t position_of(type_t type, type_list<T...>) {
    std::size_t i = 0, found = 0;
    ((type_of<T> == type ? found = i++ : i++), ...);
    return found;
}

template <class To, class... From>
constexpr std::array<run_t, type_count> conversions_to(type_list<From...>) {
    return {&run_convert<To, From>...};
}
template <class... To>
constexpr std::array<std::array<run_t, type_count>, type_count> all_conversions(type_list<To...>) {
    return {conversions_to<To>(value_types{})...};
}
template <class... T>
constexpr std::array<run_t, type_count> all_pulls(type_list<T...>) {
    return {&run_pull<T>...};
}

run_t conversion(type_t to, type_t from) {
    static constexpr auto table = all_conversions(value_types{});
    return table[position_of(to, value_types{})][position_of(from, value_types{})];
}

run_t pull(type_t type) {
    static constexpr auto table = all_pulls(value_types{});
    return table[position_of(type, value_types{})];
}

}  // namespace

PlanContext::PlanContext(std::vector<planned_t> objects, const bool* always, bool outputs_in_ports)
    : objects_(std::move(objects)), always_(always), outputs_in_ports_(outputs_in_ports), owners_(objects_.size()) {
    for (std::size_t i = 0; i < objects_.size(); ++i) {
        if (objects_[i].block->lowering() == nullptr) watched_ = true;
        else if (const ExecPort* out = objects_[i].block->output(0); out != nullptr)
            owners_.add(address(out), &objects_[i]);
        if (objects_[i].gate != always_ && (i == 0 || objects_[i].gate != objects_[i - 1].gate))
            gates_.push_back(objects_[i].gate);
    }
    // an input that another object reads from is looked at as a gate is: it must be right at every moment
    for (const planned_t& object : objects_) {
        const lowering_t* lowering = object.block->lowering();
        for (std::int16_t n = 0; lowering != nullptr && n < lowering->inputs; ++n) {
            ExecPort* source = object.block->input(n)->source();
            if (source != nullptr && owners_.find(address(source)) == nullptr) gates_.push_back(source->value_ptr());
        }
    }
    std::ranges::sort(gates_);
    gates_.erase(std::unique(gates_.begin(), gates_.end()), gates_.end());

    cells_.resize(objects_.size());
    outputs_in_ports_ = outputs_in_ports_ || watched_;
    values_.resize(outputs_in_ports_ ? 0 : objects_.size());
    for (std::size_t i = 0; i < objects_.size(); ++i) {
        const lowering_t* lowering = objects_[i].block->lowering();
        if (lowering == nullptr || !lowering->has_output) continue;
        ExecPort* port = objects_[i].block->output(0);
        cells_[i] = port->value_ptr();
        // an output that serves as a flag, as it can where ids are not unique, is reset in its port
        if (outputs_in_ports_ || is_gate(cells_[i])) continue;
        std::memcpy(&values_[i], cells_[i], size_of(port->type()));
        cells_[i] = &values_[i];
    }
}

void PlanContext::store_outputs() const noexcept {
    if (outputs_in_ports_) return;
    for (std::size_t i = 0; i < objects_.size(); ++i) {
        if (cells_[i] == nullptr) continue;
        ExecPort* port = objects_[i].block->output(0);
        if (cells_[i] != port->value_ptr()) std::memcpy(port->value_ptr(), cells_[i], size_of(port->type()));
    }
}

bool PlanContext::is_gate(const void* cell) const noexcept { return std::ranges::binary_search(gates_, cell); }

std::size_t PlanContext::owner_of(const ExecPort* port) const noexcept {
    const planned_t* found = owners_.find(address(port));
    return found != nullptr ? static_cast<std::size_t>(found - objects_.data()) : nowhere;
}

bool PlanContext::keeps_sample(std::size_t from, std::size_t to) const noexcept {
    if (from >= to || is_gate(cells_[from])) return false;
    const planned_t& reader = objects_[to];
    return reader.gate == always_ || (reader.gate == objects_[from].gate && from > reader.enable_position);
}

Plan::Plan(const PlanContext& context, std::span<const std::size_t> positions) : watched_(context.watched()) {
    std::size_t most = 0;  // operands: samplers and step of every input, object, output, a link before and behind
    for (const std::size_t position : positions) {
        const lowering_t* lowering = context.objects()[position].block->lowering();
        most += lowering != nullptr ? 4 + 3 * std::size_t{lowering->inputs} : 1;
    }
    operands_.reserve(most);
    objects_.reserve(positions.size());
    settles_.reserve(positions.size());

    const auto gate_of = [&](std::size_t i) {
        const planned_t& object = context.objects()[positions[i]];
        return object.block->lowering() != nullptr ? object.gate : nullptr;
    };
    std::size_t end = 0;
    for (std::size_t begin = 0; begin < positions.size(); begin = end) {
        const bool* gate = gate_of(begin);
        do ++end;
        while (end < positions.size() && gate != nullptr && gate_of(end) == gate);
        segment_t segment{gate, 0, objects_.size(), 0, 0.0, false};
        const auto members = positions.subspan(begin, end - begin);
        const auto reordered = sinks_last(context, members);
        const std::span<const std::size_t> order = reordered.empty() ? members : reordered;
        for (std::size_t i = 0; i < order.size();) i = lower_stretch(context, order, i);
        end_chain();
        segment.op_end = ops_.size();
        segment.object_end = objects_.size();
        segments_.push_back(segment);
    }
    segments_.shrink_to_fit();
    ops_.shrink_to_fit();
}

/// The same objects, with those at the end that only take in what earlier ones put out, equal ones together: probes
/// behind every other block would take each loop apart. Nobody sees them do so later in the step. Empty where nothing
/// goes.
std::vector<std::size_t> Plan::sinks_last(const PlanContext& context, std::span<const std::size_t> positions) {
    if (context.looked_at()) return {};
    const auto lowering_of = [&context](std::size_t position) { return context.objects()[position].block->lowering(); };
    const auto can_wait = [&](std::size_t position) {
        const lowering_t* lowering = lowering_of(position);
        if (lowering == nullptr || lowering->has_output || lowering->run == nullptr) return false;
        for (std::int16_t n = 0; n < lowering->inputs; ++n) {
            ExecPort* input = context.objects()[position].block->input(n);
            if (context.is_gate(input->value_ptr())) return false;
            if (input->source() != nullptr && context.owner_of(input->source()) >= position) return false;
        }
        return true;
    };
    if (std::ranges::none_of(positions, can_wait)) return {};
    std::vector<std::size_t> order(positions.begin(), positions.end());
    const auto sinks = std::stable_partition(order.begin(), order.end(), std::not_fn(can_wait));
    std::stable_sort(sinks, order.end(),
                     [&](std::size_t a, std::size_t b) { return std::less{}(lowering_of(a), lowering_of(b)); });
    return order;
}

/// Lowers the objects from `begin` on that share a lowering and a gate, as loops over their inputs and one over their
/// steps; returns the end of the stretch. A stretch ends before an object that samples what an earlier one of it puts
/// out, since the inputs of all are sampled first.
std::size_t Plan::lower_stretch(const PlanContext& context, std::span<const std::size_t> positions, std::size_t begin) {
    const planned_t& first = context.objects()[positions[begin]];
    const lowering_t* lowering = first.block->lowering();
    if (lowering == nullptr) {
        const void* operand = first.block;
        append(&run_foreign, {&operand, 1}, 1);
        return begin + 1;
    }

    struct sampler_t {
        run_t run;
        std::array<const void*, 2> operands;
        std::size_t count;
    };
    std::vector<sampler_t> samplers;
    std::vector<const void*> steps;
    std::size_t end = begin;
    for (; end < positions.size(); ++end) {
        const std::size_t position = positions[end];
        const planned_t& object = context.objects()[position];
        if (object.block->lowering() != lowering || object.gate != first.gate) break;

        const std::size_t sampled = samplers.size(), stepped = steps.size();
        bool all_kept = true, observed = false, inside = false;
        for (std::int16_t n = 0; n < lowering->inputs; ++n) {
            ExecPort* port = object.block->input(n);
            observed = observed || context.is_gate(port->value_ptr());
            if (port->source() == nullptr) continue;
            const std::size_t owner = context.owner_of(port->source());
            all_kept = all_kept && owner != PlanContext::nowhere && context.keeps_sample(owner, position);
        }
        const bool lazy = all_kept && !observed;
        settle_t settle = lazy ? settle_t::sample : settle_t::clock;
        if (lowering->needs_object) steps.push_back(object.block);
        if (lowering->has_output) steps.push_back(context.output_cell(position));
        for (std::int16_t n = 0; n < lowering->inputs; ++n) {
            ExecPort* port = object.block->input(n);
            ExecPort* source = port->source();
            const void* cell = port->value_ptr();
            if (source != nullptr) {
                const std::size_t owner = context.owner_of(source);
                const bool foreign = owner == PlanContext::nowhere;
                const void* source_cell = foreign ? nullptr : context.output_cell(owner);
                const bool kept = lazy || (lowering->passes_through && !observed);
                if (kept && !foreign && source->type() == port->type()) {
                    cell = source_cell;
                    if (!lazy) settle = settle_t::pass_through;
                } else {
                    if (lazy && !context.watched()) cell = &converted_.emplace_back();
                    if (foreign) samplers.push_back({pull(port->type()), {port, nullptr}, 1});
                    else samplers.push_back({conversion(port->type(), source->type()), {cell, source_cell}, 2});
                    inside =
                        inside || foreign || (lowering->has_output && owner >= positions[begin] && owner < position);
                }
            }
            steps.push_back(cell);
        }
        if (inside && end != begin) {
            samplers.resize(sampled);
            steps.resize(stepped);
            break;
        }
        objects_.push_back(object.block);
        settles_.push_back(settle);
    }

    // inputs sampled by one loop each; their order does not matter, as each writes its own cell
    std::ranges::stable_sort(samplers, std::less{}, [](const sampler_t& s) { return s.run; });
    for (const sampler_t& s : samplers) append(s.run, std::span(s.operands).first(s.count), 1);
    if (lowering->run == nullptr) return end;
    if (lowering->links != nullptr && end - begin < shortest_loop) append_links(*lowering, steps);
    else append(lowering->run, steps, end - begin);
    return end;
}

/// Adds a loop, or lengthens the last one of its kind.
void Plan::append(run_t run, std::span<const void* const> operands, std::size_t objects) {
    end_chain();
    const std::size_t first_op = segments_.empty() ? 0 : segments_.back().op_end;
    if (ops_.size() > first_op && ops_.back().run == run && run != &run_chain) ops_.back().count += objects;
    else {
        ops_.push_back({run, operands_.data() + operands_.size(), objects});
    }
    operands_.insert(operands_.end(), operands.begin(), operands.end());
}

/// Adds objects with the given operands to the chain at the end.
void Plan::append_links(const lowering_t& lowering, std::span<const void* const> operands) {
    const std::size_t output = lowering.needs_object ? 1 : 0, inputs = output + 1;
    const std::size_t stride = inputs + lowering.inputs;
    for (; !operands.empty(); operands = operands.subspan(stride)) {
        if (chain_room_ == 0) {
            append(&run_chain, {}, 1);
            chain_room_ = longest_chain;
        }
        const auto own = operands.first(stride);
        const auto read = own.subspan(inputs);
        const auto last = last_output_ != nullptr ? std::ranges::find(read, last_output_) : read.end();
        const auto variant = last != read.end() ? 1 + (last - read.begin()) : 0;
        operands_.push_back(link_operand(lowering.links[variant]));
        operands_.insert(operands_.end(), own.begin(), own.end());
        last_output_ = own[output];
        if (--chain_room_ == 0) end_chain();
    }
}

void Plan::end_chain() {
    if (last_output_ == nullptr) return;
    operands_.push_back(link_operand(&end_of_chain));
    chain_room_ = 0;
    last_output_ = nullptr;
}

void Plan::step(double t) noexcept {
    const op_t* op = ops_.data();
    for (segment_t& segment : segments_) {
        const op_t* end = ops_.data() + segment.op_end;
        if (segment.gate != nullptr && !*segment.gate) {
            op = end;
            continue;
        }
        segment.last = t;
        segment.ran = true;
        for (; op != end; ++op) op->run(op->operands, op->count, t);
        if (watched_) settle_segment(segment);
    }
}

void Plan::settle() noexcept {
    for (const segment_t& segment : segments_)
        if (segment.ran) settle_segment(segment);
}

void Plan::settle_segment(const segment_t& segment) noexcept {
    for (std::size_t i = segment.object_begin; i < segment.object_end; ++i) {
        ExecBlock& block = *objects_[i];
        block.set_time(segment.last);
        if (settles_[i] == settle_t::sample) block.sample();
        else if (settles_[i] == settle_t::pass_through)
            std::memcpy(block.input(0)->value_ptr(), block.output(0)->value_ptr(), size_of(block.input(0)->type()));
    }
}

}  // namespace tessel
