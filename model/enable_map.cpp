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
    auto& map = properties->enable_map;
    const auto known = static_cast<std::ptrdiff_t>(map.size());
    map.reserve(map.size() + blocks.size());
    std::unordered_map<std::uint64_t, std::uint64_t> own_enable;
    for (const auto& block : blocks) {
        if (block == nullptr) continue;
        map.emplace(block->id(), {0, 0});
        // one directly in the root gates nothing
        if (block->class_hash() == hash_enable && block->parent_id() != 0)
            own_enable.try_emplace(block->parent_id(), block->id());
    }
    if (own_enable.empty()) return result_ok;
    const auto enable_in = [&own_enable](std::uint64_t parent, std::uint64_t otherwise) {
        const auto found = own_enable.find(parent);
        return found != own_enable.end() ? found->second : otherwise;
    };

    const BlockIndex index(blocks);
    Levels<std::uint64_t> nearest(index, 0, 0);
    const auto nearer = [&](std::uint64_t outer, std::uint64_t id, const IMetaBlock*) { return enable_in(id, outer); };
    auto entry = map.begin() + known;  // the new ones stand in the order of the blocks that brought them
    for (const auto& block : blocks) {
        if (entry == map.end()) break;
        if (block == nullptr || block->id() != entry->first) continue;
        const std::uint64_t parent = block->parent_id();
        std::uint64_t level = parent;
        // an enable block is gated from outside the subsystem that it gates
        if (block->class_hash() == hash_enable) {
            const IMetaBlock* around = index.find(parent);
            level = around != nullptr ? around->parent_id() : 0;
        }
        const std::uint64_t second = nearest.inside(level, nearer);
        (entry++)->second = {enable_in(parent, 0), second};
    }
    return result_ok;
}

}  // namespace tessel
