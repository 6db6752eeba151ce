#include "blocks/table.h"

namespace tessel {

std::unique_ptr<ExecBlock> create_from(signatures_t table, const IMetaBlock& block) {
    const signature_t* row = find_signature(table, block.signature());
    if (row == nullptr) return nullptr;
    auto exec = row->make();
    exec->set_identity(block.id(), block.zone());
    return exec;
}

}  // namespace tessel
