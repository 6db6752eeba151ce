// What the rules of a compile work on: blocks by their position in a list.
//
// A rule is a function over positions that tells what it finds and asks whether to go on. A pass stops at the first
// fault and marks the guilty block; a check goes on, and knows of everything the passes would come to.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <utility>
#include <vector>

#include "IMetaBlock.h"
#include "core/id_index.h"
#include "core/large_array.h"
#include "framework/structure.h"

namespace tessel {

inline bool is_subsystem(const IMetaBlock& block) noexcept {
    return block.class_hash() == hash_subsys || block.class_hash() == hash_refsys;
}
inline bool is_cast(const IMetaBlock& block) noexcept { return block.class_hash() == hash_cast; }
inline bool is_goto_or_from(const IMetaBlock& block) noexcept {
    return block.class_hash() == hash_goto || block.class_hash() == hash_from;
}

namespace rules {

/// The live blocks in the order of the model's list; null entries are passed over.
using lineup_t = std::span<IMetaBlock* const>;

inline constexpr std::size_t nowhere = static_cast<std::size_t>(-1);

/// From an id to the first block of a list that has it. Built when first asked.
class BlockIndex {
public:
    explicit BlockIndex(lineup_t blocks) : blocks_(blocks) {}

    IMetaBlock* find(std::uint64_t id) const {
        IMetaBlock* const* place = place_of(id);
        return place != nullptr ? *place : nullptr;
    }
    /// The block's position, or `nowhere`.
    std::size_t position(std::uint64_t id) const {
        IMetaBlock* const* place = place_of(id);
        return place != nullptr ? static_cast<std::size_t>(place - blocks_.data()) : nowhere;
    }

private:
    IMetaBlock* const* place_of(std::uint64_t id) const {
        if (index_ == nullptr) {
            index_ = std::make_unique<IdIndex<IMetaBlock* const>>(blocks_.size());
            for (IMetaBlock* const& block : blocks_)
                if (block != nullptr) index_->add(block->id(), &block);
        }
        return index_->find(id);
    }
    lineup_t blocks_;
    mutable std::unique_ptr<IdIndex<IMetaBlock* const>> index_;
};

/// Which blocks of a list satisfy a condition; null entries do not.
template <class Condition>
std::vector<bool> which(lineup_t blocks, Condition condition) {
    std::vector<bool> all(blocks.size());
    for (std::size_t i = 0; i < blocks.size(); ++i) all[i] = blocks[i] != nullptr && condition(*blocks[i]);
    return all;
}

/// Drops from a list what goes: moves it behind the rest by swapping the first that goes with the last that stays,
/// until both walks meet, which disturbs the order of what stays. Returns what went, in the order that came of that.
template <class T>
std::vector<T> drop(std::vector<T>& list, std::vector<bool> goes) {
    std::size_t front = 0, back = list.size();
    for (;; ++front) {
        while (front != back && !goes[front]) ++front;
        while (front != back && goes[back - 1]) --back;
        if (front == back) break;
        --back;
        std::swap(list[front], list[back]);
    }
    const auto first = list.begin() + static_cast<std::ptrdiff_t>(front);
    std::vector<T> gone(std::make_move_iterator(first), std::make_move_iterator(list.end()));
    list.erase(first, list.end());
    return gone;
}

}  // namespace rules
}  // namespace tessel
