#include "exec/plan.h"

#include <algorithm>
#include <array>
#include <functional>
#include <limits>
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

role_t role_of(const lowering_t* lowering) noexcept {
    if (lowering == nullptr) return role_t::foreign;
    if (lowering->has_output) return role_t::computes;
    return lowering->run != nullptr ? role_t::takes_in : role_t::holds;
}

}  // namespace

PlanContext::PlanContext(large_array<planned_t> objects, std::vector<gate_t> gates, bool outputs_in_ports)
    : objects_(std::move(objects)), gates_(std::move(gates)), outputs_in_ports_(outputs_in_ports), owners_(objects_) {
    for (planned_t& object : objects_) {
        const lowering_t* lowering = object.block->lowering();
        object.role = role_of(lowering);
        object.inputs = lowering != nullptr ? lowering->inputs : std::uint8_t{0};
        if (object.role == role_t::computes) owners_.add(*object.block->output(0), object);
    }
    for (std::size_t i = 1; i < gates_.size(); ++i) gate_cells_.push_back(gates_[i].flag);
    for (planned_t& object : objects_) {
        for (std::int16_t n = 0; n < object.inputs; ++n) {
            ExecPort* source = object.block->input(n)->source();
            if (source == nullptr || owners_.find(*source) != nullptr) continue;
            // an input that another object reads from is looked at as a gate is: it must be right at every moment
            gate_cells_.push_back(source->value_ptr());
            // a port of a host's class may look at any cell when it is asked for its value
            if (source->source_place() == nullptr) make_foreign(object);
        }
        if (object.role == role_t::foreign) watched_ = true;
    }
    std::ranges::sort(gate_cells_);
    gate_cells_.erase(std::unique(gate_cells_.begin(), gate_cells_.end()), gate_cells_.end());
    for (position_t i = 0; !gate_cells_.empty() && i < objects_.size(); ++i)
        if (objects_[i].role == role_t::computes && is_gate(objects_[i].block->output(0)->value_ptr()))
            gate_outputs_.push_back(i);

    outputs_in_ports_ = outputs_in_ports_ || watched_;
    values_.resize(outputs_in_ports_ ? 0 : objects_.size());
}

/// Lets an object be stepped by its own operations; its output is then sampled through the port.
void PlanContext::make_foreign(planned_t& object) {
    if (object.role == role_t::computes) owners_.remove(*object.block->output(0));
    object.role = role_t::foreign;
}

PlanContext::~PlanContext() {
    if (planning_) plans_made();
}

bool PlanContext::is_gate(const void* cell) const noexcept { return std::ranges::binary_search(gate_cells_, cell); }

position_t PlanContext::owner_of(const ExecPort& port) const noexcept {
    const planned_t* found = owners_.find(port);
    return found != nullptr ? static_cast<position_t>(found - objects_.data()) : nowhere;
}

bool PlanContext::keeps_sample(position_t from, position_t to) const noexcept {
    if (from >= to || std::ranges::binary_search(gate_outputs_, from)) return false;
    const std::uint32_t gate = objects_[to].gate;
    return gate == 0 || (gate == objects_[from].gate && from > gates_[gate].enable_position);
}

/// An output that serves as a flag, as it can where ids are not unique, is reset in its port.
bool PlanContext::is_in_port(position_t position) const noexcept {
    return outputs_in_ports_ || std::ranges::binary_search(gate_outputs_, position);
}

void* PlanContext::output_cell(position_t position) noexcept {
    if (is_in_port(position)) return objects_[position].block->output(0)->value_ptr();
    return &values_[position];
}

void PlanContext::plans_made() noexcept {
    for (position_t i = 0; i < objects_.size(); ++i) {
        if (objects_[i].role != role_t::computes) continue;
        ExecPort& port = *objects_[i].block->output(0);
        owners_.remove(port);
        if (!is_in_port(i)) std::memcpy(&values_[i], port.value_ptr(), size_of(port.type()));
    }
    planning_ = false;
}

