// What display and enable run as: an object that samples its one input and does nothing with it.
#pragma once

#include "blocks/table.h"

namespace tessel {

/// takes in0
template <class T>
struct Hold {
    using in = inputs<T>;
    using out = outputs<>;
    static constexpr bool holds = true;
    static T taken(T u) noexcept { return u; }
};

}  // namespace tessel
