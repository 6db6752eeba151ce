#include "model/rules/tree.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>

#include "core/str.h"

namespace tessel::rules {
namespace {

/// A value for each level of the subsystem tree, worked out from that of the level around it, each once. The value of
/// the members of a ring comes of going round it twice, beginning with `ring`.
template <class Value>
class Levels {
public:
    Levels(const BlockIndex& index, Value root, Value ring) : index_(index), root_(root), ring_(ring) {}

    /// The value for blocks with the parent `id`. `step(outer, id, subsystem)` gives that of a subsystem, which is null
    /// where no block has the id, from that of the level around it.
    template <class Step>
    Value inside(std::uint64_t id, Step step) {
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
            if (fresh) level = {step(root_, id, subsystem), true};
            else if (!level.known) go_round(id, step);
            outer = &level.value;
            break;
        }
        for (; !way_.empty(); way_.pop_back()) {
            level_t& own = levels_.at(way_.back()->id());
            own = {step(*outer, way_.back()->id(), way_.back()), true};
            outer = &own.value;
        }
        return *outer;
    }

private:
    struct level_t {
        Value value{};
        bool known = false;
    };

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
        levels_.at(id) = {value, true};
    }

    const BlockIndex& index_;
    Value root_;
    Value ring_;
    std::unordered_map<std::uint64_t, level_t> levels_;
    std::vector<const IMetaBlock*> way_;
};

/// The path of one level at a time. The way to the next level leads up to the nearest level that both lie in.
class PathWalk {
public:
    explicit PathWalk(lineup_t blocks) : most_(blocks.size()), index_(blocks) {
        root_ = index_.find(0);
        if (root_ != nullptr) text_ = root_->name();
        root_end_ = text_.size();
    }

    /// The path of a block, null when its way up does not end at the root.
    const std::string* of(const IMetaBlock& block) {
        if (block.id() == 0) {  // the root, or a block that only has its id
            own_ = block.name();
            return &own_;
        }
        if (!go_to(block.parent_id())) return nullptr;
        append(block);
        return &text_;
    }

private:
    struct level_t {
        std::uint64_t id = 0;
        std::size_t end = 0;  // of its path within the text
    };

    void append(const IMetaBlock& block) {
        text_ += '.';
        text_ += str::sanitize_identifier(block.name());
    }
    std::size_t end() const { return chain_.empty() ? root_end_ : chain_.back().end; }

    /// Makes the text that of the level inside a subsystem; false when that does not hang under the root.
    bool go_to(std::uint64_t id) {
        if (root_ == nullptr) return false;
        const std::uint64_t here = chain_.empty() ? 0 : chain_.back().id;
        if (id != here && !climb(id)) return false;
        text_.resize(end());
        for (; !way_.empty(); way_.pop_back()) {
            append(*way_.back());
            depth_.emplace(way_.back()->id(), chain_.size());
            chain_.push_back({way_.back()->id(), text_.size()});
        }
        return true;
    }

    /// Leaves the levels that do not lie around `id`, and notes the subsystems on the way down to it.
    bool climb(std::uint64_t id) {
        auto known = depth_.end();
        for (; id != 0 && (known = depth_.find(id)) == depth_.end(); id = way_.back()->parent_id()) {
            const IMetaBlock* subsystem = astray_.contains(id) ? nullptr : index_.find(id);
            if (subsystem == nullptr || way_.size() > most_) {
                astray_.insert(id);
                for (const IMetaBlock* lost : way_) astray_.insert(lost->id());
                way_.clear();
                return false;
            }
            way_.push_back(subsystem);
        }
        const std::size_t kept = id == 0 ? 0 : known->second + 1;
        for (std::size_t i = kept; i < chain_.size(); ++i) depth_.erase(chain_[i].id);
        chain_.resize(kept);
        return true;
    }

    std::size_t most_;  // subsystems on a way up
    BlockIndex index_;
    const IMetaBlock* root_ = nullptr;
    std::string text_;
    std::size_t root_end_ = 0;
    std::vector<level_t> chain_;  // the levels around the text's end, from the outermost
    std::unordered_map<std::uint64_t, std::size_t> depth_;
    std::unordered_set<std::uint64_t> astray_;  // subsystems that do not hang under the root
    std::vector<const IMetaBlock*> way_;
    std::string own_;
};

}  // namespace

void set_tiers(lineup_t blocks) {
    const BlockIndex index(blocks);
    const auto most = static_cast<std::int32_t>(blocks.size());
    Levels<std::int32_t> depths(index, 0, most);
    const auto deeper = [most](std::int32_t outer, std::uint64_t, const IMetaBlock* subsystem) {
        return subsystem != nullptr ? std::min(outer + 1, most) : outer;
    };
    for (IMetaBlock* const block : blocks) {
        if (block == nullptr) continue;
        const std::int32_t depth = depths.inside(block->parent_id(), deeper);
        block->set_tier(block->class_hash() == hash_enable ? depth - 1 : depth);
    }
}

void add_enables(lineup_t blocks, EnableMap& map) {
    const auto known = static_cast<std::ptrdiff_t>(map.size());
    map.reserve(map.size() + blocks.size());
    std::unordered_map<std::uint64_t, std::uint64_t> own_enable;
    for (const IMetaBlock* const block : blocks) {
        if (block == nullptr) continue;
        map.emplace(block->id(), {0, 0});
        // one directly in the root gates nothing
        if (block->class_hash() == hash_enable && block->parent_id() != 0)
            own_enable.try_emplace(block->parent_id(), block->id());
    }
    if (own_enable.empty()) return;
    const auto enable_in = [&own_enable](std::uint64_t parent, std::uint64_t otherwise) {
        const auto found = own_enable.find(parent);
        return found != own_enable.end() ? found->second : otherwise;
    };

    const BlockIndex index(blocks);
    Levels<std::uint64_t> nearest(index, 0, 0);
    const auto nearer = [&](std::uint64_t outer, std::uint64_t id, const IMetaBlock*) { return enable_in(id, outer); };
    auto entry = map.begin() + known;  // the new ones stand in the order of the blocks that brought them
    for (const IMetaBlock* const block : blocks) {
        if (entry == map.end()) break;
        if (block == nullptr || block->id() != entry->first) continue;
        const std::uint64_t parent = block->parent_id();
        std::uint64_t level = parent;
        // an enable block is gated from outside the subsystem that it gates
        if (block->class_hash() == hash_enable) {
            const IMetaBlock* around = index.find(parent);
            level = around != nullptr ? around->parent_id() : 0;
        }
        const std::uint64_t second = nearest.inside(level, nearer);
        (entry++)->second = {enable_in(parent, 0), second};
    }
}

void walk_paths(lineup_t blocks, const take_path_t& take) {
    PathWalk walk(blocks);
    for (std::size_t i = 0; i < blocks.size(); ++i)
        if (blocks[i] != nullptr) take(i, walk.of(*blocks[i]));
}

}  // namespace tessel::rules
