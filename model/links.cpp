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

#include <utility>

#include "model/MetaModel.h"
#include "model/helpers.h"
#include "model/rules/binding.h"
#include "port.h"

namespace tessel {
namespace {

/// Ends a link at real blocks and binds the input. A link with an end that does not exist, or with a port out of
/// range once its ends are the inner blocks, is left as it is.
bool bind_link(link_t& link, const rules::Census& census, rules::lineup_t blocks) {
    const rules::wire_t wire{link.srcId, link.dstId, link.srcPort, link.dstPort};
    const rules::end_t dst = census.destination(wire), src = census.source(wire);
    if (!dst.well() || !src.well()) return false;
    if (dst.through != rules::nowhere) link.dstId = blocks[dst.block]->id();
    if (src.through != rules::nowhere) link.srcId = blocks[src.block]->id();
    link.dstPort = dst.port;
    link.srcPort = src.port;
    if (port_t* const input = blocks[dst.block]->input(dst.port); input != nullptr)
        input->link(blocks[src.block], src.port);
    return true;
}

}  // namespace

result_t MetaModel::clear_link_flags() noexcept {
    for (link_t& link : properties->links) link.resolved = false;
    return result_ok;
}

result_t MetaModel::create_links() noexcept {
    const PassLog pass("create_links");
    const auto all = line_up(blocks);
    const rules::Census census(all);
    bool touched = false;
    for (link_t& link : properties->links)
        if (!link.resolved && bind_link(link, census, all)) touched = true;
    if (!touched) return result_ok;

    auto gone = rules::drop(blocks, census.subsystems());
    subsystems.insert(subsystems.end(), std::move_iterator(gone.begin()), std::move_iterator(gone.end()));

    const auto outer_blocks = line_up(subsystems);
    const rules::BlockIndex outer(outer_blocks);
    for (const std::size_t i : census.enables())
        if (const IMetaBlock* around = outer.find(all[i]->parent_id()); around != nullptr)
            all[i]->set_parent_id(around->parent_id());
    return result_ok;
}

result_t MetaModel::check_links() noexcept {
    const PassLog pass("check_links");
    for (const auto& block : blocks)
        if (block != nullptr && !block->has_all_sources()) return result_source_missing;
    return result_ok;
}

}  // namespace tessel
