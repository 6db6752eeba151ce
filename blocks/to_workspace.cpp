#include "blocks/table.h"
#include "framework/entries.h"

namespace tessel {
namespace {

class ToWorkspace final : public MetaBlock {
public:
    using MetaBlock::MetaBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("to_workspace"); }
    const char* class_name() const noexcept override { return "to_workspace"; }
    std::unique_ptr<ExecBlock> create_exec() override { return nullptr; }
};

}  // namespace

const block_entry_t to_workspace_entry{create_block<ToWorkspace>, {}};

}  // namespace tessel
