#include "host/session/limits.h"

#include <unordered_map>

#include "host/session/session.h"
#include "port.h"

namespace zarn {
namespace {

/// Works out zones as far as the pass will get; answers the blocks that it can never reach.
std::vector<tessel::IMetaBlock*> find_stuck(tessel::IMetaModel& model) {
    std::unordered_map<const tessel::IMetaBlock*, std::vector<tessel::IMetaBlock*>> consumers;
    std::vector<tessel::IMetaBlock*> ready;
    for (const auto& block : model) {
        if (block == nullptr) continue;
        ready.push_back(block.get());
        for (std::uint64_t i = 0; i < block->input_count(); ++i)
            if (const auto* source = block->input(static_cast<std::int16_t>(i))->source_block(); source != nullptr)
                consumers[source].push_back(block.get());
    }
    while (!ready.empty()) {
        tessel::IMetaBlock* block = ready.back();
        ready.pop_back();
        if (block->zone() >= 0 || block->calculate_zone() != 0 || block->zone() < 0) continue;
        if (const auto found = consumers.find(block); found != consumers.end())
            ready.insert(ready.end(), found->second.begin(), found->second.end());
    }
    std::vector<tessel::IMetaBlock*> stuck;
    for (const auto& block : model)
        if (block != nullptr && block->zone() < 0) stuck.push_back(block.get());
    return stuck;
}

/// A source of the block that has no zone either.
tessel::IMetaBlock* stuck_source(tessel::IMetaBlock& block) {
    for (std::uint64_t i = 0; i < block.input_count(); ++i) {
        auto* source = block.input(static_cast<std::int16_t>(i))->source_block();
        if (source != nullptr && source->zone() < 0) return source;
    }
    return nullptr;
}

}  // namespace

void LoopGuard::enter_zones(tessel::IMetaModel& model, const std::function<void()>& on_loop) {
    const auto stuck = find_stuck(model);
    if (stuck.empty()) return;

    std::unordered_map<const tessel::IMetaBlock*, std::size_t> seen;
    std::vector<tessel::IMetaBlock*> way;
    for (auto* block = stuck.front(); block != nullptr && !seen.contains(block); block = stuck_source(*block)) {
        seen.emplace(block, way.size());
        way.push_back(block);
    }
    if (auto* closing = stuck_source(*way.back()); closing != nullptr)
        for (std::size_t i = way.size(); i-- > seen.at(closing);) loop_.push_back(path_of(*way[i]));

    if (on_loop) on_loop();
    opener_ = tessel::factory::create("time");
    opener_->calculate_zone();
    for (auto* block : stuck)
        for (std::uint64_t i = 0; i < block->input_count(); ++i) {
            auto* input = block->input(static_cast<std::int16_t>(i));
            if (input->source_block() != nullptr && input->source_block()->zone() < 0) input->link(opener_.get(), 0);
        }
}

}  // namespace zarn
