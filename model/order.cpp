// sort_by_zone, group_by_subsystem: block orders for the run and for the generators.
//
// Both sort stably, so one model gives one order.

#include <algorithm>
#include <unordered_map>
#include <utility>

#include "model/MetaModel.h"
#include "model/helpers.h"
#include "model/rules/order.h"

namespace tessel {
namespace {

void sort_blocks(blocks_t& blocks, const large_array<std::size_t>& order) {
    blocks_t sorted(blocks.size());
    std::ranges::transform(order, sorted.begin(), [&blocks](std::size_t i) { return std::move(blocks[i]); });
    blocks = std::move(sorted);  // null entries stand last
}

/// Brings the blocks into the order in which each stands directly behind the bodies of `before`, which end with the
/// blocks at these positions.
void take_order(blocks_t& blocks, const std::vector<std::vector<std::size_t>>& before) {
    std::vector<bool> inside(blocks.size());
    for (const auto& bodies : before)
        for (const std::size_t i : bodies) inside[i] = true;

    struct visit_t {
        std::size_t position;
        std::size_t next = 0;  // of the bodies before it
    };
    blocks_t ordered;
    ordered.reserve(blocks.size());
    std::vector<visit_t> open;
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        if (inside[i]) continue;
        open.push_back({i});
        while (!open.empty()) {
            auto& [position, next] = open.back();
            if (next < before[position].size()) {
                open.push_back({before[position][next++]});
            } else {
                ordered.push_back(std::move(blocks[position]));
                open.pop_back();
            }
        }
    }
    blocks = std::move(ordered);
}

}  // namespace

result_t MetaModel::sort_by_zone() noexcept {
    sort_blocks(blocks, rules::stepping_order(line_up(blocks)));
    return result_ok;
}

// Gathering a level moves its blocks to directly before the last of them, in their order; the body that this makes
// counts as one block of the level around, and goes with its last block from then on. So nothing is moved until it is
// known which bodies stand before which block.
result_t MetaModel::group_by_subsystem() noexcept {
    sort_blocks(blocks, rules::zone_order(line_up(blocks)));

    struct group_t {
        std::uint64_t parent;
        std::size_t last;  // position of its last block
    };
    std::vector<group_t> groups;  // in the order in which their parents first appear
    std::unordered_map<std::uint64_t, std::size_t> group_of;
    std::unordered_map<std::uint64_t, std::vector<std::size_t>> level;  // last blocks of the bodies in it
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        if (blocks[i] == nullptr) continue;
        const std::uint64_t parent = blocks[i]->parent_id();
        const auto [entry, fresh] = group_of.try_emplace(parent, groups.size());
        if (fresh) groups.push_back({parent, i});
        else groups[entry->second].last = i;
        level[parent].push_back(i);
    }
    std::ranges::stable_sort(groups, std::ranges::greater{},
                             [this](const group_t& group) { return blocks[group.last]->tier(); });

    const auto outer_blocks = line_up(subsystems);
    const rules::BlockIndex outer(outer_blocks);
    std::vector<std::vector<std::size_t>> before(blocks.size());
    for (const group_t& group : groups) {
        const IMetaBlock* around = outer.find(group.parent);
        if (around == nullptr) continue;
        auto bodies = std::move(level[group.parent]);
        std::erase_if(bodies, [&group](std::size_t i) { return i >= group.last; });  // what lies behind it stays there
        std::ranges::sort(bodies);
        before[group.last] = std::move(bodies);
        level[around->parent_id()].push_back(group.last);
    }
    take_order(blocks, before);
    return result_ok;
}

}  // namespace tessel
