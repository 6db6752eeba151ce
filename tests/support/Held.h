// A kernel without a step, for objects whose cells the test fills.
#pragma once

#include "exec/Exec.h"

namespace tessel::test {

template <class In, class Out>
struct Held {
    using in = In;
    using out = Out;
};
template <class T>
struct Held<inputs<>, outputs<T>> {
    using in = inputs<>;
    using out = outputs<T>;
    static void configure(const void*) noexcept {}
    static T eval(double, T y) noexcept { return y; }
};

template <class In, class Out>
using HeldExec = HoldExec<Held<In, Out>>;

}  // namespace tessel::test
