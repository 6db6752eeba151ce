#include "blocks/table.h"
#include "framework/entries.h"

namespace tessel {
namespace {

class Mod final : public MetaBlock {
public:
    using MetaBlock::MetaBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("mod"); }
    const char* class_name() const noexcept override { return "mod"; }
    std::unique_ptr<ExecBlock> create_exec() override { return nullptr; }
};

}  // namespace

const block_entry_t mod_entry{create_block<Mod>, {}};

}  // namespace tessel
