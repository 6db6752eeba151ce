#include "EnableMap.h"

#include <algorithm>
#include <bit>
#include <limits>
#include <stdexcept>

#include "framework/missing_key.h"

namespace tessel {
namespace {

/// Slots for so many entries.
std::size_t slots_for(std::size_t count) noexcept { return std::bit_ceil(count + count / 3 + 1); }

}  // namespace

std::size_t EnableMap::max_size() const noexcept { return std::numeric_limits<std::uint32_t>::max() - 1; }

void EnableMap::reserve(std::size_t count) {
    entries_.reserve(count);
    if (slots_for(count) > slots_.size()) rehash(slots_for(count));
}

EnableMap::iterator EnableMap::find(std::uint64_t id) noexcept {
    const std::size_t slot = slot_of(id);
    return slot != nowhere ? begin() + (slots_[slot] - 1) : end();
}

EnableMap::const_iterator EnableMap::find(std::uint64_t id) const noexcept {
    return const_cast<EnableMap*>(this)->find(id);
}

EnableMap::mapped_type& EnableMap::at(std::uint64_t id) {
    const auto found = find(id);
    if (found == end()) raise_missing_key();
    return found->second;
}

const EnableMap::mapped_type& EnableMap::at(std::uint64_t id) const { return const_cast<EnableMap*>(this)->at(id); }

std::pair<EnableMap::iterator, bool> EnableMap::emplace(std::uint64_t id, mapped_type enables) {
    if (const auto found = find(id); found != end()) return {found, false};
    if (size() == max_size()) throw std::length_error("too many entries");
    if (slots_for(size() + 1) > slots_.size()) rehash(slots_for(size() + 1));
    entries_.emplace_back(id, enables);
    if (insert_slot(size() - 1) > IdPlace::most_passed && !place_.scattered()) rehash(slots_.size(), true);
    return {end() - 1, true};
}

std::pair<EnableMap::iterator, bool> EnableMap::insert_or_assign(std::uint64_t id, mapped_type enables) {
    const auto result = emplace(id, enables);
    result.first->second = enables;
    return result;
}

EnableMap::iterator EnableMap::erase(const_iterator position) noexcept {
    const auto place = position - cbegin();
    erase(position->first);
    return begin() + place;
}

EnableMap::iterator EnableMap::erase(const_iterator first, const_iterator last) noexcept {
    const auto begin_place = first - cbegin();
    for (auto place = last - cbegin(); place != begin_place;) erase(cbegin() + --place);
    return begin() + begin_place;
}

std::size_t EnableMap::erase(std::uint64_t id) noexcept {
    const auto found = find(id);
    if (found == end()) return 0;
    // what was pushed on by the slot that gets free moves up
    const std::size_t mask = slots_.size() - 1;
    std::size_t hole = slot_of(id);
    for (std::size_t i = (hole + 1) & mask; slots_[i] != 0 && ((i - hole) & mask) <= longest_; i = (i + 1) & mask) {
        const std::size_t wanted = place_(entries_[slots_[i] - 1].first) & mask;
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

void EnableMap::swap(EnableMap& other) noexcept { std::swap(*this, other); }

bool EnableMap::operator==(const EnableMap& other) const noexcept {
    return size() == other.size() && std::ranges::all_of(entries_, [&other](const value_type& entry) {
               const auto found = other.find(entry.first);
               return found != other.end() && *found == entry;
           });
}

std::size_t EnableMap::slot_of(std::uint64_t id) const noexcept {
    if (slots_.empty()) return nowhere;
    const std::size_t mask = slots_.size() - 1, begin = place_(id);
    for (std::size_t passed = 0; passed <= longest_; ++passed) {
        const std::size_t slot = (begin + passed) & mask;
        if (slots_[slot] == 0) return nowhere;
        if (entries_[slots_[slot] - 1].first == id) return slot;
    }
    return nowhere;
}

std::size_t EnableMap::insert_slot(std::size_t place) noexcept {
    const std::size_t mask = slots_.size() - 1, begin = place_(entries_[place].first);
    std::size_t passed = 0;
    while (slots_[(begin + passed) & mask] != 0) ++passed;
    slots_[(begin + passed) & mask] = static_cast<std::uint32_t>(place + 1);
    longest_ = std::max(longest_, passed);
    return passed;
}

void EnableMap::rehash(std::size_t slots, bool scattered) {
    slots_.assign(slots, 0);
    longest_ = 0;
    if (scattered) place_.scatter();
    for (std::size_t i = 0; i < entries_.size(); ++i)
        if (insert_slot(i) > IdPlace::most_passed && !place_.scattered()) return rehash(slots, true);
}

}  // namespace tessel
