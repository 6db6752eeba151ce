#include "blocks/table.h"
#include "framework/entries.h"

namespace tessel {
namespace {

class Outport final : public MetaBlock {
public:
    using MetaBlock::MetaBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("outport"); }
    const char* class_name() const noexcept override { return "outport"; }
    std::unique_ptr<ExecBlock> create_exec() override { return nullptr; }
};

}  // namespace

const block_entry_t outport_entry{create_block<Outport>, {}};

}  // namespace tessel
