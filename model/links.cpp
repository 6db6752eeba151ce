// clear_link_flags, create_links, check_links: from the drawn diagram to bound inputs.
//
// Needs   tiers and the enable map, which are worked out while the subsystem tree is whole
// Does    ends every link that touches a subsystem at the inport, outport or enable block inside, binds the inputs,
//         takes the subsystem blocks out of the live list and moves every enable block one level out
// Leaves  links that run between live blocks only; the blocks of `subsystems`
// Fails   check_links: result_source_missing, without marking a block
//
// The pass runs twice in a compile, and each run moves the enable blocks one level out: the generators work with the
// parents that come of that.

#include <map>
#include <utility>

#include "model/MetaModel.h"
#include "model/helpers.h"
#include "port.h"

namespace tessel {
namespace {

/// The blocks that stand for the ports of subsystems: first of each subsystem, class and port number.
class InnerPorts {
public:
    explicit InnerPorts(const blocks_t& blocks) {
        for (const auto& block : blocks) {
            if (block == nullptr) continue;
            const std::uint32_t hash = block->class_hash();
            if (hash == hash_enable) enables_.try_emplace(block->parent_id(), block.get());
            else if (hash == hash_inport) inports_.try_emplace(key(*block), block.get());
            else if (hash == hash_outport) outports_.try_emplace(key(*block), block.get());
        }
    }
    IMetaBlock* enable(std::uint64_t subsystem) const { return find(enables_, subsystem); }
    IMetaBlock* inport(std::uint64_t subsystem, std::int16_t number) const {
        return find(inports_, std::pair(subsystem, number));
    }
    IMetaBlock* outport(std::uint64_t subsystem, std::int16_t number) const {
        return find(outports_, std::pair(subsystem, number));
    }

private:
    using key_t = std::pair<std::uint64_t, std::int16_t>;
    static key_t key(IMetaBlock& block) {
        return {block.parent_id(), static_cast<std::int16_t>(block.param("portNumber").payload<int>())};
    }
    template <class Map, class Key>
    static IMetaBlock* find(const Map& map, const Key& key) {
        const auto found = map.find(key);
        return found != map.end() ? found->second : nullptr;
    }
    std::unordered_map<std::uint64_t, IMetaBlock*> enables_;
    std::map<key_t, IMetaBlock*> inports_;
    std::map<key_t, IMetaBlock*> outports_;
};

bool has_port(std::int16_t index, std::uint64_t count) {
    return index >= 0 && static_cast<std::uint64_t>(index) < count;
}

/// Ends a link at real blocks and binds the input. A link with an end that does not exist, or with a port out of
/// range once its ends are the inner blocks, is left as it is.
bool bind_link(link_t& link, const BlockIndex& index, const InnerPorts& inner) {
    IMetaBlock* src = index.find(link.srcId);
    IMetaBlock* dst = index.find(link.dstId);
    if (src == nullptr || dst == nullptr) return false;
    std::int16_t src_port = link.srcPort;
    std::int16_t dst_port = link.dstPort;
    if (is_subsystem(*dst)) {
        dst = dst_port == -1 ? inner.enable(dst->id()) : inner.inport(dst->id(), dst_port);
        dst_port = 0;
    }
    if (is_subsystem(*src)) {
        src = inner.outport(src->id(), src_port);
        src_port = 0;
    }
    if (dst == nullptr || src == nullptr) return false;
    if (!has_port(dst_port, dst->input_count()) || !has_port(src_port, src->output_count())) return false;
    link.dstId = dst->id();
    link.dstPort = dst_port;
    link.srcId = src->id();
    link.srcPort = src_port;
    dst->input(dst_port)->link(src, src_port);
    return true;
}

}  // namespace

result_t MetaModel::clear_link_flags() noexcept {
    for (link_t& link : properties->links) link.resolved = false;
    return result_ok;
}

result_t MetaModel::create_links() noexcept {
    const PassLog pass("create_links");
    const BlockIndex index(blocks);
    const InnerPorts inner(blocks);
    bool touched = false;
    for (link_t& link : properties->links)
        if (!link.resolved && bind_link(link, index, inner)) touched = true;
    if (!touched) return result_ok;

    const auto gone = swap_partition(blocks, is_subsystem);
    subsystems.insert(subsystems.end(), std::move_iterator(gone), std::move_iterator(blocks.end()));
    blocks.erase(gone, blocks.end());

    const BlockIndex outer(subsystems);
    for (const auto& block : blocks) {
        if (block == nullptr || block->class_hash() != hash_enable) continue;
        if (const IMetaBlock* around = outer.find(block->parent_id()); around != nullptr)
            block->set_parent_id(around->parent_id());
    }
    return result_ok;
}

result_t MetaModel::check_links() noexcept {
    const PassLog pass("check_links");
    for (const auto& block : blocks)
        if (block != nullptr && !block->has_all_sources()) return result_source_missing;
    return result_ok;
}

}  // namespace tessel
