// calculate_tiers: the nesting level of every block.
//
// Needs   the subsystem tree whole
// Does    counts the subsystems around a block; an enable block counts as one level further out. In a ring of parents
//         the walk up ends after as many subsystems as there are blocks.
// Leaves  `tier` of every block
// Fails   never

#include "model/MetaModel.h"
#include "model/helpers.h"

namespace tessel {

result_t MetaModel::calculate_tiers() noexcept {
    const PassLog pass("calculate_tiers");
    const BlockIndex index(blocks);
    const auto most = static_cast<std::int32_t>(blocks.size());
    Levels<std::int32_t> depths(index, 0, most);
    const auto deeper = [most](std::int32_t outer, std::uint64_t, const IMetaBlock* subsystem) {
        return subsystem != nullptr ? std::min(outer + 1, most) : outer;
    };
    for (const auto& block : blocks) {
        if (block == nullptr) continue;
        const std::int32_t depth = depths.inside(block->parent_id(), deeper);
        block->set_tier(block->class_hash() == hash_enable ? depth - 1 : depth);
    }
    return result_ok;
}

}  // namespace tessel
