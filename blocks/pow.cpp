#include "blocks/table.h"
#include "framework/entries.h"

namespace tessel {
namespace {

class Pow final : public MetaBlock {
public:
    using MetaBlock::MetaBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("pow"); }
    const char* class_name() const noexcept override { return "pow"; }
    std::unique_ptr<ExecBlock> create_exec() override { return nullptr; }
};

}  // namespace

const block_entry_t pow_entry{create_block<Pow>, {}};

}  // namespace tessel
