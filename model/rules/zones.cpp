#include "model/rules/zones.h"

#include <algorithm>
#include <unordered_map>

#include "model/rules/agenda.h"
#include "port.h"

namespace tessel::rules {
namespace {

/// Lets those that wait try once each, in list order; whether one has got further.
bool sweep(lineup_t blocks, large_array<std::size_t>& waiting) {
    const std::size_t before = waiting.size();
    std::erase_if(waiting, [blocks](std::size_t i) { return blocks[i]->calculate_zone() != -1; });
    return waiting.size() != before;
}

/// Sweeps on when sweeps have become slow: a zone is a function of the sources' zones, and those never change once
/// known, so a block is called when one of them has become known. A host's block may wait for something else: what is
/// left in the end is swept as a whole.
void sweep_by_agenda(lineup_t blocks, large_array<std::size_t>& waiting) {
    Agenda agenda(blocks);
    std::vector<bool> waits(blocks.size());
    for (const std::size_t i : waiting) waits[i] = true;
    const auto settle = [&](std::size_t i) {
        waits[i] = false;
        agenda.add_consumers(i);
    };
    for (const std::size_t i : waiting) agenda.add(i);
    for (bool changed = true; changed;) {
        while (!agenda.empty())
            for (std::size_t i = agenda.next(); i != nowhere; i = agenda.next())
                if (waits[i] && blocks[i]->calculate_zone() != -1) settle(i);
        changed = false;
        std::erase_if(waiting, [&waits](std::size_t i) { return !waits[i]; });
        for (const std::size_t i : waiting) {
            if (blocks[i]->calculate_zone() == -1) continue;
            settle(i);
            changed = true;
        }
    }
}

/// A source of the block that has no zone either.
IMetaBlock* waiting_source(const IMetaBlock& block) {
    for (std::uint64_t i = 0; i < block.input_count(); ++i) {
        const port_t* input = block.input(static_cast<std::int16_t>(i));
        IMetaBlock* const source = input != nullptr ? input->source_block() : nullptr;
        if (source != nullptr && source->zone() < 0) return source;
    }
    return nullptr;
}

}  // namespace

large_array<std::size_t> sweep_zones(lineup_t blocks) {
    // a block's zone changes by its own call only, so the first sweep finds what is open as it goes
    large_array<std::size_t> waiting;
    std::size_t before = 0;
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        if (blocks[i] == nullptr || blocks[i]->zone() >= 0) continue;
        ++before;
        if (blocks[i]->calculate_zone() == -1) waiting.push_back(i);
    }
    while (!waiting.empty()) {
        if (sweeps_are_slow(before, waiting.size())) {
            sweep_by_agenda(blocks, waiting);
            break;
        }
        before = waiting.size();
        sweep(blocks, waiting);
    }
    return waiting;
}

std::vector<IMetaBlock*> find_loop(lineup_t blocks, const large_array<std::size_t>& waiting) {
    struct visit_t {
        std::size_t start, place;
    };
    std::unordered_map<const IMetaBlock*, visit_t> seen;
    for (const std::size_t start : waiting) {
        std::vector<IMetaBlock*> way;  // against the links
        for (IMetaBlock* block = blocks[start]; block != nullptr; block = waiting_source(*block)) {
            const auto [first, fresh] = seen.try_emplace(block, visit_t{start, way.size()});
            if (fresh) {
                way.push_back(block);
                continue;
            }
            if (first->second.start != start) break;  // an earlier way has led on from here, to no loop
            way.erase(way.begin(), way.begin() + static_cast<std::ptrdiff_t>(first->second.place));
            std::ranges::reverse(way);
            return way;
        }
    }
    return {};
}

}  // namespace tessel::rules
