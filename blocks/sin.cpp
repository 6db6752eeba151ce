#include "blocks/table.h"
#include "framework/entries.h"

namespace tessel {
namespace {

class Sin final : public MetaBlock {
public:
    using MetaBlock::MetaBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("sin"); }
    const char* class_name() const noexcept override { return "sin"; }
    std::unique_ptr<ExecBlock> create_exec() override { return nullptr; }
};

}  // namespace

const block_entry_t sin_entry{create_block<Sin>, {}};

}  // namespace tessel
