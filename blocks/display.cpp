#include "blocks/table.h"
#include "framework/entries.h"

namespace tessel {
namespace {

class Display final : public MetaBlock {
public:
    using MetaBlock::MetaBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("display"); }
    const char* class_name() const noexcept override { return "display"; }
    std::unique_ptr<ExecBlock> create_exec() override { return nullptr; }
};

}  // namespace

const block_entry_t display_entry{create_block<Display>, {}};

}  // namespace tessel
