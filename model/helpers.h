// What several passes share.
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "IMetaBlock.h"
#include "core/hash.h"
#include "core/id_index.h"
#include "core/large_array.h"
#include "framework/structure.h"

namespace tessel {

using blocks_t = std::vector<std::unique_ptr<IMetaBlock>>;

inline bool is_subsystem(const IMetaBlock& block) noexcept {
    return block.class_hash() == hash_subsys || block.class_hash() == hash_refsys;
}

/// From an id to the first block of a list that has it. Built when first asked.
class BlockIndex {
public:
    explicit BlockIndex(const blocks_t& blocks) : blocks_(blocks) {}
    IMetaBlock* find(std::uint64_t id) const {
        if (index_ == nullptr) {
            index_ = std::make_unique<IdIndex<IMetaBlock>>(blocks_.size());
            for (const auto& block : blocks_)
                if (block != nullptr) index_->add(block->id(), block.get());
        }
        return index_->find(id);
    }

private:
    const blocks_t& blocks_;
    mutable std::unique_ptr<IdIndex<IMetaBlock>> index_;
};

/// A value for each level of the subsystem tree, worked out from that of the level around it, each once. A parent that
/// names no block stands directly in the root. A ring of parents has no way out: the value of its members comes of
/// going round it twice, beginning with `ring`.
template <class Value>
class Levels {
public:
    Levels(const BlockIndex& index, Value root, Value ring)
        : index_(index), root_(std::move(root)), ring_(std::move(ring)) {}

    /// The value for blocks with the parent `id`. `step(outer, id, subsystem)` gives that of a subsystem, which is null
    /// where no block has the id, from that of the level around it.
    template <class Step>
    const Value& inside(std::uint64_t id, Step step) {
        way_.clear();
        const Value* outer = &root_;
        for (; id != 0; id = way_.back()->parent_id()) {
            const auto [entry, fresh] = levels_.try_emplace(id);
            const IMetaBlock* subsystem = fresh ? index_.find(id) : nullptr;
            if (subsystem != nullptr) {
                way_.push_back(subsystem);
                continue;
            }
            level_t& level = entry->second;
            if (fresh) set(level, step(root_, id, subsystem));
            else if (!level.known) go_round(id, step);
            outer = &level.value;
            break;
        }
        for (; !way_.empty(); way_.pop_back()) {
            level_t& own = levels_.at(way_.back()->id());
            set(own, step(*outer, way_.back()->id(), way_.back()));
            outer = &own.value;
        }
        return *outer;
    }

private:
    struct level_t {
        Value value{};
        bool known = false;
    };
    static void set(level_t& level, Value value) {
        level.value = std::move(value);
        level.known = true;
    }

    /// The value of the member `id` of a ring that ends the way up.
    template <class Step>
    void go_round(std::uint64_t id, Step step) {
        Value value = ring_;
        for (int round = 0; round < 2; ++round) {
            for (auto member = way_.rbegin();; ++member) {
                value = step(value, (*member)->id(), *member);
                if ((*member)->id() == id) break;
            }
        }
        set(levels_.at(id), std::move(value));
    }

    const BlockIndex& index_;
    Value root_;
    Value ring_;
    std::unordered_map<std::uint64_t, level_t> levels_;
    std::vector<const IMetaBlock*> way_;
};

/// Whether a sweep that found `before` open blocks and left `after` has closed less than an eighth of them. Further
/// sweeps go by an agenda then, so that a long chain drawn against the list does not take the square of its length.
inline bool sweeps_are_slow(std::size_t before, std::size_t after) noexcept { return 8 * (before - after) < before; }

/// The consumers of every block, by position in the list, and an agenda of the positions to visit: those behind the
/// one at work come in this sweep, those before it in the next.
class Agenda {
public:
    explicit Agenda(const blocks_t& blocks);

    /// Lets a position be visited; each is visited once a sweep at most.
    void add(std::size_t position);
    /// Lets the blocks be visited that read from the one at `position`.
    void add_consumers(std::size_t position);
    /// The next position of this sweep in list order, or `end` when the sweep is over; the next call begins another.
    std::size_t next();
    /// Whether neither this sweep nor the next has anything to visit.
    bool empty() const noexcept { return now_.empty() && later_.empty(); }

    static constexpr std::size_t end = static_cast<std::size_t>(-1);

private:
    large_array<std::size_t> first_;      // into consumers_, one more than there are blocks
    large_array<std::size_t> consumers_;  // positions
    std::vector<std::size_t> now_;        // min-heap
    std::vector<std::size_t> later_;
    std::vector<bool> noted_;
    std::size_t at_ = 0;
    bool sweeping_ = false;
};

/// Which blocks of a list satisfy a condition; null entries do not.
template <class Condition>
std::vector<bool> which(const blocks_t& blocks, Condition condition) {
    std::vector<bool> all(blocks.size());
    for (std::size_t i = 0; i < blocks.size(); ++i) all[i] = blocks[i] != nullptr && condition(*blocks[i]);
    return all;
}

/// Moves the blocks that go behind the others by swapping the first of them with the last that stays, until both walks
/// meet; returns the position of the first that goes. The order of what stays is disturbed.
inline blocks_t::iterator swap_partition(blocks_t& blocks, std::vector<bool> goes) {
    std::size_t front = 0, back = blocks.size();
    for (;; ++front) {
        while (front != back && !goes[front]) ++front;
        while (front != back && goes[back - 1]) --back;
        if (front == back) return blocks.begin() + static_cast<std::ptrdiff_t>(front);
        --back;
        std::swap(blocks[front], blocks[back]);
    }
}

/// Logs the entry into a pass, and the way out of it at whichever exit.
class PassLog {
public:
    explicit PassLog(std::string_view name);
    PassLog(const PassLog&) = delete;
    PassLog& operator=(const PassLog&) = delete;
    ~PassLog();

private:
    std::string_view name_;
};

}  // namespace tessel
