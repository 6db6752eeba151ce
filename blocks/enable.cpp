// enable: switches its subsystem on and off.
//
//   the blocks of the subsystem run in a step where u is true
//
// Inputs     0: u            bool unless it has a type by other means; the model hands the address of its value cell to
//                            the blocks that it governs
// Outputs    none, as usually drawn
// State      none
//
// Generated code tests the source of u around the subsystem's blocks; the block itself writes nothing.
#include "blocks/hold.h"
#include "framework/entry.h"

namespace tessel {
namespace {

// ---- run time
constexpr auto table = kernel_table<Hold, value_types>();
static_assert(table.size() == 11);

// ---- design level: type rule, runnable
class Enable final : public MetaBlock {
public:
    using MetaBlock::MetaBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("enable"); }
    const char* class_name() const noexcept override { return "enable"; }
    result_t calculate_type() override;
    form_t form() override { return {row_in(table)}; }
};

result_t Enable::calculate_type() {
    inputs_[0].set_type_if_unset(type_bool);
    return result_ok;
}

// ---- what others know of it
constexpr block_traits_t traits{
    .family = family_t::structure,
    .output_count = as_given,
    .outputs = {},
    .icon = icon_t::pulse,
    .everyday = {"gate", "trigger", "enabled subsystem", "activate"},
    .text = {.silent = true},
};

}  // namespace

extern const block_entry_t enable_entry{create_block<Enable>, table, traits};

}  // namespace tessel
