#include "host/sweep/kinds.h"

#include <algorithm>
#include <optional>
#include <unordered_map>
#include <utility>

#include "core/format.h"
#include "framework/MetaBlock.h"
#include "framework/classes.h"

namespace zarn {
namespace {

using lane_place_t = tessel::ensemble::place_t;

bool is_evaluated(const tessel::parameter_traits_t& parameter) noexcept {
    using tessel::content_t;
    return parameter.content == content_t::value || parameter.content == content_t::list ||
           parameter.content == content_t::series;
}

/// Whether a block of the class keeps what it has read once.
bool keeps_answers(const tessel::block_traits_t& traits) noexcept {
    return std::ranges::any_of(traits.parameters, [](const tessel::parameter_traits_t& parameter) {
        return parameter.content == tessel::content_t::list || parameter.content == tessel::content_t::series;
    });
}

/// What distinguishes formulas that cannot run side by side.
std::uint64_t structure_of(const tessel::formula_t& f) noexcept {
    std::uint64_t h = 0xCBF29CE484222325u;
    const auto add = [&h](std::uint64_t v) { h = (h ^ v) * 0x100000001B3u + (h >> 29); };
    for (const tessel::value_t& v : f.values) {
        add(static_cast<std::uint64_t>(v.op) << 8 | static_cast<std::uint64_t>(v.type));
        add(v.bits);
        for (const std::int32_t operand : v.of) add(static_cast<std::uint64_t>(operand));
    }
    for (const tessel::list_t& list : f.lists) add(list.values.size());
    add(static_cast<std::uint64_t>(f.output.next));
    return h;
}

}  // namespace

Kind::Kind(std::unique_ptr<Session> session, VariantBridge& bridge, std::span<const own_parameter_t> own,
           std::span<const watched_t> watched)
    : session_(std::move(session)), bridge_(bridge), own_(own.begin(), own.end()), lanes_(model_in_lanes(*session_)) {
    std::unordered_map<std::uint64_t, std::int32_t> members;
    for (std::size_t i = 0; i < lanes_.blocks.size(); ++i)
        members.try_emplace(lanes_.blocks[i]->id(), static_cast<std::int32_t>(i));
    for (const watched_t& signal : watched) signals_.push_back({members.at(signal.block), signal.input});
    find_affected();
}

/// A block of the same class with the same parameters and ports, which reads its parameters anew.
std::unique_ptr<tessel::IMetaBlock> Kind::copy_of(std::size_t member) const {
    tessel::IMetaBlock& block = *lanes_.blocks[member];
    auto properties = std::make_shared<tessel::PropertiesBlock>(static_cast<tessel::MetaBlock&>(block).properties());
    properties->inportCount = block.input_count();
    properties->outportCount = block.output_count();
    auto copy = tessel::factory::find_class(block.class_hash())->entry->create(std::move(properties));
    for (std::uint64_t i = 0; i < block.input_count(); ++i) {
        const auto port = static_cast<std::int16_t>(i);
        copy->input(port)->set_type(block.input(port)->type());
    }
    for (std::uint64_t i = 0; i < block.output_count(); ++i) {
        const auto port = static_cast<std::int16_t>(i);
        copy->output(port)->set_type(block.output(port)->type());
    }
    return copy;
}

void Kind::find_affected() {
    const Session::Active active(*session_);
    for (std::size_t i = 0; i < lanes_.blocks.size(); ++i) {
        const tessel::block_traits_t& traits = tessel::factory::traits_of(*lanes_.blocks[i]);
        if (std::ranges::none_of(traits.parameters, is_evaluated)) continue;
        affected_t affected{i, copy_of(i), {}};
        for (const own_parameter_t& own : own_)
            if (own.block == lanes_.blocks[i]->id()) affected.own.push_back(own);
        const std::size_t before = bridge_.varying();
        affected.copy->calculate_type();
        if (bridge_.varying() == before && affected.own.empty()) continue;
        if (keeps_answers(traits)) affected.copy = nullptr;
        affected_.push_back(std::move(affected));
    }
}

void Kind::set_own(tessel::IMetaBlock& block, const std::vector<own_parameter_t>& own,
                   const std::vector<double>& values) const {
    for (const own_parameter_t& parameter : own) {
        const std::string text = bridge_.text_of(parameter.name, values[parameter.name]);
        tessel::var_t& value = block.param(parameter.key.c_str());
        if (value.is_text()) value = tessel::var_t(text.c_str());
        else value = tessel::var_t(values[parameter.name]);
    }
}

variant_t Kind::make(std::vector<double> values) {
    const Session::Active active(*session_);
    variant_t variant;
    variant.values = std::move(values);
    bridge_.set(variant.values);
    bridge_.take_shape();
    for (affected_t& affected : affected_) {
        const auto fresh = affected.copy == nullptr ? copy_of(affected.member) : nullptr;
        tessel::IMetaBlock& block = fresh != nullptr ? *fresh : *affected.copy;
        set_own(block, affected.own, variant.values);
        const tessel::result_t result = block.calculate_type();
        std::optional<tessel::formula_t> formula;
        if (result == tessel::result_ok) formula = static_cast<tessel::MetaBlock&>(block).formula();
        if (!formula) {
            variant.refused = tessel::format("{}: a parameter cannot have this value",
                                             session_->written_path(*lanes_.blocks[affected.member]));
            return variant;
        }
        variant.formulas.push_back(std::move(*formula));
    }
    variant.shape = bridge_.take_shape();
    for (const tessel::formula_t& formula : variant.formulas)
        variant.shape += tessel::format(" {:x}", structure_of(formula));
    return variant;
}

std::shared_ptr<const lane_program_t> Kind::place(std::span<const variant_t* const> variants,
                                                  std::vector<std::uint64_t>& values) {
    const auto& members = lanes_.model.members;
    std::vector<lane_place_t> found;
    for (std::size_t i = 0; i < affected_.size(); ++i) {
        const std::size_t m = affected_[i].member;
        for (const variant_t* variant : variants)
            append_differences(found, static_cast<std::int32_t>(m), members[m].formula, variant->formulas[i]);
    }
    std::ranges::sort(found);
    found.erase(std::unique(found.begin(), found.end()), found.end());
    if (program_ == nullptr || !std::ranges::includes(places_, found)) {
        std::vector<lane_place_t> all;
        std::ranges::set_union(places_, found, std::back_inserter(all));
        places_ = std::move(all);
        tessel::ensemble::request_t request;
        request.places = places_;
        request.signals = signals_;
        program_ = std::make_shared<lane_program_t>(lane_program_t{places_, lower(lanes_.model, request)});
    }
    std::unordered_map<std::int32_t, std::size_t> order;
    for (std::size_t i = 0; i < affected_.size(); ++i) order.emplace(static_cast<std::int32_t>(affected_[i].member), i);
    values.clear();
    for (const lane_place_t& place : places_)
        for (const variant_t* variant : variants)
            values.push_back(value_at(variant->formulas[order.at(place.member)], place));
    return program_;
}

}  // namespace zarn
