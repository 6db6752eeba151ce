// reroute_due_to_goto: goto and from blocks become direct links.
//
// Needs   the links as drawn
// Does    joins the link into each goto with every link out of the from blocks of its target
// Leaves  no goto and no from in the live list, no link that touches one
// Fails   result_from_unresolved, result_goto_unresolved; what was joined before stays joined

#include <string>
#include <utility>

#include "model/MetaModel.h"
#include "model/helpers.h"

namespace tessel {
namespace {

/// The links by their ends while gotos are dissolved one after the other. `order` numbers them as the list would hold
/// them: joined links go to its end.
class LinkTable {
public:
    explicit LinkTable(std::vector<link_t>& links) : links_(links), alive_(links.size(), true) {
        for (std::size_t i = 0; i < links.size(); ++i) note(i);
    }
    /// Positions of the links out of, or into, a block, in list order.
    std::vector<std::size_t> from(std::uint64_t id) const { return living(by_source_, id); }
    std::vector<std::size_t> into(std::uint64_t id) const { return living(by_target_, id); }
    const link_t& at(std::size_t position) const { return links_[position]; }

    void append(link_t link) {
        links_.push_back(std::move(link));
        alive_.push_back(true);
        note(links_.size() - 1);
    }
    void remove(std::uint64_t src, std::uint64_t dst) {
        for (const std::size_t i : into(dst))
            if (links_[i].srcId == src) alive_[i] = false;
    }
    /// Erases what was removed.
    void finish() {
        std::size_t kept = 0;
        for (std::size_t i = 0; i < links_.size(); ++i)
            if (alive_[i]) {
                if (kept != i) links_[kept] = std::move(links_[i]);
                ++kept;
            }
        links_.resize(kept);
    }

private:
    using positions_t = std::unordered_map<std::uint64_t, std::vector<std::size_t>>;
    void note(std::size_t i) {
        by_source_[links_[i].srcId].push_back(i);
        by_target_[links_[i].dstId].push_back(i);
    }
    std::vector<std::size_t> living(const positions_t& positions, std::uint64_t id) const {
        std::vector<std::size_t> found;
        if (const auto entry = positions.find(id); entry != positions.end())
            for (const std::size_t i : entry->second)
                if (alive_[i]) found.push_back(i);
        return found;
    }

    std::vector<link_t>& links_;
    std::vector<bool> alive_;
    positions_t by_source_;
    positions_t by_target_;
};

bool is_goto_or_from(const IMetaBlock& block) {
    return block.class_hash() == hash_goto || block.class_hash() == hash_from;
}

/// Joins the links around every goto; the code of the first that has no link into it.
result_t join_links(const blocks_t& blocks, LinkTable& links) {
    std::unordered_map<std::string, std::vector<const IMetaBlock*>> from_blocks;
    for (const auto& block : blocks)
        if (block != nullptr && block->class_hash() == hash_from)
            from_blocks[block->param("target").text()].push_back(block.get());

    for (const auto& block : blocks) {
        if (block == nullptr || block->class_hash() != hash_goto) continue;
        const auto into = links.into(block->id());
        if (into.empty()) return result_from_unresolved;
        const link_t in = links.at(into.front());
        std::vector<link_t> joined;
        std::vector<std::pair<std::uint64_t, std::uint64_t>> gone;
        if (const auto same = from_blocks.find(block->param("target").text()); same != from_blocks.end()) {
            for (const IMetaBlock* from : same->second) {
                for (const std::size_t i : links.from(from->id())) {
                    const link_t& out = links.at(i);
                    gone.emplace_back(out.srcId, out.dstId);
                    joined.push_back(
                        {in.srcId, out.dstId, in.srcPort, out.dstPort, in.label + '#' + out.label, {}, false, false});
                }
            }
        }
        gone.emplace_back(in.srcId, in.dstId);
        for (const auto& [src, dst] : gone) links.remove(src, dst);
        for (link_t& link : joined) links.append(std::move(link));
    }
    return result_ok;
}

}  // namespace

result_t MetaModel::reroute_due_to_goto() noexcept {
    const PassLog pass("reroute_due_to_goto");
    {
        LinkTable links(properties->links);
        const result_t result = join_links(blocks, links);
        links.finish();
        if (result != result_ok) return result;
    }

    const BlockIndex index(blocks);
    for (const link_t& link : properties->links) {
        IMetaBlock* const src = index.find(link.srcId);
        IMetaBlock* const dst = index.find(link.dstId);
        if (src == nullptr || dst == nullptr) continue;
        for (IMetaBlock* end : {src, dst}) {
            if (!is_goto_or_from(*end)) continue;
            end->set_failed(true);
            return end->class_hash() == hash_from ? result_from_unresolved : result_goto_unresolved;
        }
    }

    blocks.erase(swap_partition(blocks, is_goto_or_from), blocks.end());
    return result_ok;
}

}  // namespace tessel
