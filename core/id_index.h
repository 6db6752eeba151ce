// Looking things up by id.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

namespace tessel {

/// Where an id goes in a table. Ids that are close together lie close together, in groups that are scattered with a
/// seed of the process, so that no file can be made whose ids collide.
template <std::uint64_t Group>
class IdHash {
public:
    std::size_t operator()(std::uint64_t id) const noexcept {
        // the finalizer of the splitmix64 generator
        std::uint64_t h = (id / Group) ^ seed_;
        h = (h ^ (h >> 30)) * 0xBF58476D1CE4E5B9u;
        h = (h ^ (h >> 27)) * 0x94D049BB133111EBu;
        return (h ^ (h >> 31)) * Group + id % Group;
    }

private:
    static std::uint64_t process_seed() {
        static const std::uint64_t seed = [] {
            std::random_device device;
            return std::uint64_t{device()} << 32 | device();
        }();
        return seed;
    }

    std::uint64_t seed_ = process_seed();
};

/// From ids to pointers: of those added under one id, the first. What a walk from the front of a list would find,
/// without the walk. One array with open addressing.
template <class T>
class IdIndex {
public:
    /// Has room for `most` ids: at least a third more slots than these.
    explicit IdIndex(std::size_t most) : slots_(std::bit_ceil(most + most / 3 + group)), mask_(slots_.size() - 1) {}

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
        std::size_t i = hash_(id) & mask_;
        while (slots_[i].value != nullptr && slots_[i].id != id) i = (i + 1) & mask_;
        return i;
    }

    std::vector<slot_t> slots_;
    std::size_t mask_;
    IdHash<group> hash_;
};

}  // namespace tessel
