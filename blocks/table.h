// The table of a block class's runnable objects and formulas, computed from its kernel template.
#pragma once

#include <array>
#include <cstddef>
#include <type_traits>
#include <utility>

#include "exec/Exec.h"
#include "formula/trace.h"
#include "formula/value.h"
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

template <class K>
consteval bool is_accepted() {
    if constexpr (requires { K::accepted; }) return K::accepted;
    else return true;
}

/// The runnable class of a kernel. One that holds its value says so; one is pure when its `eval` is static.
template <class K>
struct exec_of {
    static constexpr bool stateful = std::is_member_function_pointer_v<decltype(&K::eval)>;
    using type = std::conditional_t<stateful, StatefulExec<K>, Exec<K>>;
};
template <class K>
requires K::holds struct exec_of<K> {
    using type = HoldExec<K>;
};

}  // namespace detail

/// Table of the kernels `K<T...>` for one type picked from each list, without those that say `accepted = false`. All
/// rows have the formula of the one kernel that is instantiated with symbols.
template <template <class...> class K>
struct kernel_rule {
    template <class... T>
    struct rule {
        using kernel = K<T...>;
        static constexpr bool accepted = detail::is_accepted<kernel>();
        static constexpr signature_t row() {
            signature_t row;
            detail::put_types(row, typename kernel::in{});
            detail::put_types(row, typename kernel::out{});
            const std::span<const type_t> types(row.types);
            row.key = signature_hash(types.first(row.inputs), types.subspan(row.inputs, row.outputs));
            row.make = &make_exec<typename detail::exec_of<kernel>::type>;
            row.trace = &trace<K<symbolic<T>...>>;
            return row;
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

}  // namespace tessel
