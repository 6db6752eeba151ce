// calculate_zones: the execution level of every block.
//
// Needs   every input bound, tiers known, a block of fixed zone in every closed loop: without one the pass does not end
// Does    sweeps over the blocks until each has a zone above those of its sources
// Leaves  `zone` of every block
// Fails   never

#include <thread>

#include "model/MetaModel.h"
#include "model/helpers.h"

namespace tessel {
namespace {

/// Sweeps on when sweeps have become slow: a zone is a function of the sources' zones, and those never change once
/// known, so a block is called when one of them has become known.
void sweep_by_agenda(const blocks_t& blocks, const large_array<std::size_t>& open) {
    Agenda agenda(blocks);
    std::vector<bool> waits(blocks.size());
    for (const std::size_t i : open) {
        agenda.add(i);
        waits[i] = true;
    }
    std::size_t waiting = open.size();
    while (!agenda.empty()) {
        for (std::size_t i = agenda.next(); i != Agenda::end; i = agenda.next()) {
            if (!waits[i] || blocks[i]->calculate_zone() == -1) continue;
            waits[i] = false;
            --waiting;
            agenda.add_consumers(i);
        }
    }
    // What still waits is a closed loop, or lies behind one, and no further sweep will change that.
    if (waiting != 0)
        for (;;) std::this_thread::yield();
}

}  // namespace

result_t MetaModel::calculate_zones() noexcept {
    const PassLog pass("calculate_zones");
    // a block's zone changes by its own call only, so the first sweep finds what is open as it goes
    large_array<std::size_t> open;
    std::size_t before = 0;
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        if (blocks[i] == nullptr || blocks[i]->zone() >= 0) continue;
        ++before;
        if (blocks[i]->calculate_zone() == -1) open.push_back(i);
    }
    while (!open.empty()) {
        if (sweeps_are_slow(before, open.size())) {
            sweep_by_agenda(blocks, open);
            break;
        }
        before = open.size();
        std::erase_if(open, [this](std::size_t i) { return blocks[i]->calculate_zone() != -1; });
    }
    return result_ok;
}

}  // namespace tessel
