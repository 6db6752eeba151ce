#include "blocks/table.h"
#include "framework/entries.h"

namespace tessel {
namespace {

class Lut1d final : public MetaBlock {
public:
    using MetaBlock::MetaBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("lut1d"); }
    const char* class_name() const noexcept override { return "lut1d"; }
    std::unique_ptr<ExecBlock> create_exec() override { return nullptr; }
};

}  // namespace

const block_entry_t lut1d_entry{create_block<Lut1d>, {}};

}  // namespace tessel
