// The block classes that the checks know by name.
#pragma once

#include "framework/structure.h"

namespace zarn {

using tessel::hash_cast, tessel::hash_constant, tessel::hash_enable, tessel::hash_from, tessel::hash_from_workspace,
    tessel::hash_goto, tessel::hash_inport, tessel::hash_outport, tessel::hash_refsys, tessel::hash_subsys,
    tessel::hash_to_workspace;

}  // namespace zarn
