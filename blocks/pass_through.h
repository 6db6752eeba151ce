// What inport, outport and memory compute: nothing, the input goes to the output as it is.
#pragma once

#include "blocks/table.h"

namespace tessel {

/// out = in0
template <class T>
struct PassThrough {
    using in = inputs<T>;
    using out = outputs<T>;
    static constexpr bool passes_through = true;
    static T eval(T u) noexcept { return u; }
};

}  // namespace tessel
