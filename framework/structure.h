// The classes of which a diagram is made rather than a calculation, and the few others that an algorithm must know: by
// the hash of their names, which blocks carry. What can be said of a class as a fact stands beside its entry instead.
#pragma once

#include <cstdint>

#include "core/hash.h"

namespace tessel {

inline constexpr std::uint32_t hash_cast = class_hash_of("cast");
inline constexpr std::uint32_t hash_constant = class_hash_of("constant");
inline constexpr std::uint32_t hash_enable = class_hash_of("enable");
inline constexpr std::uint32_t hash_from = class_hash_of("from");
inline constexpr std::uint32_t hash_from_workspace = class_hash_of("from_workspace");
inline constexpr std::uint32_t hash_goto = class_hash_of("goto");
inline constexpr std::uint32_t hash_inport = class_hash_of("inport");
inline constexpr std::uint32_t hash_outport = class_hash_of("outport");
inline constexpr std::uint32_t hash_refsys = class_hash_of("refsys");
inline constexpr std::uint32_t hash_subsys = class_hash_of("subsys");
inline constexpr std::uint32_t hash_to_workspace = class_hash_of("to_workspace");

}  // namespace tessel
