#include "blocks/table.h"
#include "framework/entries.h"

namespace tessel {
namespace {

class Poly1st final : public MetaBlock {
public:
    using MetaBlock::MetaBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("poly1st"); }
    const char* class_name() const noexcept override { return "poly1st"; }
    std::unique_ptr<ExecBlock> create_exec() override { return nullptr; }
};

}  // namespace

const block_entry_t poly1st_entry{create_block<Poly1st>, {}};

}  // namespace tessel
