// The runnable object that hands its input on.
#pragma once

#include "blocks/table.h"

namespace tessel {

/// y = u, for `memory` and for the boundary blocks of a model.
template <class T>
struct PassThrough {
    using in = inputs<T>;
    using out = outputs<T>;
    static T eval(T u) noexcept { return u; }
};

}  // namespace tessel
