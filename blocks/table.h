// The table of a block class's runnable objects, computed from its kernel template.
#pragma once

#include <array>
#include <cstddef>
#include <type_traits>
#include <utility>

#include "exec/Exec.h"
#include "framework/MetaBlock.h"
#include "framework/signature.h"

namespace tessel {

namespace detail {

template <class... T>
constexpr void put_types(signature_t& row, inputs<T...>) {
    row.inputs = sizeof...(T);
    std::size_t i = 0;
    ((row.types[i++] = type_of<T>), ...);
}
template <class T, std::size_t N>
constexpr void put_types(signature_t& row, same_inputs<T, N>) {
    row.inputs = N;
    for (std::size_t i = 0; i < N; ++i) row.types[i] = type_of<T>;
}
template <class... T>
constexpr void put_types(signature_t& row, outputs<T...>) {
    row.outputs = sizeof...(T);
    std::size_t i = row.inputs;
    ((row.types[i++] = type_of<T>), ...);
}

/// The row of a runnable class with the ports In and Out.
template <class Run, class In, class Out>
constexpr signature_t row_of() {
    signature_t row;
    put_types(row, In{});
    put_types(row, Out{});
    const std::span<const type_t> types(row.types);
    row.key = signature_hash(types.first(row.inputs), types.subspan(row.inputs, row.outputs));
    row.make = &make_exec<Run>;
    return row;
}

template <class K>
consteval bool is_accepted() {
    if constexpr (requires { K::accepted; }) return K::accepted;
    else return true;
}

}  // namespace detail

/// A kernel is pure when its `eval` is static. One without members of its own can still need its last output.
template <class K>
using exec_of = std::conditional_t<std::is_member_function_pointer_v<decltype(&K::eval)>, StatefulExec<K>, Exec<K>>;

/// Table of the kernels `K<T...>` for one type picked from each list, without those that say `accepted = false`.
template <template <class...> class K>
struct kernel_rule {
    template <class... T>
    struct rule {
        static constexpr bool accepted = detail::is_accepted<K<T...>>();
        static constexpr signature_t row() {
            return detail::row_of<exec_of<K<T...>>, typename K<T...>::in, typename K<T...>::out>();
        }
    };
};
template <template <class...> class K, class... Lists>
consteval auto kernel_table() {
    return signature_table<kernel_rule<K>::template rule, Lists...>();
}

/// Two sorted tables as one.
template <std::size_t N, std::size_t M>
consteval auto join_tables(const std::array<signature_t, N>& a, const std::array<signature_t, M>& b) {
    std::array<signature_t, N + M> all{};
    std::ranges::merge(a, b, all.begin(), {}, &signature_t::key, &signature_t::key);
    return all;
}

/// The runnable object of `table` for the block's port types, with its id and zone; empty when there is none.
std::unique_ptr<ExecBlock> create_from(signatures_t table, const IMetaBlock& block);

}  // namespace tessel
