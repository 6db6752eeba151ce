// calculate_tiers: the nesting level of every block.
//
// Needs   the subsystem tree whole
// Does    counts the subsystems around a block; an enable block counts as one level further out
// Leaves  `tier` of every block
// Fails   never

#include "model/MetaModel.h"
#include "model/helpers.h"

namespace tessel {

result_t MetaModel::calculate_tiers() noexcept {
    const PassLog pass("calculate_tiers");
    const BlockIndex index(blocks);
    Levels<std::int32_t> depths(index, 0);
    const auto deeper = [](std::int32_t outer, const IMetaBlock&) { return outer + 1; };
    for (const auto& block : blocks) {
        if (block == nullptr) continue;
        const std::int32_t depth = depths.inside(block->parent_id(), deeper);
        block->set_tier(block->class_hash() == hash_enable ? depth - 1 : depth);
    }
    return result_ok;
}

}  // namespace tessel
