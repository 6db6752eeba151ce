// build_enable_map: which enable block gates which block.
//
// Needs   the subsystem tree whole, as loaded
// Does    walks up from every block to the nearest subsystem with an enable block
// Leaves  an entry for every block's id in the properties' enable map; an entry that is there already stays
// Fails   never

#include "model/MetaModel.h"
#include "model/helpers.h"

namespace tessel {

result_t MetaModel::build_enable_map() noexcept {
    const PassLog pass("build_enable_map");
    std::unordered_map<std::uint64_t, std::uint64_t> own_enable{{0, 0}};  // an enable block of the root gates nothing
    for (const auto& block : blocks)
        if (block != nullptr && block->class_hash() == hash_enable)
            own_enable.try_emplace(block->parent_id(), block->id());
    const auto enable_in = [&own_enable](std::uint64_t parent) {
        const auto found = parent != 0 ? own_enable.find(parent) : own_enable.end();
        return found != own_enable.end() ? found->second : 0;
    };

    const BlockIndex index(blocks);
    Levels<std::uint64_t> nearest(index, 0);
    const auto nearer = [&](std::uint64_t outer, const IMetaBlock& subsystem) {
        const std::uint64_t own = enable_in(subsystem.id());
        return own != 0 ? own : outer;
    };
    properties->enable_map.reserve(properties->enable_map.size() + blocks.size());
    for (const auto& block : blocks) {
        if (block == nullptr) continue;
        std::uint64_t level = block->parent_id();
        // an enable block is gated from outside the subsystem that it gates
        if (block->class_hash() == hash_enable) {
            const IMetaBlock* around = index.find(level);
            level = around != nullptr ? around->parent_id() : 0;
        }
        const std::uint64_t second = nearest.inside(level, nearer);
        properties->enable_map.try_emplace(block->id(), enable_in(block->parent_id()), second);
    }
    return result_ok;
}

}  // namespace tessel
