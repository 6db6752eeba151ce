// The entry of every block class: what the factory knows of the block files.
#pragma once

#include <memory>

#include "IMetaBlock.h"
#include "PropertiesBlock.h"
#include "framework/signature.h"

namespace tessel {

/// What a block file offers: its creator and the type combinations that it can run.
struct block_entry_t {
    std::unique_ptr<IMetaBlock> (*create)(std::shared_ptr<PropertiesBlock> properties);
    signatures_t accepted;
};

extern const block_entry_t abs_entry;
extern const block_entry_t acc_entry;
extern const block_entry_t acos_entry;
extern const block_entry_t add_entry;
extern const block_entry_t asin_entry;
extern const block_entry_t atan_entry;
extern const block_entry_t cast_entry;
extern const block_entry_t clamp_entry;
extern const block_entry_t constant_entry;
extern const block_entry_t cos_entry;
extern const block_entry_t debounce_entry;
extern const block_entry_t delta_entry;
extern const block_entry_t display_entry;
extern const block_entry_t divide_entry;
extern const block_entry_t enable_entry;
extern const block_entry_t from_entry;
extern const block_entry_t from_workspace_entry;
extern const block_entry_t goto_entry;
extern const block_entry_t hysteresis_entry;
extern const block_entry_t if_entry;
extern const block_entry_t inport_entry;
extern const block_entry_t lerp_entry;
extern const block_entry_t log_entry;
extern const block_entry_t logical_entry;
extern const block_entry_t lut1d_entry;
extern const block_entry_t lut2d_entry;
extern const block_entry_t max_entry;
extern const block_entry_t memory_entry;
extern const block_entry_t min_entry;
extern const block_entry_t mod_entry;
extern const block_entry_t multiply_entry;
extern const block_entry_t not_entry;
extern const block_entry_t outport_entry;
extern const block_entry_t poly1st_entry;
extern const block_entry_t pow_entry;
extern const block_entry_t random_entry;
extern const block_entry_t refsys_entry;
extern const block_entry_t relational_entry;
extern const block_entry_t sin_entry;
extern const block_entry_t sinewave_entry;
extern const block_entry_t sqrt_entry;
extern const block_entry_t squarewave_entry;
extern const block_entry_t step_entry;
extern const block_entry_t subsys_entry;
extern const block_entry_t subtract_entry;
extern const block_entry_t switch_entry;
extern const block_entry_t tan_entry;
extern const block_entry_t time_entry;
extern const block_entry_t to_workspace_entry;
extern const block_entry_t unpack_entry;

/// Makes a block of class `Block`.
template <class Block>
std::unique_ptr<IMetaBlock> create_block(std::shared_ptr<PropertiesBlock> properties) {
    return std::make_unique<Block>(std::move(properties));
}

}  // namespace tessel
