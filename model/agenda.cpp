#include <functional>

#include "model/helpers.h"
#include "port.h"

namespace tessel {

Agenda::Agenda(const blocks_t& blocks) : first_(blocks.size() + 1), noted_(blocks.size()) {
    FlatMap<const IMetaBlock*, std::size_t> position(blocks.size());
    for (std::size_t i = 0; i < blocks.size(); ++i)
        if (blocks[i] != nullptr) position.try_emplace(blocks[i].get(), i);

    const auto for_each_edge = [&](auto visit) {
        for (std::size_t i = 0; i < blocks.size(); ++i) {
            if (blocks[i] == nullptr) continue;
            const std::uint64_t count = blocks[i]->input_count();
            for (std::uint64_t n = 0; n < count; ++n) {
                const IMetaBlock* source = blocks[i]->input(static_cast<std::int16_t>(n))->source_block();
                const std::size_t* from = source != nullptr ? position.find(source) : nullptr;
                if (from != nullptr) visit(*from, i);
            }
        }
    };
    for_each_edge([this](std::size_t from, std::size_t) { ++first_[from + 1]; });
    for (std::size_t i = 1; i < first_.size(); ++i) first_[i] += first_[i - 1];
    consumers_.resize(first_.back());
    std::vector<std::size_t> fill(first_.begin(), first_.end() - 1);
    for_each_edge([&](std::size_t from, std::size_t to) { consumers_[fill[from]++] = to; });
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
        return end;
    }
    std::ranges::pop_heap(now_, std::greater{});
    at_ = now_.back();
    now_.pop_back();
    noted_[at_] = false;
    return at_;
}

}  // namespace tessel
