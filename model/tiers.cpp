// calculate_tiers: the nesting level of every block.
//
// Needs   the subsystem tree whole
// Does    counts the subsystems around a block; an enable block counts as one level further out
// Leaves  `tier` of every block
// Fails   never

#include "model/MetaModel.h"
#include "model/helpers.h"
#include "model/rules/tree.h"

namespace tessel {

result_t MetaModel::calculate_tiers() noexcept {
    const PassLog pass("calculate_tiers");
    rules::set_tiers(line_up(blocks));
    return result_ok;
}

}  // namespace tessel
