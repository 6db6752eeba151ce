#include "blocks/table.h"
#include "framework/entries.h"

namespace tessel {
namespace {

class Switch final : public MetaBlock {
public:
    using MetaBlock::MetaBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("switch"); }
    const char* class_name() const noexcept override { return "switch"; }
    std::unique_ptr<ExecBlock> create_exec() override { return nullptr; }
};

}  // namespace

const block_entry_t switch_entry{create_block<Switch>, {}};

}  // namespace tessel
