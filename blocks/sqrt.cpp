#include "blocks/table.h"
#include "framework/entries.h"

namespace tessel {
namespace {

class Sqrt final : public MetaBlock {
public:
    using MetaBlock::MetaBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("sqrt"); }
    const char* class_name() const noexcept override { return "sqrt"; }
    std::unique_ptr<ExecBlock> create_exec() override { return nullptr; }
};

}  // namespace

const block_entry_t sqrt_entry{create_block<Sqrt>, {}};

}  // namespace tessel
