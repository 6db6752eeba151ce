#include "exec/ensemble/batch.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <new>

namespace tessel::ensemble {
namespace {

/// Steps that a component takes before the next one has its turn.
constexpr std::size_t steps_at_once = 256;

enum class open_t { none, some, all };

open_t open_lanes(const std::uint8_t* flags, std::size_t lanes) noexcept {
    std::size_t open = 0;
    for (std::size_t i = 0; i < lanes; ++i) open += flags[i] != 0 ? 1u : 0u;
    return open == 0 ? open_t::none : open == lanes ? open_t::all : open_t::some;
}

template <class T>
void repeat(std::byte* row, std::uint64_t bits, std::size_t lanes) noexcept {
    std::fill_n(reinterpret_cast<T*>(row), lanes, static_cast<T>(bits));
}

/// Writes the low bytes of `bits` to each lane.
void repeat(std::byte* row, std::uint64_t bits, std::size_t size, std::size_t lanes) noexcept {
    switch (size) {
        case 1: return repeat<std::uint8_t>(row, bits, lanes);
        case 2: return repeat<std::uint16_t>(row, bits, lanes);
        case 4: return repeat<std::uint32_t>(row, bits, lanes);
        default: return repeat<std::uint64_t>(row, bits, lanes);
    }
}

}  // namespace

Batch::Batch(const program_t& program)
    : program_(program),
      memory_(static_cast<std::byte*>(::operator new[](program.bytes + alignment, std::align_val_t{alignment}))),
      list_values_(program.lists.size()),
      faults_(most_lanes) {
    std::memset(memory_.get(), 0, program.bytes);
    frame_.base = memory_.get();
    frame_.chunks[0] = program.lanes / chunk;
    frame_.chunks[1] = 1;
    frame_.lanes[1] = 1;
    for (const list_content_t& list : program.lists) lists_.push_back({list.values.data(), list.values.size(), 0});
    frame_.lists = lists_.data();
    frame_.faults = faults_.data();
}

void Batch::fill_lists(std::span<const std::uint64_t> values) {
    const std::size_t count = frame_.lanes[0];
    for (std::size_t n = 0; n < program_.lists.size(); ++n) {
        const list_content_t& list = program_.lists[n];
        if (list.varied.empty()) continue;
        const std::size_t size = list.values.size();
        list_values_[n].resize(size * program_.lanes);
        for (std::size_t lane = 0; lane < program_.lanes; ++lane) {
            double* own = list_values_[n].data() + lane * size;
            std::ranges::copy(list.values, own);
            for (const auto& [element, place] : list.varied)
                own[element] =
                    from_bits<double>(values[static_cast<std::size_t>(place) * count + std::min(lane, count - 1)]);
        }
        lists_[n] = {list_values_[n].data(), size, size};
    }
}

/// Lanes behind the last variant are as that one.
void Batch::fill(std::span<const std::uint64_t> values) {
    const std::size_t count = frame_.lanes[0];
    for (const content_t& content : program_.contents) {
        if (content.kept && filled_) continue;
        std::byte* row = frame_.base + content.row;
        if (content.place < 0) {
            repeat(row, content.bits, content.size, content.single ? chunk : program_.lanes);
            continue;
        }
        for (std::size_t lane = 0; lane < program_.lanes; ++lane)
            std::memcpy(row + lane * content.size,
                        &values[static_cast<std::size_t>(content.place) * count + std::min(lane, count - 1)],
                        content.size);
    }
    filled_ = true;
    fill_lists(values);
    std::ranges::fill(faults_, fault_t{});
}

bool Batch::run(std::span<const std::uint64_t> values, std::size_t count, const times_t& times, Listener& listener,
                const std::atomic<bool>* ended) {
    frame_.lanes[0] = count;
    frame_.mask = nullptr;
    frame_.step = 0;
    fill(values);
    for (const instr_t& i : program_.fixed) i.run(i, frame_);
    repeat(frame_.base + program_.time, bits_of(times.ti), sizeof(double), chunk);
    for (const instr_t& i : program_.start) i.run(i, frame_);

    std::array<double, steps_at_once> at;
    std::uint64_t first = 0;
    for (double t = times.ti; times.tf >= t;) {
        std::size_t steps = 0;
        for (; steps < at.size() && times.tf >= t; ++steps, t = t + times.ts) at[steps] = t;
        for (const component_t& component : program_.components) {
            for (std::size_t i = 0; i < steps; ++i) {
                frame_.step = first + i;
                feed(listener);
                step(component, at[i]);
                for (const tap_t& tap : component.taps) tell(tap, at[i], listener);
            }
        }
        first += steps;
        if (ended != nullptr && ended->load(std::memory_order_relaxed)) return false;
        if (all_ended(first)) break;
    }
    return true;
}

bool Batch::all_ended(std::uint64_t step) const noexcept {
    return std::ranges::all_of(faults(), [step](const fault_t& fault) { return fault.step < step; });
}

void Batch::feed(Listener& listener) noexcept {
    for (std::size_t i = 0; i < program_.fed.size(); ++i)
        repeat(frame_.base + program_.fed[i], bits_of(listener.feed(i, frame_.step)), sizeof(double), chunk);
}

void Batch::step(const component_t& component, double t) noexcept {
    repeat(frame_.base + program_.time, bits_of(t), sizeof(double), chunk);
    for (const flag_row_t& flag : component.flags) std::memset(frame_.base + flag.row, 0, flag.lanes);
    for (std::uint32_t i = component.segments.begin; i < component.segments.end; ++i)
        step_segment(program_.segments[i]);
}

void Batch::run_range(range_t range) noexcept {
    const instr_t* end = program_.code.data() + range.end;
    for (const instr_t* i = program_.code.data() + range.begin; i != end; ++i) i->run(*i, frame_);
}

void Batch::step_segment(const segment_t& segment) noexcept {
    if (segment.flag == no_place) {
        run_range(segment.all);
        return;
    }
    const auto* flags = reinterpret_cast<const std::uint8_t*>(frame_.base + segment.flag);
    const open_t open = open_lanes(flags, segment.single ? 1 : frame_.lanes[0]);
    if (segment.ran != no_place) std::memcpy(frame_.base + segment.ran, flags, segment.single ? chunk : program_.lanes);
    if (open == open_t::none) return;
    if (open == open_t::all) {
        run_range(segment.all);
        return;
    }
    frame_.mask = flags;
    run_range(segment.some);
    frame_.mask = nullptr;
}

void Batch::tell(const tap_t& tap, double t, Listener& listener) noexcept {
    alignas(alignment) std::array<std::uint64_t, most_lanes> row;
    alignas(alignment) std::array<std::uint8_t, most_lanes> ran;
    const void* values = frame_.base + tap.row;
    const std::uint8_t* flags = nullptr;
    if (tap.single) {
        std::uint64_t bits = 0;
        std::memcpy(&bits, values, size_of(tap.type));
        repeat(reinterpret_cast<std::byte*>(row.data()), bits, size_of(tap.type), program_.lanes);
        values = row.data();
    }
    if (tap.ran != no_place) {
        flags = reinterpret_cast<const std::uint8_t*>(frame_.base + tap.ran);
        if (tap.ran_single) {
            ran.fill(flags[0]);
            flags = ran.data();
        }
    }
    listener.take(tap.signal, frame_.step, t, values, tap.type, flags);
}

}  // namespace tessel::ensemble
