// from: delivers the signal of the goto block with the same target, without a drawn line. A drawing device: compile
// replaces the pair by a direct link and takes both out of the model.
//
// Inputs     none
// Output     0: y            never typed here: the type is that of the goto block's source
// Parameters target          the name that joins the pair
// State      none
#include "framework/MetaBlock.h"
#include "framework/entries.h"

namespace tessel {
namespace {

class From final : public MetaBlock {
public:
    using MetaBlock::MetaBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("from"); }
    const char* class_name() const noexcept override { return "from"; }
    result_t calculate_type() override { return result_ok; }
    std::int8_t calculate_zone() noexcept override;
    std::unique_ptr<ExecBlock> create_exec() override { return nullptr; }
};

std::int8_t From::calculate_zone() noexcept {
    zone_ = 0;
    return 0;
}

}  // namespace

const block_entry_t from_entry{create_block<From>, {}};

}  // namespace tessel
