#include "exec/ensemble/model.h"

#include <algorithm>

namespace tessel::ensemble {
namespace {

bool same_value(const value_t& a, const value_t& b) noexcept {
    return a.op == b.op && a.type == b.type && a.bits == b.bits && a.of == b.of;
}

bool same_state(const state_t& a, const state_t& b) noexcept {
    return a.type == b.type && a.started == b.started && a.next == b.next;
}

}  // namespace

std::uint64_t value_at(const formula_t& formula, const place_t& place) noexcept {
    switch (place.part) {
        case part_t::parameter: return formula.parameters[place.number].value;
        case part_t::state: return formula.states[place.number].initial;
        case part_t::output: return formula.output.initial;
        default: return bits_of(formula.lists[place.number].values[place.element]);
    }
}

bool same_shape(const formula_t& a, const formula_t& b) noexcept {
    const auto same_list = [](const list_t& x, const list_t& y) { return x.values.size() == y.values.size(); };
    const auto same_input = [](const input_t& x, const input_t& y) { return x.type == y.type; };
    const auto same_parameter = [](const auto& x, const auto& y) { return x.type == y.type; };
    return std::ranges::equal(a.values, b.values, same_value) && std::ranges::equal(a.states, b.states, same_state) &&
           std::ranges::equal(a.lists, b.lists, same_list) && std::ranges::equal(a.inputs, b.inputs, same_input) &&
           std::ranges::equal(a.parameters, b.parameters, same_parameter) && same_state(a.output, b.output) &&
           a.taken == b.taken;
}

void append_differences(std::vector<place_t>& places, std::int32_t member, const formula_t& a, const formula_t& b) {
    const auto compare = [&](const place_t& place) {
        if (value_at(a, place) != value_at(b, place)) places.push_back(place);
    };
    const auto size = [](const auto& list) { return static_cast<std::uint32_t>(list.size()); };
    for (std::uint32_t i = 0; i < size(a.parameters); ++i) compare({member, part_t::parameter, i});
    for (std::uint32_t i = 0; i < size(a.states); ++i) compare({member, part_t::state, i});
    if (a.has_output()) compare({member, part_t::output});
    for (std::uint32_t i = 0; i < size(a.lists); ++i)
        for (std::uint32_t k = 0; k < size(a.lists[i].values); ++k) compare({member, part_t::list, i, k});
}

}  // namespace tessel::ensemble
