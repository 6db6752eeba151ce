// build_enable_map: which enable block gates which block.
//
// Needs   the subsystem tree whole, as loaded
// Does    walks up from every block to the nearest subsystem with an enable block
// Leaves  an entry for every block's id in the properties' enable map; an entry that is there already stays
// Fails   never

#include "model/MetaModel.h"
#include "model/helpers.h"
#include "model/rules/tree.h"

namespace tessel {

result_t MetaModel::build_enable_map() noexcept {
    const PassLog pass("build_enable_map");
    rules::add_enables(line_up(blocks), properties->enable_map);
    return result_ok;
}

}  // namespace tessel
