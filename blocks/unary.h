// What the blocks share that apply one function of the C library to one input.
#pragma once

#include <type_traits>

#include "blocks/table.h"
#include "core/convert.h"

namespace tessel {

/// y = F(u) in one type T: float types in their own precision, integers and bool through double and back.
template <class F, class T>
struct Unary {
    using in = inputs<T>;
    using out = outputs<T>;
    static T eval(T u) noexcept {
        if constexpr (std::is_floating_point_v<T>) return F::of(u);
        else return convert<T>(F::of(convert<double>(u)));
    }
};

}  // namespace tessel
