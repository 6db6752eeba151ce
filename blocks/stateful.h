// Runnable objects of blocks with memory, parameters or a need for time.
#pragma once

#include <array>
#include <memory>
#include <utility>

#include "blocks/table.h"

namespace tessel {

/// Table of a class with one runnable form.
template <class K>
consteval std::array<signature_t, 1> stateful_row() {
    return {detail::row_of<StatefulExec<K>, typename K::in, typename K::out>()};
}

/// The runnable object for the block's port types with its record taken over; empty when there is none.
inline std::unique_ptr<ExecBlock> create_configured(signatures_t table, const IMetaBlock& block, const void* record) {
    auto exec = create_from(table, block);
    if (exec != nullptr) exec->configure(record);
    return exec;
}

}  // namespace tessel
