#include "EnableMap.h"

#include <algorithm>
#include <bit>
#include <limits>
#include <stdexcept>

#include "core/id_index.h"

namespace tessel {
namespace {

using hash_t = IdHash<16>;  // slots of neighbouring ids share a line of memory

/// Slots for so many entries.
std::size_t slots_for(std::size_t count) noexcept { return std::bit_ceil(count + count / 3 + 1); }

}  // namespace

void EnableMap::reserve(std::size_t count) {
    entries_.reserve(count);
    if (slots_for(count) > slots_.size()) rehash(slots_for(count));
}

EnableMap::iterator EnableMap::find(std::uint64_t id) noexcept {
    const std::uint32_t place = slots_.empty() ? 0 : slots_[slot_of(id)];
    return place != 0 ? begin() + (place - 1) : end();
}

EnableMap::const_iterator EnableMap::find(std::uint64_t id) const noexcept {
    return const_cast<EnableMap*>(this)->find(id);
}

EnableMap::mapped_type& EnableMap::at(std::uint64_t id) {
    const auto found = find(id);
    if (found == end()) throw std::out_of_range("no entry with that id");
    return found->second;
}

const EnableMap::mapped_type& EnableMap::at(std::uint64_t id) const { return const_cast<EnableMap*>(this)->at(id); }

std::pair<EnableMap::iterator, bool> EnableMap::emplace(std::uint64_t id, mapped_type enables) {
    if (const auto found = find(id); found != end()) return {found, false};
    if (size() == std::numeric_limits<std::uint32_t>::max() - 1) throw std::length_error("too many entries");
    if (slots_for(size() + 1) > slots_.size()) rehash(slots_for(size() + 1));
    entries_.emplace_back(id, enables);
    slots_[slot_of(id)] = static_cast<std::uint32_t>(size());
    return {end() - 1, true};
}

std::size_t EnableMap::erase(std::uint64_t id) noexcept {
    const auto found = find(id);
    if (found == end()) return 0;
    // what was pushed on by the slot that gets free moves up
    const std::size_t mask = slots_.size() - 1;
    std::size_t hole = slot_of(id);
    for (std::size_t i = (hole + 1) & mask; slots_[i] != 0; i = (i + 1) & mask) {
        const std::size_t wanted = hash_t{}(entries_[slots_[i] - 1].first) & mask;
        if (((i - wanted) & mask) < ((i - hole) & mask)) continue;
        slots_[hole] = slots_[i];
        hole = i;
    }
    slots_[hole] = 0;
    if (found != end() - 1) {
        slots_[slot_of(entries_.back().first)] = static_cast<std::uint32_t>(found - begin() + 1);
        *found = entries_.back();
    }
    entries_.pop_back();
    return 1;
}

void EnableMap::clear() noexcept {
    entries_.clear();
    std::ranges::fill(slots_, 0u);
}

bool EnableMap::operator==(const EnableMap& other) const noexcept {
    return size() == other.size() && std::ranges::all_of(entries_, [&other](const value_type& entry) {
               const auto found = other.find(entry.first);
               return found != other.end() && *found == entry;
           });
}

std::size_t EnableMap::slot_of(std::uint64_t id) const noexcept {
    const std::size_t mask = slots_.size() - 1;
    std::size_t i = hash_t{}(id)&mask;
    while (slots_[i] != 0 && entries_[slots_[i] - 1].first != id) i = (i + 1) & mask;
    return i;
}

void EnableMap::rehash(std::size_t slots) {
    slots_.assign(slots, 0);
    for (std::size_t i = 0; i < entries_.size(); ++i)
        slots_[slot_of(entries_[i].first)] = static_cast<std::uint32_t>(i + 1);
}

}  // namespace tessel
