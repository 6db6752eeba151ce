#include "exec/ensemble/layout.h"

#include <stdexcept>

namespace tessel::ensemble {
namespace {

std::size_t at(std::int32_t i) noexcept { return static_cast<std::size_t>(i); }
std::uint8_t bytes_of(type_t type) noexcept { return static_cast<std::uint8_t>(size_of(type)); }

}  // namespace

Layout::Layout(const model_t& model, const shape_t& shape, std::span<const place_t> places,
               std::span<const signal_t> signals, program_t& program)
    : members_(model.members), shape_(shape), program_(program), rows_(members_.size()) {
    for (std::size_t i = 0; i < places.size(); ++i) varied_.emplace(places[i], static_cast<std::int32_t>(i));
    for (const signal_t& signal : signals)
        (signal.input ? of(signal.member).tapped_input : of(signal.member).tapped) = true;
    program_.time = take_row(type_flt64, true);
    for (std::size_t i = 0; i < members_.size(); ++i) make_rows(static_cast<std::int32_t>(i));
}

const row_t& Layout::output_of(std::int32_t member) const {
    const std::int32_t alias = shape_.alias[at(member)];
    return of(alias >= 0 ? alias : member).output;
}

std::uint32_t Layout::take_row(type_t type, bool single) {
    const std::size_t lanes = single ? chunk : program_.lanes;
    const auto place = static_cast<std::uint32_t>(bytes_);
    bytes_ += (lanes * size_of(type) + alignment - 1) / alignment * alignment;
    if (bytes_ >= first_temporary) throw std::length_error("a batch of this model takes more than 2 GiB");
    return place;
}

std::uint32_t Layout::scratch(std::size_t number) {
    while (scratch_.size() <= number) scratch_.push_back(take_row(type_flt64, false));
    return scratch_[number];
}

/// A row that holds what a place of a formula has, in each variant its own.
row_t Layout::held_row(const place_t& place, type_t type, bool wide, bool fixed) {
    const row_t row{take_row(type, !wide && !fixed), type, wide, fixed};
    const auto found = varied_.find(place);
    program_.contents.push_back({row.place, bytes_of(type), !wide && !fixed,
                                 found != varied_.end() ? found->second : -1,
                                 value_at(members_[at(place.member)].formula, place)});
    return row;
}

row_t Layout::constant(type_t type, std::uint64_t bits) {
    const auto [found, is_new] = constants_.try_emplace({type, bits});
    if (is_new) {
        found->second = {take_row(type, false), type, false, true};
        program_.contents.push_back({found->second.place, bytes_of(type), false, -1, bits, true});
    }
    return found->second;
}

void Layout::make_rows(std::int32_t member) {
    const formula_t& f = members_[at(member)].formula;
    member_rows_t& rows = of(member);
    const bool wide = shape_.varied[at(member)];
    for (std::uint32_t i = 0; i < f.parameters.size(); ++i) {
        const place_t place{member, part_t::parameter, i};
        const auto [name, type, bits] = f.parameters[i];
        rows.parameters.push_back(varied_.contains(place) ? held_row(place, type, true, true) : constant(type, bits));
    }
    for (std::uint32_t i = 0; i < f.states.size(); ++i)
        rows.states.push_back(held_row({member, part_t::state, i}, f.states[i].type, wide, false));
    if (shape_.held[at(member)]) rows.output = rows.parameters[f.at(f.output.next).bits];
    else if (f.has_output() && shape_.alias[at(member)] < 0)
        rows.output = held_row({member, part_t::output}, f.output.type, wide, false);
    make_lists(member);
    if (f.inputs.empty() || (!shape_.gates[at(member)] && !rows.tapped_input)) return;
    rows.sampled = {take_row(f.inputs[0].type, !wide), f.inputs[0].type, wide, false};
    program_.contents.push_back({rows.sampled.place, bytes_of(f.inputs[0].type), !wide, -1, 0});
}

void Layout::make_lists(std::int32_t member) {
    const formula_t& f = members_[at(member)].formula;
    for (std::uint32_t i = 0; i < f.lists.size(); ++i) {
        list_content_t content{f.lists[i].values, {}};
        for (std::uint32_t k = 0; !varied_.empty() && k < content.values.size(); ++k)
            if (const auto found = varied_.find({member, part_t::list, i, k}); found != varied_.end())
                content.varied.emplace_back(k, found->second);
        of(member).lists.push_back(static_cast<std::int32_t>(program_.lists.size()));
        program_.lists.push_back(std::move(content));
    }
}

}  // namespace tessel::ensemble
