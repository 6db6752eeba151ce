// What display and enable run as: an object that samples its one input and does nothing with it.
#pragma once

#include "blocks/table.h"

namespace tessel {

template <class T>
struct HoldRule {
    static constexpr bool accepted = true;
    static constexpr signature_t row() {
        return detail::row_of<HoldExec<inputs<T>, outputs<>>, inputs<T>, outputs<>>();
    }
};

}  // namespace tessel
