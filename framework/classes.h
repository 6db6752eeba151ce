// The table of block classes, as the factory uses it and as hosts show it.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "PropertiesBlock.h"
#include "core/export.h"
#include "core/type.h"

namespace tessel {

struct block_entry_t;

inline constexpr int as_given = -1;    ///< a port count that the properties decide
inline constexpr int at_least_3 = -3;  ///< likewise, raised to 3

/// One class: its name, what its block file offers, the forced port counts, the preset types of input 0 and output 0,
/// and its parameters with units and defaults (null for none).
struct class_row_t {
    const char* name;
    const block_entry_t* entry;
    int inputs;
    int outputs;
    type_t input_type;
    type_t output_type;
    const parameters_t* defaults;
};

namespace factory {

/// All class names, sorted.
BLOCKS_API std::span<const class_row_t> class_rows() noexcept;

/// The class with that name hash, or null.
BLOCKS_API const class_row_t* find_class(std::uint32_t hash) noexcept;

/// The parameters of a class with units and defaults, null for a class that has none.
BLOCKS_API const parameters_t* defaults_of(std::string_view class_name) noexcept;

}  // namespace factory
}  // namespace tessel
