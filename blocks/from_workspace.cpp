#include "blocks/table.h"
#include "framework/entries.h"

namespace tessel {
namespace {

class FromWorkspace final : public MetaBlock {
public:
    using MetaBlock::MetaBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("from_workspace"); }
    const char* class_name() const noexcept override { return "from_workspace"; }
    std::unique_ptr<ExecBlock> create_exec() override { return nullptr; }
};

}  // namespace

const block_entry_t from_workspace_entry{create_block<FromWorkspace>, {}};

}  // namespace tessel
