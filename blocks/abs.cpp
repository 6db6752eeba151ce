#include "blocks/table.h"
#include "framework/entries.h"

namespace tessel {
namespace {

class Abs final : public MetaBlock {
public:
    using MetaBlock::MetaBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("abs"); }
    const char* class_name() const noexcept override { return "abs"; }
    std::unique_ptr<ExecBlock> create_exec() override { return nullptr; }
};

}  // namespace

const block_entry_t abs_entry{create_block<Abs>, {}};

}  // namespace tessel
