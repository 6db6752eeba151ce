// reroute_due_to_cast: cast blocks become direct links.
//
// Needs   types and zones: the type that a cast stands for is on the ports behind it
// Does    joins the first link into each cast with every link out of it
// Leaves  no cast in the live list; the inputs behind one without a source until create_links binds them anew, which it
//         does not where the joined link leads to a port that does not exist
// Fails   result_cast_unresolved: a cast with a link out and none in, or a link that still touches a cast afterwards,
//         as between two casts in a row

#include <set>
#include <utility>

#include "model/MetaModel.h"
#include "model/helpers.h"
#include "port.h"

namespace tessel {
namespace {

bool is_cast(const IMetaBlock& block) { return block.class_hash() == hash_cast; }

/// Leaves the inputs behind casts without a source. Their types stay.
void unlink_casts(const blocks_t& blocks) {
    for (const auto& block : blocks) {
        if (block == nullptr) continue;
        for (std::uint64_t i = 0; i < block->input_count(); ++i) {
            port_t& input = *block->input(static_cast<std::int16_t>(i));
            const IMetaBlock* const source = input.source_block();
            if (source == nullptr || !is_cast(*source)) continue;
            port_t open;
            open.set_type_if_unset(input.type());
            input = open;
        }
    }
}

}  // namespace

result_t MetaModel::reroute_due_to_cast() noexcept {
    const PassLog pass("reroute_due_to_cast");
    auto casts = which(blocks, is_cast);
    if (std::ranges::find(casts, true) == casts.end()) return result_ok;
    const BlockIndex index(blocks);
    auto& links = properties->links;

    std::unordered_map<std::uint64_t, const link_t*> first_into;
    for (const link_t& link : links) first_into.try_emplace(link.dstId, &link);

    std::set<std::pair<std::uint64_t, std::uint64_t>> gone;
    std::vector<link_t> joined;
    for (const link_t& link : links) {
        const IMetaBlock* const cast = index.find(link.srcId);
        if (cast == nullptr || !is_cast(*cast)) continue;
        const auto found = first_into.find(link.srcId);
        if (found == first_into.end()) return result_cast_unresolved;
        const link_t& in = *found->second;
        gone.emplace(link.srcId, link.dstId);
        gone.emplace(in.srcId, in.dstId);
        joined.push_back(
            {in.srcId, link.dstId, in.srcPort, link.dstPort, in.label + '#' + link.label, {}, false, false});
    }
    if (!gone.empty()) std::erase_if(links, [&gone](const link_t& l) { return gone.contains({l.srcId, l.dstId}); });
    std::ranges::move(joined, std::back_inserter(links));

    for (const link_t& link : links) {
        IMetaBlock* const src = index.find(link.srcId);
        IMetaBlock* const dst = index.find(link.dstId);
        if (src == nullptr || dst == nullptr) continue;
        for (IMetaBlock* end : {src, dst}) {
            if (!is_cast(*end)) continue;
            end->set_failed(true);
            return result_cast_unresolved;
        }
    }

    unlink_casts(blocks);
    blocks.erase(swap_partition(blocks, std::move(casts)), blocks.end());
    return result_ok;
}

}  // namespace tessel
