// build_enable_map: which enable block gates which block.
//
// Needs   the subsystem tree whole, as loaded
// Does    walks up from every block to the nearest subsystem with an enable block
// Leaves  an entry for every block's id in the properties' enable map; an entry that is there already stays
// Fails   never

#include "core/large_array.h"
#include "model/MetaModel.h"
#include "model/helpers.h"

namespace tessel {

result_t MetaModel::build_enable_map() noexcept {
    const PassLog pass("build_enable_map");
    // blocks are spread over memory: one walk over them, and the rest works on what it brings
    struct member_t {
        std::uint64_t id, parent;
        bool is_enable;
    };
    large_array<member_t> members;
    members.reserve(blocks.size());
    std::unordered_map<std::uint64_t, std::uint64_t> own_enable;
    for (const auto& block : blocks) {
        if (block == nullptr) continue;
        const member_t& member =
            members.emplace_back(member_t{block->id(), block->parent_id(), block->class_hash() == hash_enable});
        // one directly in the root gates nothing
        if (member.is_enable && member.parent != 0) own_enable.try_emplace(member.parent, member.id);
    }
    const auto enable_in = [&own_enable](std::uint64_t parent, std::uint64_t otherwise) {
        const auto found = own_enable.find(parent);
        return found != own_enable.end() ? found->second : otherwise;
    };

    const BlockIndex index(blocks);
    Levels<std::uint64_t> nearest(index, 0, 0);
    const auto nearer = [&](std::uint64_t outer, std::uint64_t id, const IMetaBlock*) { return enable_in(id, outer); };
    properties->enable_map.reserve(properties->enable_map.size() + members.size());
    for (const auto& [id, parent, is_enable] : members) {
        std::uint64_t level = parent;
        // an enable block is gated from outside the subsystem that it gates
        if (is_enable) {
            const IMetaBlock* around = index.find(parent);
            level = around != nullptr ? around->parent_id() : 0;
        }
        const std::uint64_t second = nearest.inside(level, nearer);
        properties->enable_map.emplace(id, {enable_in(parent, 0), second});
    }
    return result_ok;
}

}  // namespace tessel
