// A hash map from ids or addresses to small values, for the look-up tables that passes and runs build at their start.
#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <utility>
#include <vector>

namespace tessel {

/// Insert and find only, in one array without a node per entry. The first insertion of a key wins. Keys are scrambled
/// with a seed of the process, so that no file can be made whose ids collide.
template <class Key, class Value>
class FlatMap {
public:
    /// A map that holds `count` entries without growing.
    explicit FlatMap(std::size_t count = 0) { resize_for(count); }

    /// Inserts unless the key is there; returns whether it was inserted.
    bool try_emplace(Key key, Value value) {
        if ((size_ + 1) * 2 > slots_.size()) grow();
        slot_t& slot = slots_[position(key)];
        if (slot.used) return false;
        slot = {key, std::move(value), true};
        ++size_;
        return true;
    }
    /// The value of a key, null when it is not there.
    const Value* find(Key key) const noexcept {
        const slot_t& slot = slots_[position(key)];
        return slot.used ? &slot.value : nullptr;
    }
    std::size_t size() const noexcept { return size_; }

private:
    struct slot_t {
        Key key{};
        Value value{};
        bool used = false;
    };

    static std::uint64_t bits(std::uint64_t key) noexcept { return key; }
    static std::uint64_t bits(const void* key) noexcept { return reinterpret_cast<std::uintptr_t>(key); }

    static std::uint64_t seed() noexcept {
        static const std::uint64_t value = [] {
            std::random_device device;
            return std::uint64_t{device()} << 32 | device();
        }();
        return value;
    }

    /// Where the key is, or would go. The scrambling is the finalizer of the splitmix64 generator.
    std::size_t position(Key key) const noexcept {
        std::uint64_t h = bits(key) ^ seed_;
        h = (h ^ (h >> 30)) * 0xbf58476d1ce4e5b9u;
        h = (h ^ (h >> 27)) * 0x94d049bb133111ebu;
        h ^= h >> 31;
        const std::size_t mask = slots_.size() - 1;
        std::size_t i = static_cast<std::size_t>(h) & mask;
        while (slots_[i].used && slots_[i].key != key) i = (i + 1) & mask;
        return i;
    }

    void resize_for(std::size_t count) {
        std::size_t capacity = 8;
        while (capacity < count * 2) capacity *= 2;
        slots_.resize(capacity);
    }
    void grow() {
        std::vector<slot_t> old = std::move(slots_);
        slots_ = std::vector<slot_t>();
        resize_for(old.size());
        for (slot_t& slot : old)
            if (slot.used) slots_[position(slot.key)] = std::move(slot);
    }

    std::vector<slot_t> slots_;
    std::size_t size_ = 0;
    std::uint64_t seed_ = seed();
};

}  // namespace tessel
