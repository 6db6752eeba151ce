// Looking things up by id.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace tessel {

/// From ids to pointers: of those added under one id, the first. What a walk from the front of a list would find,
/// without the walk. One array with open addressing; ids that are close together lie close together.
template <class T>
class IdIndex {
public:
    /// Has room for `most` ids.
    explicit IdIndex(std::size_t most) : slots_(std::bit_ceil(2 * most + group)), mask_(slots_.size() - 1) {}

    /// Adds a pointer, which is not null.
    void add(std::uint64_t id, T* value) noexcept {
        slot_t& slot = slots_[position(id)];
        if (slot.value == nullptr) slot = {id, value};
    }
    /// The first pointer of that id, null if there is none.
    T* find(std::uint64_t id) const noexcept { return slots_[position(id)].value; }

private:
    struct slot_t {
        std::uint64_t id = 0;
        T* value = nullptr;
    };
    static constexpr std::uint64_t group = 8;  // neighbouring ids in two lines of memory

    /// Where the id is, or would be.
    std::size_t position(std::uint64_t id) const noexcept {
        const std::uint64_t scattered = (id / group) * 0x9E3779B97F4A7C15u;
        std::size_t i = ((scattered ^ (scattered >> 32)) * group + id % group) & mask_;
        while (slots_[i].value != nullptr && slots_[i].id != id) i = (i + 1) & mask_;
        return i;
    }

    std::vector<slot_t> slots_;
    std::size_t mask_;
};

}  // namespace tessel
