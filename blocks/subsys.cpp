// subsys: a container of blocks. A drawing device: compile joins its links to the inport, outport and enable blocks
// inside and takes it out of the model, so it never runs and writes no code.
//
// Inputs, outputs    as drawn
// Parameters         none
// State              none
#include "framework/MetaBlock.h"
#include "framework/entry.h"

namespace tessel {
namespace {

class Subsys final : public MetaBlock {
public:
    using MetaBlock::MetaBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("subsys"); }
    const char* class_name() const noexcept override { return "subsys"; }
};

// ---- what others know of it
constexpr block_traits_t traits{
    .family = family_t::structure,
    .input_count = as_given,
    .output_count = as_given,
    .inputs = {},
    .outputs = {},
    .outline = outline_t::frame,
    .caption = "",
    .everyday = {"submodel", "group", "container", "block group"},
    .text = {.silent = true},
};

}  // namespace

extern const block_entry_t subsys_entry{create_block<Subsys>, {}, traits};

}  // namespace tessel
