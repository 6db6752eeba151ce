// Which `enable` blocks belong to which block.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

#include "core/export.h"
#include "core/id_index.h"
#include "core/large_array.h"

namespace tessel {

/// A map from a block's id to a pair of ids, with the operations of the standard's hash maps. The entries lie side by
/// side in the order of insertion, so that a million of them can be filled and walked quickly; places in them are found
/// through a table of four bytes a slot. References and iterators are valid until an entry is added or erased; an
/// entry's `first` must not be changed.
class BLOCKS_API EnableMap {
public:
    using key_type = std::uint64_t;
    using mapped_type = std::pair<std::uint64_t, std::uint64_t>;
    using value_type = std::pair<key_type, mapped_type>;
    using iterator = large_array<value_type>::iterator;
    using const_iterator = large_array<value_type>::const_iterator;

    iterator begin() noexcept { return entries_.begin(); }
    iterator end() noexcept { return entries_.end(); }
    const_iterator begin() const noexcept { return entries_.begin(); }
    const_iterator end() const noexcept { return entries_.end(); }

    bool empty() const noexcept { return entries_.empty(); }
    std::size_t size() const noexcept { return entries_.size(); }
    /// Makes room for so many entries in all.
    void reserve(std::size_t count);
    bool contains(std::uint64_t id) const noexcept { return find(id) != end(); }
    iterator find(std::uint64_t id) noexcept;
    const_iterator find(std::uint64_t id) const noexcept;
    /// Raises `std::out_of_range` for an id that is not there.
    mapped_type& at(std::uint64_t id);
    const mapped_type& at(std::uint64_t id) const;
    /// An id that is not there is added with {0, 0}.
    mapped_type& operator[](std::uint64_t id) { return emplace(id, {0, 0}).first->second; }
    /// Adds an entry where the id has none. Returns the id's entry and whether it was added.
    std::pair<iterator, bool> emplace(std::uint64_t id, mapped_type enables);
    std::pair<iterator, bool> insert(const value_type& entry) { return emplace(entry.first, entry.second); }
    /// How many went: 0 or 1. The last entry takes the place of the one that goes.
    std::size_t erase(std::uint64_t id) noexcept;
    void clear() noexcept;

    /// Whether both hold the same entries, in whatever order.
    bool operator==(const EnableMap& other) const noexcept;

private:
    static constexpr std::size_t nowhere = static_cast<std::size_t>(-1);
    /// The slot of the id, `nowhere` without an entry.
    std::size_t slot_of(std::uint64_t id) const noexcept;
    /// Finds a slot for the entry at `place`, whose id is in none; returns how many it passed over.
    std::size_t insert_slot(std::size_t place) noexcept;
    void rehash(std::size_t slots, bool scattered = false);

    large_array<value_type> entries_;
    large_array<std::uint32_t> slots_;  // 1 + place in entries_, 0 for none; a power of two, a quarter free at least
    std::size_t longest_ = 0;           // no id lies more slots behind its place
    IdPlace place_;
};

}  // namespace tessel
