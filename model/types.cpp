// calculate_types: data types of all ports, by propagation along the links.
//
// Needs   every input bound to its source
// Does    sweeps over the blocks with untyped ports until none is left or a sweep completes no further block
// Leaves  every port typed; parameter expressions evaluated
// Fails   result_types_unresolved, or what a block's calculate_type returned

#include "model/rules/types.h"
#include "model/MetaModel.h"
#include "model/helpers.h"

namespace tessel {

result_t MetaModel::calculate_types() noexcept {
    const PassLog pass("calculate_types");
    rules::TypePolicy stop;
    return rules::sweep_types(line_up(blocks), stop);
}

}  // namespace tessel
