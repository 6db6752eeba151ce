// refsys: a container whose blocks come from another model file. A drawing device like subsys.
//
// Inputs, outputs    as drawn
// Parameters         path: the model file, read in below this block when the model is loaded
// State              none
#include "framework/MetaBlock.h"
#include "framework/entry.h"

namespace tessel {
namespace {

// ---- parameters
constexpr parameter_traits_t parameters[] = {
    {
        .key = "path",
        .meaning = "the model file, read in below this block when the model is loaded",
        .value = "",
        .content = content_t::path,
        .everyday = {"file", "model", "reference"},
    },
};

class Refsys final : public MetaBlock {
public:
    using MetaBlock::MetaBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("refsys"); }
    const char* class_name() const noexcept override { return "refsys"; }
};

// ---- what others know of it
constexpr block_traits_t traits{
    .family = family_t::structure,
    .input_count = as_given,
    .output_count = as_given,
    .inputs = {},
    .outputs = {},
    .parameters = parameters,
    .outline = outline_t::frame,
    .caption = "{path}",
    .everyday = {"reference", "model reference", "include", "import"},
    .text = {.silent = true},
};

}  // namespace

extern const block_entry_t refsys_entry{create_block<Refsys>, {}, traits};

}  // namespace tessel