void PlanContext::store_outputs() noexcept {
    if (outputs_in_ports_) return;
    for (position_t i = 0; i < objects_.size(); ++i) {
        if (objects_[i].role != role_t::computes || is_in_port(i)) continue;
        ExecPort& port = *objects_[i].block->output(0);
        std::memcpy(port.value_ptr(), &values_[i], size_of(port.type()));
    }
}

Plan::Plan(PlanContext& context) : context_(&context), watched_(context.watched()) {
    lower(context, context.objects().size());
}

Plan::Plan(PlanContext& context, std::span<const position_t> positions)
    : context_(&context), positions_(positions.data()), watched_(context.watched()) {
    lower(context, positions.size());
}

/// A loop over inputs: the cell to write and that to read, or the port to pull.
struct Plan::sampler_t {
    run_t run;
    std::array<const void*, 2> operands;
    std::size_t count;
};

struct Plan::stretch_t {
    large_array<sampler_t> samplers;
    large_array<const void*> steps;
};

void Plan::lower(PlanContext& context, std::size_t count) {
    const auto object_at = [&](std::size_t i) -> const planned_t& { return context.objects()[position_of(i)]; };
    std::size_t most = 0;  // operands: samplers and step of every input, object, output, a link before and behind
    for (std::size_t i = 0; i < count; ++i) {
        const planned_t& object = object_at(i);
        most += object.role != role_t::foreign ? 4 + 3 * std::size_t{object.inputs} : 1;
    }
    operands_.reserve(most);

    large_array<position_t> order;
    stretch_t stretch;
    std::size_t end = 0;
    for (std::size_t begin = 0; begin < count; begin = end) {
        const planned_t& first = object_at(begin);
        const bool foreign = first.role == role_t::foreign;
        const auto goes_along = [&](const planned_t& object) {
            return !foreign && object.role != role_t::foreign && object.gate == first.gate;
        };
        do ++end;
        while (end < count && goes_along(object_at(end)));
        order.resize(end - begin);
        for (std::size_t i = begin; i < end; ++i) order[i - begin] = position_of(i);
        put_sinks_last(context, order);
        for (std::size_t i = 0; i < order.size();) i = lower_stretch(context, order, i, stretch);
        end_chain();
        segments_.push_back({foreign ? nullptr : context.flag_of(first), ops_.size(), static_cast<position_t>(begin),
                             static_cast<position_t>(foreign ? begin : end), 0.0, false});
    }
    segments_.shrink_to_fit();
    ops_.shrink_to_fit();
}

/// Puts those that only take in what earlier ones put out at the end, equal ones together: probes behind every other
/// block would take each loop apart. Nobody sees them do so later in the step.
void Plan::put_sinks_last(const PlanContext& context, std::span<position_t> order) {
    if (context.looked_at()) return;
    const auto can_wait = [&](position_t position) {
        const planned_t& object = context.objects()[position];
        if (object.role != role_t::takes_in) return false;
        for (std::int16_t n = 0; n < object.inputs; ++n) {
            ExecPort* input = object.block->input(n);
            if (context.is_gate(input->value_ptr())) return false;
            if (input->source() != nullptr && context.owner_of(*input->source()) >= position) return false;
        }
        return true;
    };
    if (std::ranges::none_of(order, can_wait)) return;
    const auto sinks = std::stable_partition(order.begin(), order.end(), std::not_fn(can_wait));
    const auto lowering_of = [&context](position_t position) { return context.objects()[position].block->lowering(); };
    std::stable_sort(sinks, order.end(),
                     [&](position_t a, position_t b) { return std::less{}(lowering_of(a), lowering_of(b)); });
}

