#include "model/rules/order.h"

#include <algorithm>
#include <tuple>

namespace tessel::rules {
namespace {

/// Sorts by zone and, within a zone, by what `second` gives.
template <class Second>
large_array<std::size_t> sorted(lineup_t blocks, Second second) {
    struct rank_t {
        std::int32_t zone;
        std::uint32_t second;
        std::size_t position;
    };
    large_array<rank_t> ranks;
    ranks.reserve(blocks.size());
    for (std::size_t i = 0; i < blocks.size(); ++i)
        if (blocks[i] != nullptr) ranks.push_back({blocks[i]->zone(), second(*blocks[i]), i});
    std::ranges::sort(ranks, {}, [](const rank_t& r) { return std::tuple(r.zone, r.second, r.position); });

    large_array<std::size_t> order(ranks.size());
    std::ranges::transform(ranks, order.begin(), &rank_t::position);
    return order;
}

}  // namespace

large_array<std::size_t> stepping_order(lineup_t blocks) {
    return sorted(blocks, [](const IMetaBlock& block) { return block.class_hash(); });
}

large_array<std::size_t> zone_order(lineup_t blocks) {
    return sorted(blocks, [](const IMetaBlock&) { return std::uint32_t{0}; });
}

}  // namespace tessel::rules
