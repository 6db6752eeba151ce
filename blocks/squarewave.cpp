#include "blocks/table.h"
#include "framework/entries.h"

namespace tessel {
namespace {

class Squarewave final : public MetaBlock {
public:
    using MetaBlock::MetaBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("squarewave"); }
    const char* class_name() const noexcept override { return "squarewave"; }
    std::unique_ptr<ExecBlock> create_exec() override { return nullptr; }
};

}  // namespace

const block_entry_t squarewave_entry{create_block<Squarewave>, {}};

}  // namespace tessel
