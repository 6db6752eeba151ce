#include "blocks/table.h"
#include "framework/entries.h"

namespace tessel {
namespace {

class Unpack final : public MetaBlock {
public:
    using MetaBlock::MetaBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("unpack"); }
    const char* class_name() const noexcept override { return "unpack"; }
    std::unique_ptr<ExecBlock> create_exec() override { return nullptr; }
};

}  // namespace

const block_entry_t unpack_entry{create_block<Unpack>, {}};

}  // namespace tessel
