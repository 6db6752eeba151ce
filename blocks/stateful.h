// Runnable objects of blocks with memory, parameters or a need for time.
#pragma once

#include <array>
#include <memory>
#include <utility>

#include "blocks/table.h"

namespace tessel {

/// Table of the kernels `K<T>` for each T of the list, as stateful classes even where the kernel itself holds nothing:
/// it then works on the time or on the last output.
template <template <class> class K>
struct stateful_rule {
    template <class T>
    struct rule {
        static constexpr bool accepted = true;
        static constexpr signature_t row() {
            return detail::row_of<StatefulExec<K<T>>, typename K<T>::in, typename K<T>::out>();
        }
    };
};
template <template <class> class K, class List>
consteval auto stateful_table() {
    return signature_table<stateful_rule<K>::template rule, List>();
}

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
