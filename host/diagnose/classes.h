// The block classes that the checks know by name.
#pragma once

#include <cstdint>

#include "core/hash.h"

namespace zarn {

inline constexpr std::uint32_t hash_cast = tessel::class_hash_of("cast");
inline constexpr std::uint32_t hash_constant = tessel::class_hash_of("constant");
inline constexpr std::uint32_t hash_enable = tessel::class_hash_of("enable");
inline constexpr std::uint32_t hash_from = tessel::class_hash_of("from");
inline constexpr std::uint32_t hash_from_workspace = tessel::class_hash_of("from_workspace");
inline constexpr std::uint32_t hash_goto = tessel::class_hash_of("goto");
inline constexpr std::uint32_t hash_inport = tessel::class_hash_of("inport");
inline constexpr std::uint32_t hash_memory = tessel::class_hash_of("memory");
inline constexpr std::uint32_t hash_outport = tessel::class_hash_of("outport");
inline constexpr std::uint32_t hash_refsys = tessel::class_hash_of("refsys");
inline constexpr std::uint32_t hash_subsys = tessel::class_hash_of("subsys");
inline constexpr std::uint32_t hash_to_workspace = tessel::class_hash_of("to_workspace");

}  // namespace zarn
