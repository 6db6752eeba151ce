// How a kernel names the types of its ports.
#pragma once

#include <cstddef>

namespace tessel {

template <class... T>
struct inputs {};
template <class... T>
struct outputs {};

/// N inputs of one type, as for `switch` and `logical`.
template <class T, std::size_t N>
struct same_inputs {};

}  // namespace tessel
