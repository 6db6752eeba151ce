#include "blocks/table.h"
#include "framework/entries.h"

namespace tessel {
namespace {

class If final : public MetaBlock {
public:
    using MetaBlock::MetaBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("if"); }
    const char* class_name() const noexcept override { return "if"; }
    std::unique_ptr<ExecBlock> create_exec() override { return nullptr; }
};

}  // namespace

const block_entry_t if_entry{create_block<If>, {}};

}  // namespace tessel
