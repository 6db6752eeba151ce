// sort_by_zone, group_by_subsystem: block orders for the run and for the generators.
//
// Both sort stably, so one model gives one order.

#include <utility>

#include "model/MetaModel.h"
#include "model/helpers.h"

namespace tessel {
namespace {

/// Null entries stand last: they have no zone.
std::int64_t zone_rank(const std::unique_ptr<IMetaBlock>& block) {
    return block != nullptr ? std::int64_t{block->zone()} : INT64_MAX;
}

}  // namespace

result_t MetaModel::sort_by_zone() noexcept {
    std::ranges::stable_sort(blocks, {}, [](const std::unique_ptr<IMetaBlock>& block) {
        return std::pair(zone_rank(block), block != nullptr ? block->class_hash() : 0u);
    });
    return result_ok;
}

result_t MetaModel::group_by_subsystem() noexcept {
    std::ranges::stable_sort(blocks, {}, zone_rank);

    struct group_t {
        std::uint64_t parent;
        IMetaBlock* last;
    };
    std::vector<group_t> groups;  // in the order in which their parents first appear
    std::unordered_map<std::uint64_t, std::size_t> group_of;
    std::vector<std::pair<IMetaBlock*, std::uint64_t>> parents;
    for (const auto& block : blocks) {
        if (block == nullptr) continue;
        const auto [entry, fresh] = group_of.try_emplace(block->parent_id(), groups.size());
        if (fresh) groups.push_back({block->parent_id(), block.get()});
        else groups[entry->second].last = block.get();
        parents.emplace_back(block.get(), block->parent_id());
    }
    std::ranges::stable_sort(groups, std::ranges::greater{}, [](const group_t& group) { return group.last->tier(); });

    const BlockIndex outer(subsystems);
    const auto in_group = [](const std::unique_ptr<IMetaBlock>& block, std::uint64_t parent) {
        return block != nullptr && block->parent_id() == parent;
    };
    for (const group_t& group : groups) {
        const std::uint64_t parent = group.last->parent_id();  // an inner group may have been counted to another level
        const IMetaBlock* around = outer.find(parent);
        if (around == nullptr) continue;
        const auto position = std::ranges::find(blocks, group.last, &std::unique_ptr<IMetaBlock>::get);
        auto first = std::find_if(blocks.begin(), position, [&](const auto& b) { return in_group(b, group.parent); });
        if (first != position && first < position - 1) {
            auto k = position - 1;
            while (k != first && in_group(*k, group.parent)) --k;
            if (k != first)
                first = std::stable_partition(first, k + 1, [&](const auto& b) { return !in_group(b, group.parent); });
        }
        for (auto block = first; block <= position; ++block)
            if (*block != nullptr) (*block)->set_parent_id(around->parent_id());
    }
    for (const auto& [block, parent] : parents) block->set_parent_id(parent);
    return result_ok;
}

}  // namespace tessel
