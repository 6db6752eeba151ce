#include "blocks/table.h"
#include "framework/entries.h"

namespace tessel {
namespace {

class Sinewave final : public MetaBlock {
public:
    using MetaBlock::MetaBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("sinewave"); }
    const char* class_name() const noexcept override { return "sinewave"; }
    std::unique_ptr<ExecBlock> create_exec() override { return nullptr; }
};

}  // namespace

const block_entry_t sinewave_entry{create_block<Sinewave>, {}};

}  // namespace tessel
