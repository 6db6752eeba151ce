// reroute_due_to_goto: goto and from blocks become direct links.
//
// Needs   the links as drawn
// Does    joins the link into each goto with every link out of the from blocks of its target
// Leaves  no goto and no from in the live list, no link that touches one
// Fails   result_from_unresolved, result_goto_unresolved; what was joined before stays joined

#include <algorithm>

#include "model/MetaModel.h"
#include "model/helpers.h"
#include "model/reroute.h"
#include "model/rules/rerouting.h"

namespace tessel {

result_t MetaModel::reroute_due_to_goto() noexcept {
    const PassLog pass("reroute_due_to_goto");
    const auto all = line_up(blocks);
    auto dissolved = rules::which(all, is_goto_or_from);
    if (std::ranges::find(dissolved, true) == dissolved.end()) return result_ok;

    using kind_t = rules::reroute_t::kind_t;
    result_t result = result_ok;
    const auto tell = [&](const rules::reroute_t& found) {
        if (found.kind == kind_t::no_source) {
            result = result_from_unresolved;
        } else if (found.kind == kind_t::touches) {
            all[found.block]->set_failed(true);
            result = all[found.block]->class_hash() == hash_from ? result_from_unresolved : result_goto_unresolved;
        }
        return result == result_ok;
    };
    rules::Wires wires = draw(properties->links);
    if (rules::join_gotos(all, wires, tell)) rules::find_touching(all, wires, is_goto_or_from, tell);
    take_over(wires, properties->links);
    if (result == result_ok) rules::drop(blocks, std::move(dissolved));
    return result;
}

}  // namespace tessel
