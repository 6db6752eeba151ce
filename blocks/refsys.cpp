// refsys: a container whose blocks come from another model file. A drawing device like subsys.
//
// Inputs, outputs    as drawn
// Parameters         path: the model file, read in below this block when the model is loaded
// State              none
#include "framework/MetaBlock.h"
#include "framework/entries.h"

namespace tessel {
namespace {

class Refsys final : public MetaBlock {
public:
    using MetaBlock::MetaBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("refsys"); }
    const char* class_name() const noexcept override { return "refsys"; }
    std::unique_ptr<ExecBlock> create_exec() override { return nullptr; }
};

}  // namespace

const block_entry_t refsys_entry{create_block<Refsys>, {}};

}  // namespace tessel
