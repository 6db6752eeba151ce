// reroute_due_to_cast: cast blocks become direct links.
//
// Needs   types and zones: the type that a cast stands for is on the ports behind it
// Does    joins the first link into each cast with every link out of it
// Leaves  no cast in the live list; the inputs behind one unbound until create_links binds them anew
// Fails   result_cast_unresolved: a cast with a link out and none in, or a link that still touches a cast afterwards,
//         as between two casts in a row

#include <algorithm>

#include "model/MetaModel.h"
#include "model/helpers.h"
#include "model/reroute.h"
#include "model/rules/rerouting.h"
#include "port.h"

namespace tessel {
namespace {

/// Leaves nothing bound to a block that goes: a link that create_links passes over binds no input anew.
void unbind_casts(const blocks_t& blocks) {
    for (const auto& block : blocks) {
        if (block == nullptr) continue;
        for (std::uint64_t i = 0; i < block->input_count(); ++i) {
            port_t* const input = block->input(static_cast<std::int16_t>(i));
            if (input == nullptr || input->source_block() == nullptr || !is_cast(*input->source_block())) continue;
            const type_t type = input->type();
            *input = port_t();
            input->set_type(type);
        }
    }
}

}  // namespace

result_t MetaModel::reroute_due_to_cast() noexcept {
    const PassLog pass("reroute_due_to_cast");
    const auto all = line_up(blocks);
    auto casts = rules::which(all, is_cast);
    if (std::ranges::find(casts, true) == casts.end()) return result_ok;

    result_t result = result_ok;
    const auto tell = [&](const rules::reroute_t& found) {
        if (found.kind == rules::reroute_t::kind_t::touches) all[found.block]->set_failed(true);
        result = result_cast_unresolved;
        return false;
    };
    rules::Wires wires = draw(properties->links);
    if (!rules::join_casts(all, wires, tell)) return result;
    rules::find_touching(all, wires, is_cast, tell);
    take_over(wires, properties->links);
    if (result != result_ok) return result;

    unbind_casts(blocks);
    rules::drop(blocks, std::move(casts));
    return result_ok;
}

}  // namespace tessel
