#include "blocks/table.h"
#include "framework/entries.h"

namespace tessel {
namespace {

class Subsys final : public MetaBlock {
public:
    using MetaBlock::MetaBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("subsys"); }
    const char* class_name() const noexcept override { return "subsys"; }
    std::unique_ptr<ExecBlock> create_exec() override { return nullptr; }
};

}  // namespace

const block_entry_t subsys_entry{create_block<Subsys>, {}};

}  // namespace tessel
