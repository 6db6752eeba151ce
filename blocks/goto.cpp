// goto: sends a signal to the from block with the same target, without a drawn line. A drawing device: compile replaces
// the pair by a direct link and takes both out of the model.
//
// Inputs     0: u
// Outputs    none
// Parameters target          the name that joins the pair
// State      none
#include "framework/MetaBlock.h"
#include "framework/entry.h"

namespace tessel {
namespace {

// ---- parameters
constexpr parameter_traits_t parameters[] = {
    {
        .key = "target",
        .meaning = "name that joins the pair",
        .value = "",
        .content = content_t::label,
        .everyday = {"tag", "label", "signal"},
    },
};

class Goto final : public MetaBlock {
public:
    using MetaBlock::MetaBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("goto"); }
    const char* class_name() const noexcept override { return "goto"; }
};

// ---- what others know of it
constexpr block_traits_t traits{
    .family = family_t::structure,
    .output_count = 0,
    .outputs = {},
    .parameters = parameters,
    .outline = outline_t::goto_tag,
    .caption = "[{target}]",
    .everyday = {"send", "goto tag", "tag out"},
    .text = {.silent = true},
};

}  // namespace

extern const block_entry_t goto_entry{create_block<Goto>, {}, traits};

}  // namespace tessel
