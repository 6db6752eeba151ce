// What the maps of blocks and models raise for a key that is not there.
#pragma once

#include <stdexcept>

namespace tessel {

/// The same text for every map and with every standard library: hosts compare it.
[[noreturn]] inline void raise_missing_key() { throw std::out_of_range("invalid unordered_map<K, T> key"); }

}  // namespace tessel
