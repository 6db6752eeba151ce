// The table of block classes, as the factory uses it and as hosts show it.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "PropertiesBlock.h"
#include "core/export.h"
#include "framework/entry.h"

namespace tessel {

/// One class by one of its names.
struct class_row_t {
    const char* name;
    const block_entry_t* entry;

    const block_traits_t& traits() const noexcept { return entry->traits; }
};

namespace factory {

/// All class names, sorted.
BLOCKS_API std::span<const class_row_t> class_rows() noexcept;

/// The class with that name hash, or null.
BLOCKS_API const class_row_t* find_class(std::uint32_t hash) noexcept;

/// The facts of a block's class. Of a class of the host nothing is known: what holds for most.
BLOCKS_API const block_traits_t& traits_of(const IMetaBlock& block) noexcept;

/// The parameters of a class with units and defaults, null for a class that has none.
BLOCKS_API const parameters_t* defaults_of(std::string_view class_name) noexcept;

}  // namespace factory
}  // namespace tessel
