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

/// What one walk over the live blocks finds: where an id is, which blocks stand for the ports of subsystems (the first
/// of each subsystem, class and port number), and which are subsystems.
class Census {
public:
    explicit Census(const blocks_t& blocks) : index_(blocks.size()), subsystems_(blocks.size()) {
        for (std::size_t i = 0; i < blocks.size(); ++i) {
            IMetaBlock* const block = blocks[i].get();
            if (block == nullptr) continue;
            index_.add(block->id(), block);
            switch (block->class_hash()) {
                case hash_subsys:
                case hash_refsys: subsystems_[i] = true; break;
                case hash_enable:
                    all_enables_.push_back(block);
                    enables_.try_emplace(block->parent_id(), block);
                    break;
                case hash_inport: inports_.try_emplace(key(*block), block); break;
                case hash_outport: outports_.try_emplace(key(*block), block); break;
                default: break;
            }
        }
    }
    IMetaBlock* find(std::uint64_t id) const noexcept { return index_.find(id); }
    IMetaBlock* enable(std::uint64_t subsystem) const { return find(enables_, subsystem); }
    IMetaBlock* inport(std::uint64_t subsystem, std::int16_t number) const {
        return find(inports_, std::pair(subsystem, number));
    }
    IMetaBlock* outport(std::uint64_t subsystem, std::int16_t number) const {
        return find(outports_, std::pair(subsystem, number));
    }
    const std::vector<IMetaBlock*>& enables() const noexcept { return all_enables_; }
    const std::vector<bool>& subsystems() const noexcept { return subsystems_; }

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
    IdIndex<IMetaBlock> index_;
    std::vector<bool> subsystems_;
    std::vector<IMetaBlock*> all_enables_;
    std::unordered_map<std::uint64_t, IMetaBlock*> enables_;
    std::map<key_t, IMetaBlock*> inports_;
    std::map<key_t, IMetaBlock*> outports_;
};

bool has_port(std::int16_t index, std::uint64_t count) {
    return index >= 0 && static_cast<std::uint64_t>(index) < count;
}

/// Ends a link at real blocks and binds the input. A link with an end that does not exist, or with a port out of
/// range once its ends are the inner blocks, is left as it is.
bool bind_link(link_t& link, const Census& census) {
    IMetaBlock* const drawn_src = census.find(link.srcId);
    IMetaBlock* const drawn_dst = census.find(link.dstId);
    if (drawn_src == nullptr || drawn_dst == nullptr) return false;
    IMetaBlock* src = drawn_src;
    IMetaBlock* dst = drawn_dst;
    std::int16_t src_port = link.srcPort;
    std::int16_t dst_port = link.dstPort;
    if (is_subsystem(*dst)) {
        dst = dst_port == -1 ? census.enable(dst->id()) : census.inport(dst->id(), dst_port);
        dst_port = 0;
    }
    if (is_subsystem(*src)) {
        src = census.outport(src->id(), src_port);
        src_port = 0;
    }
    if (dst == nullptr || src == nullptr) return false;
    if (!has_port(dst_port, dst->input_count()) || !has_port(src_port, src->output_count())) return false;
    if (dst != drawn_dst) link.dstId = dst->id();
    if (src != drawn_src) link.srcId = src->id();
    link.dstPort = dst_port;
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
    const Census census(blocks);
    bool touched = false;
    for (link_t& link : properties->links)
        if (!link.resolved && bind_link(link, census)) touched = true;
    if (!touched) return result_ok;

    const auto gone = swap_partition(blocks, census.subsystems());
    subsystems.insert(subsystems.end(), std::move_iterator(gone), std::move_iterator(blocks.end()));
    blocks.erase(gone, blocks.end());

    const BlockIndex outer(subsystems);
    for (IMetaBlock* enable : census.enables())
        if (const IMetaBlock* around = outer.find(enable->parent_id()); around != nullptr)
            enable->set_parent_id(around->parent_id());
    return result_ok;
}

result_t MetaModel::check_links() noexcept {
    const PassLog pass("check_links");
    for (const auto& block : blocks)
        if (block != nullptr && !block->has_all_sources()) return result_source_missing;
    return result_ok;
}

}  // namespace tessel
