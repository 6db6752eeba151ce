#include "blocks/table.h"
#include "framework/entries.h"

namespace tessel {
namespace {

class Log final : public MetaBlock {
public:
    using MetaBlock::MetaBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("log"); }
    const char* class_name() const noexcept override { return "log"; }
    std::unique_ptr<ExecBlock> create_exec() override { return nullptr; }
};

}  // namespace

const block_entry_t log_entry{create_block<Log>, {}};

}  // namespace tessel
