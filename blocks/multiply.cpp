#include "blocks/table.h"
#include "framework/entries.h"

namespace tessel {
namespace {

class Multiply final : public MetaBlock {
public:
    using MetaBlock::MetaBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("multiply"); }
    const char* class_name() const noexcept override { return "multiply"; }
    std::unique_ptr<ExecBlock> create_exec() override { return nullptr; }
};

}  // namespace

const block_entry_t multiply_entry{create_block<Multiply>, {}};

}  // namespace tessel
