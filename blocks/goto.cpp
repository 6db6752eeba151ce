// goto: sends a signal to the from block with the same target, without a drawn line. A drawing device: compile replaces
// the pair by a direct link and takes both out of the model.
//
// Inputs     0: u
// Outputs    none
// Parameters target          the name that joins the pair
// State      none
#include "framework/MetaBlock.h"
#include "framework/entries.h"

namespace tessel {
namespace {

class Goto final : public MetaBlock {
public:
    using MetaBlock::MetaBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("goto"); }
    const char* class_name() const noexcept override { return "goto"; }
    std::unique_ptr<ExecBlock> create_exec() override { return nullptr; }
};

}  // namespace

const block_entry_t goto_entry{create_block<Goto>, {}};

}  // namespace tessel
