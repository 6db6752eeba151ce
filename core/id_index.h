// Looking things up by id.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <utility>

#include "core/export.h"
#include "core/large_array.h"

namespace tessel {

/// The place of an id in a table of a power of two of slots with open addressing. At first it is the id itself: ids in
/// sequence, as they mostly are, lie in sequence, and a walk along a large model does not wait for memory. No insertion
/// may pass over more than `most_passed` slots by that; for ids that would, the table is filled anew with places that
/// are scattered with a seed of the process, so that no file can be made whose ids collide.
///
/// Scattered are groups of `group` neighbours and not single ids: four slots of a line of memory still belong to ids
/// that a walk asks for one after the other, and a group is too small to make a run that is long to pass.
class BLOCKS_API IdPlace {
public:
    std::size_t operator()(std::uint64_t id) const noexcept {
        if (!scattered()) return id;
        // the finalizer of the splitmix64 generator: each bit of the group's number decides on every bit of the place
        std::uint64_t h = (id / group) ^ seed_;
        h = (h ^ (h >> 30)) * 0xBF58476D1CE4E5B9u;
        h = (h ^ (h >> 27)) * 0x94D049BB133111EBu;
        return (h ^ (h >> 31)) * group + id % group;
    }
    bool scattered() const noexcept { return seed_ != 0; }
    void scatter();

    static constexpr std::size_t most_passed = 128;

private:
    static constexpr std::uint64_t group = 8;

    std::uint64_t seed_ = 0;  // 0 for places that are the ids
};

/// From ids to pointers: of those added under one id, the first. What a walk from the front of a list would find,
/// without the walk.
template <class T>
class IdIndex {
public:
    /// Has room for `most` ids: at least a third more slots than these.
    explicit IdIndex(std::size_t most) : slots_(std::bit_ceil(most + most / 3 + 8)), mask_(slots_.size() - 1) {}

    /// Adds a pointer, which is not null.
    void add(std::uint64_t id, T* value) {
        const std::size_t begin = place_(id) & mask_;
        std::size_t passed = 0;
        slot_t* slot = &slots_[begin];
        while (slot->value != nullptr && slot->id != id) slot = &slots_[(begin + ++passed) & mask_];
        if (slot->value != nullptr) return;
        *slot = {id, value};
        longest_ = std::max(longest_, passed);
        if (passed > IdPlace::most_passed && !place_.scattered()) scatter();
    }
    /// The first pointer of that id, null if there is none.
    T* find(std::uint64_t id) const noexcept {
        const std::size_t begin = place_(id) & mask_;
        for (std::size_t passed = 0; passed <= longest_; ++passed) {
            const slot_t& slot = slots_[(begin + passed) & mask_];
            if (slot.value == nullptr) return nullptr;
            if (slot.id == id) return slot.value;
        }
        return nullptr;
    }

private:
    struct slot_t {
        std::uint64_t id = 0;
        T* value = nullptr;
    };

    void scatter() {
        place_.scatter();
        longest_ = 0;
        const auto filled = std::exchange(slots_, large_array<slot_t>(slots_.size()));
        for (const slot_t& slot : filled)
            if (slot.value != nullptr) add(slot.id, slot.value);
    }

    large_array<slot_t> slots_;
    std::size_t mask_;
    std::size_t longest_ = 0;  // no id lies more slots behind its place
    IdPlace place_;
};

}  // namespace tessel
