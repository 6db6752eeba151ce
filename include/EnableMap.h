// Which `enable` blocks belong to which block.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
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
    using size_type = std::size_t;
    using difference_type = std::ptrdiff_t;
    using reference = value_type&;
    using const_reference = const value_type&;
    using iterator = large_array<value_type>::iterator;
    using const_iterator = large_array<value_type>::const_iterator;

    EnableMap() = default;
    /// Of several entries with one id, the first counts.
    EnableMap(std::initializer_list<value_type> entries) { insert(entries); }
    template <class Iterator>
    EnableMap(Iterator first, Iterator last) {
        insert(first, last);
    }

    iterator begin() noexcept { return entries_.begin(); }
    iterator end() noexcept { return entries_.end(); }
    const_iterator begin() const noexcept { return entries_.begin(); }
    const_iterator end() const noexcept { return entries_.end(); }
    const_iterator cbegin() const noexcept { return entries_.begin(); }
    const_iterator cend() const noexcept { return entries_.end(); }

    bool empty() const noexcept { return entries_.empty(); }
    size_type size() const noexcept { return entries_.size(); }
    /// One less than a slot of the table can count.
    size_type max_size() const noexcept;
    /// Makes room for so many entries in all.
    void reserve(size_type count);

    bool contains(key_type id) const noexcept { return find(id) != end(); }
    /// 0 or 1.
    size_type count(key_type id) const noexcept { return contains(id) ? 1 : 0; }
    iterator find(key_type id) noexcept;
    const_iterator find(key_type id) const noexcept;
    /// The entry of an id and what is behind it; twice the end where there is none.
    std::pair<iterator, iterator> equal_range(key_type id) noexcept { return range_of(find(id), end()); }
    std::pair<const_iterator, const_iterator> equal_range(key_type id) const noexcept {
        return range_of(find(id), end());
    }
    /// Raises `std::out_of_range` ("invalid unordered_map<K, T> key") for an id that is not there.
    mapped_type& at(key_type id);
    const mapped_type& at(key_type id) const;
    /// An id that is not there is added with {0, 0}.
    mapped_type& operator[](key_type id) { return emplace(id, {0, 0}).first->second; }

    /// Adds an entry where the id has none. Returns the id's entry and whether it was added. Raises
    /// `std::length_error` at `max_size`, with nothing changed.
    std::pair<iterator, bool> emplace(key_type id, mapped_type enables);
    /// The same for an entry made of the arguments.
    template <class... Args>
    std::pair<iterator, bool> emplace(Args&&... args) {
        return insert(value_type(std::forward<Args>(args)...));
    }
    /// The same with enables made of the arguments.
    template <class... Args>
    std::pair<iterator, bool> try_emplace(key_type id, Args&&... args) {
        return emplace(id, mapped_type(std::forward<Args>(args)...));
    }
    std::pair<iterator, bool> insert(const value_type& entry) { return emplace(entry.first, entry.second); }
    template <class Iterator>
    void insert(Iterator first, Iterator last) {
        for (; first != last; ++first) emplace(first->first, first->second);
    }
    void insert(std::initializer_list<value_type> entries) { insert(entries.begin(), entries.end()); }
    /// Adds an entry, or replaces the one that is there; the second value tells which: true where it was added.
    std::pair<iterator, bool> insert_or_assign(key_type id, mapped_type enables);

    /// How many went: 0 or 1. The last entry takes the place of the one that goes.
    size_type erase(key_type id) noexcept;
    /// Erases one entry and returns its place, where the last entry is then: a walk goes on from there.
    iterator erase(const_iterator position) noexcept;
    iterator erase(iterator position) noexcept { return erase(const_iterator(position)); }
    /// Erases a range, from its end on, and returns its first place.
    iterator erase(const_iterator first, const_iterator last) noexcept;
    void clear() noexcept;
    void swap(EnableMap& other) noexcept;
    friend void swap(EnableMap& a, EnableMap& b) noexcept { a.swap(b); }

    /// Whether both hold the same entries, in whatever order.
    bool operator==(const EnableMap& other) const noexcept;

private:
    static constexpr std::size_t nowhere = static_cast<std::size_t>(-1);
    template <class Iterator>
    static std::pair<Iterator, Iterator> range_of(Iterator found, Iterator end) noexcept {
        return {found, found != end ? found + 1 : end};
    }
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
