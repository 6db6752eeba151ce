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

bool is_goto_or_from(const IMetaBlock& block) {
    return block.class_hash() == hash_goto || block.class_hash() == hash_from;
}

/// The links out of `from` blocks and into gotos, while gotos are dissolved one after the other.
class LinkTable {
public:
    LinkTable(std::vector<link_t>& links, const blocks_t& blocks) : links_(links), alive_(links.size(), true) {
        for (const auto& block : blocks) {
            if (block == nullptr) continue;
            if (block->class_hash() == hash_from) out_of_.try_emplace(block->id());
            if (block->class_hash() == hash_goto) into_.try_emplace(block->id());
        }
        for (std::size_t i = 0; i < links.size(); ++i) note(i);
    }
    const link_t& at(std::size_t position) const { return links_[position]; }

    /// Positions of the links out of a `from` block, or into a goto, in list order.
    const std::vector<std::size_t>& out_of(std::uint64_t from) { return living(out_of_.at(from)); }
    const std::vector<std::size_t>& into(std::uint64_t goto_id) { return living(into_.at(goto_id)); }

    void append(link_t link) {
        links_.push_back(std::move(link));
        alive_.push_back(true);
        note(links_.size() - 1);
    }
    void remove(std::size_t position) { alive_[position] = false; }
    /// Erases what was removed.
    void finish() {
        std::size_t kept = 0;
        for (std::size_t i = 0; i < links_.size(); ++i) {
            if (!alive_[i]) continue;
            if (kept != i) links_[kept] = std::move(links_[i]);
            ++kept;
        }
        links_.resize(kept);
    }

private:
    using positions_t = std::unordered_map<std::uint64_t, std::vector<std::size_t>>;
    void note(std::size_t i) {
        if (const auto from = out_of_.find(links_[i].srcId); from != out_of_.end()) from->second.push_back(i);
        if (const auto target = into_.find(links_[i].dstId); target != into_.end()) target->second.push_back(i);
    }
    const std::vector<std::size_t>& living(std::vector<std::size_t>& positions) const {
        std::erase_if(positions, [this](std::size_t i) { return !alive_[i]; });
        return positions;
    }

    std::vector<link_t>& links_;
    std::vector<bool> alive_;
    positions_t out_of_;
    positions_t into_;
};

using from_blocks_t = std::vector<const IMetaBlock*>;

/// Joins the link into one goto with the links out of its `from` blocks; false when there is none into it.
bool join_goto(std::uint64_t goto_id, const from_blocks_t& from_blocks, LinkTable& links) {
    const auto into = links.into(goto_id);
    if (into.empty()) return false;
    const link_t in = links.at(into.front());
    std::vector<link_t> joined;
    for (const IMetaBlock* from : from_blocks) {
        for (const std::size_t i : links.out_of(from->id())) {
            const link_t& out = links.at(i);
            joined.push_back(
                {in.srcId, out.dstId, in.srcPort, out.dstPort, in.label + '#' + out.label, {}, false, false});
        }
    }
    // what is parallel to a joined link goes with it
    for (const IMetaBlock* from : from_blocks)
        for (const std::size_t i : links.out_of(from->id())) links.remove(i);
    for (const std::size_t i : into)
        if (links.at(i).srcId == in.srcId) links.remove(i);
    for (link_t& link : joined) links.append(std::move(link));
    return true;
}

/// Joins the links around every goto; the code of the first that has no link into it.
result_t join_links(const blocks_t& blocks, LinkTable& links) {
    std::unordered_map<std::string, from_blocks_t> from_blocks;
    for (const auto& block : blocks)
        if (block != nullptr && block->class_hash() == hash_from)
            from_blocks[block->param("target").text()].push_back(block.get());
    for (const auto& block : blocks) {
        if (block == nullptr || block->class_hash() != hash_goto) continue;
        if (!join_goto(block->id(), from_blocks[block->param("target").text()], links)) return result_from_unresolved;
    }
    return result_ok;
}

}  // namespace

result_t MetaModel::reroute_due_to_goto() noexcept {
    const PassLog pass("reroute_due_to_goto");
    auto dissolved = which(blocks, is_goto_or_from);
    if (std::ranges::find(dissolved, true) == dissolved.end()) return result_ok;
    {
        LinkTable links(properties->links, blocks);
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

    blocks.erase(swap_partition(blocks, std::move(dissolved)), blocks.end());
    return result_ok;
}

}  // namespace tessel
