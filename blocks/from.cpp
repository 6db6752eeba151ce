// from: delivers the signal of the goto block with the same target, without a drawn line. A drawing device: compile
// replaces the pair by a direct link and takes both out of the model.
//
// Inputs     none
// Output     0: y            never typed here: the type is that of the goto block's source
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

class From final : public MetaBlock {
public:
    using MetaBlock::MetaBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("from"); }
    const char* class_name() const noexcept override { return "from"; }
    result_t calculate_type() override { return result_ok; }
    std::int8_t calculate_zone() noexcept override;
};

std::int8_t From::calculate_zone() noexcept {
    zone_ = 0;
    return 0;
}

// ---- what others know of it
constexpr block_traits_t traits{
    .family = family_t::structure,
    .input_count = 0,
    .inputs = {},
    .parameters = parameters,
    .steps_first = true,
    .outline = outline_t::from_tag,
    .caption = "[{target}]",
    .everyday = {"receive", "from tag", "tag in"},
    .text = {.silent = true},
};

}  // namespace

extern const block_entry_t from_entry{create_block<From>, {}, traits};

}  // namespace tessel
