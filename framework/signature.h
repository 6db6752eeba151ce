// Tables of the type combinations that a block class can run.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "ExecBlock.h"
#include "core/hash.h"
#include "core/type.h"

namespace tessel {

struct formula_t;

/// One accepted combination: the hash of its signature text, its port types (inputs, then outputs), and, of one kernel,
/// the maker of its objects and its formula for types of inputs, type of the output (unknown for none) and record.
struct signature_t {
    std::uint32_t key = 0;
    std::uint8_t inputs = 0;
    std::uint8_t outputs = 0;
    std::array<type_t, 9> types{};
    std::unique_ptr<ExecBlock> (*make)() = nullptr;
    formula_t (*trace)(std::span<const type_t> in, type_t out, const void* record) = nullptr;
};

/// The accepted combinations of a class, sorted by key.
using signatures_t = std::span<const signature_t>;

/// Hash of the text "in=A;B|out=C" of port types; of the empty text when there are no ports.
constexpr std::uint32_t signature_hash(std::span<const type_t> in, std::span<const type_t> out) noexcept {
    std::uint32_t h = hash_seed;
    const auto append = [&h](const char* head, std::span<const type_t> types) {
        h = hash_more(h, head);
        for (std::size_t i = 0; i < types.size(); ++i) {
            if (i != 0) h = hash_step(h, ';');
            const char* name = short_name(types[i]);
            h = hash_more(h, name != nullptr ? name : "(null)");
        }
    };
    if (!in.empty()) append("in=", in);
    if (!out.empty()) append(in.empty() ? "out=" : "|out=", out);
    return h;
}

/// The row with that key, null when the combination has no runnable form.
constexpr const signature_t* find_signature(signatures_t table, std::uint32_t key) noexcept {
    const auto row = std::ranges::lower_bound(table, key, {}, &signature_t::key);
    return row != table.end() && row->key == key ? &*row : nullptr;
}

namespace detail {

/// Calls `visit` once per choice of one type from each list; the last list varies fastest.
template <class... Picked, class Visit>
constexpr void for_each_pick(Visit& visit) {
    visit.template operator()<Picked...>();
}
template <class... Picked, class Visit, class... T, class... Lists>
constexpr void for_each_pick(Visit& visit, type_list<T...>, Lists... rest) {
    (for_each_pick<Picked..., T>(visit, rest...), ...);
}

}  // namespace detail

/// One row per choice of types for which `Rule<T...>::accepted` holds, sorted by key; `Rule<T...>` fills the row by
/// its static `row()`. Two rows with one key do not compile.
template <template <class...> class Rule, class... Lists>
consteval auto signature_table() {
    constexpr std::size_t rows = [] {
        std::size_t n = 0;
        auto count = [&n]<class... T>() { n += Rule<T...>::accepted ? 1u : 0u; };
        detail::for_each_pick(count, Lists{}...);
        return n;
    }();
    std::array<signature_t, rows> table{};
    std::size_t next = 0;
    auto fill = [&table, &next]<class... T>() {
        if constexpr (Rule<T...>::accepted) table[next++] = Rule<T...>::row();
    };
    detail::for_each_pick(fill, Lists{}...);
    std::ranges::sort(table, {}, &signature_t::key);
    if (std::ranges::adjacent_find(table, {}, &signature_t::key) != table.end()) throw "two rows share a key";
    return table;
}

}  // namespace tessel