/// Lowers the objects from `begin` on that share a lowering, as loops over their inputs and one over their steps;
/// returns the end of the stretch. A stretch ends before an object that samples what an earlier one of it puts out,
/// since the inputs of all are sampled first.
std::size_t Plan::lower_stretch(PlanContext& context, std::span<const position_t> order, std::size_t begin,
                                stretch_t& stretch) {
    const planned_t& first = context.objects()[order[begin]];
    const lowering_t* lowering = first.block->lowering();
    if (first.role == role_t::foreign) {
        const void* operand = first.block;
        append(&run_foreign, {&operand, 1}, 1);
        return begin + 1;
    }

    struct input_t {
        ExecPort* port;
        void* cell;
        ExecPort* source;
        position_t owner;
    };
    std::array<input_t, std::numeric_limits<std::uint8_t>::max()> all_inputs;
    const auto inputs = std::span(all_inputs).first(lowering->inputs);
    auto& [samplers, steps] = stretch;
    samplers.clear();
    steps.clear();
    bool any_foreign = false;
    std::size_t end = begin;
    for (; end < order.size(); ++end) {
        const position_t position = order[end];
        ExecBlock* const block = context.objects()[position].block;
        if (block->lowering() != lowering) break;

        bool all_kept = true, observed = false, inside = false;
        for (std::size_t n = 0; n < inputs.size(); ++n) {
            ExecPort* port = block->input(static_cast<std::int16_t>(n));
            ExecPort* source = port->source();
            inputs[n] = {port, port->value_ptr(), source, PlanContext::nowhere};
            observed = observed || context.is_gate(inputs[n].cell);
            if (source == nullptr) continue;
            const position_t owner = inputs[n].owner = context.owner_of(*source);
            all_kept = all_kept && owner != PlanContext::nowhere && context.keeps_sample(owner, position);
        }
        const std::size_t sampled = samplers.size(), stepped = steps.size();
        const bool lazy = all_kept && !observed;
        settle_t settle = lazy ? settle_t::sample : settle_t::clock;
        if (lowering->needs_object) steps.push_back(block);
        if (lowering->has_output) steps.push_back(context.output_cell(position));
        for (const input_t& input : inputs) {
            const void* cell = input.cell;
            if (input.source != nullptr) {
                const type_t type = input.port->type(), source_type = input.source->type();
                const bool foreign = input.owner == PlanContext::nowhere;
                any_foreign = any_foreign || (foreign && end == begin);  // others end the stretch
                const void* source_cell = foreign ? nullptr : context.output_cell(input.owner);
                const bool kept = lazy || (lowering->passes_through && !observed);
                if (kept && !foreign && source_type == type) {
                    cell = source_cell;
                    if (!lazy) settle = settle_t::pass_through;
                } else {
                    if (lazy && !watched_) cell = &converted_.emplace_back();
                    if (foreign) samplers.push_back({pull(type), {input.port, nullptr}, 1});
                    else samplers.push_back({conversion(type, source_type), {cell, source_cell}, 2});
                    inside = inside || foreign ||
                             (lowering->has_output && input.owner >= order[begin] && input.owner < position);
                }
            }
            steps.push_back(cell);
        }
        if (inside && end != begin) {
            samplers.resize(sampled);
            steps.resize(stepped);
            break;
        }
        context.set_settle(position, settle);
    }

    // One loop for the inputs that are sampled alike. Their order does not matter where each writes its own cell and
    // reads an output; a port that no object of the run puts out may be one of these cells.
    if (!any_foreign) std::ranges::stable_sort(samplers, std::less{}, &sampler_t::run);
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

void Plan::cells_written() noexcept {
    for (segment_t& segment : segments_) segment.ran = false;
}

void Plan::settle_segment(const segment_t& segment) noexcept {
    const auto settle_object = [last = segment.last](const planned_t& object) {
        ExecBlock& block = *object.block;
        block.set_time(last);
        if (object.settle == settle_t::sample) block.sample();
        else if (object.settle == settle_t::pass_through)
            std::memcpy(block.input(0)->value_ptr(), block.output(0)->value_ptr(), size_of(block.input(0)->type()));
    };
    const std::size_t begin = segment.object_begin, count = segment.object_end - begin;
    const std::span objects(context_->objects());
    if (positions_ == nullptr) std::ranges::for_each(objects.subspan(begin, count), settle_object);
    else
        for (const position_t position : std::span(positions_ + begin, count)) settle_object(objects[position]);
}

}  // namespace tessel
