#include "model/rules/agenda.h"

#include <algorithm>
#include <functional>

#include "port.h"

namespace tessel::rules {
namespace {

/// The address of a block in units of the least distance between two.
std::uint64_t key(const IMetaBlock* block) noexcept { return reinterpret_cast<std::uintptr_t>(block) / 16; }

}  // namespace

Agenda::Agenda(lineup_t blocks) : first_(blocks.size() + 1), noted_(blocks.size()) {
    IdIndex<IMetaBlock* const> places(blocks.size());
    for (IMetaBlock* const& block : blocks)
        if (block != nullptr) places.add(key(block), &block);

    struct edge_t {
        std::size_t from, to;
    };
    large_array<edge_t> edges;
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        const std::uint64_t count = blocks[i] != nullptr ? blocks[i]->input_count() : 0;
        for (std::uint64_t n = 0; n < count; ++n) {
            const port_t* input = blocks[i]->input(static_cast<std::int16_t>(n));
            const IMetaBlock* source = input != nullptr ? input->source_block() : nullptr;
            IMetaBlock* const* place = source != nullptr ? places.find(key(source)) : nullptr;
            if (place != nullptr) edges.push_back({static_cast<std::size_t>(place - blocks.data()), i});
        }
    }
    for (const edge_t& edge : edges) ++first_[edge.from + 1];
    for (std::size_t i = 1; i < first_.size(); ++i) first_[i] += first_[i - 1];
    consumers_.resize(edges.size());
    large_array<std::size_t> fill(first_.begin(), first_.end() - 1);
    for (const edge_t& edge : edges) consumers_[fill[edge.from]++] = edge.to;
}

void Agenda::add(std::size_t position) {
    if (noted_[position]) return;
    noted_[position] = true;
    if (sweeping_ && position > at_) {
        now_.push_back(position);
        std::ranges::push_heap(now_, std::greater{});
    } else {
        later_.push_back(position);
    }
}

void Agenda::add_consumers(std::size_t position) {
    for (std::size_t i = first_[position]; i < first_[position + 1]; ++i) add(consumers_[i]);
}

std::size_t Agenda::next() {
    if (!sweeping_) {
        sweeping_ = true;
        now_.swap(later_);
        std::ranges::make_heap(now_, std::greater{});
    }
    if (now_.empty()) {
        sweeping_ = false;
        return nowhere;
    }
    std::ranges::pop_heap(now_, std::greater{});
    at_ = now_.back();
    now_.pop_back();
    noted_[at_] = false;
    return at_;
}

}  // namespace tessel::rules
