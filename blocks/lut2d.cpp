#include "blocks/table.h"
#include "framework/entries.h"

namespace tessel {
namespace {

class Lut2d final : public MetaBlock {
public:
    using MetaBlock::MetaBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("lut2d"); }
    const char* class_name() const noexcept override { return "lut2d"; }
    std::unique_ptr<ExecBlock> create_exec() override { return nullptr; }
};

}  // namespace

const block_entry_t lut2d_entry{create_block<Lut2d>, {}};

}  // namespace tessel
