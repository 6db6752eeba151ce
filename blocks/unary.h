// What the blocks share that apply one function of the C library to one input.
#pragma once

#include "blocks/table.h"

namespace tessel {

/// Ports of a function in one type: float types are computed in their own precision, integers and bool through double
/// and back.
template <class T>
struct Unary {
    using in = inputs<T>;
    using out = outputs<T>;
};

}  // namespace tessel
