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

// A zone is a function of the sources' zones, and those never change once known: visiting a block when one of them
// becomes known gives what sweeping over all blocks gives.
result_t MetaModel::calculate_zones() noexcept {
    const PassLog pass("calculate_zones");
    Agenda agenda(blocks);
    std::size_t waiting = 0;
    std::vector<bool> waits(blocks.size());
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        if (blocks[i] == nullptr || blocks[i]->zone() >= 0) continue;
        agenda.add(i);
        waits[i] = true;
        ++waiting;
    }
    while (!agenda.empty()) {
        for (std::size_t i = agenda.next(); i != Agenda::end; i = agenda.next()) {
            if (!waits[i] || blocks[i]->calculate_zone() == -1) continue;
            waits[i] = false;
            --waiting;
            if (blocks[i]->zone() >= 0) agenda.add_consumers(i);
        }
    }
    // What still waits is a closed loop, or lies behind one, and no further sweep will change that.
    while (waiting != 0) std::this_thread::yield();
    return result_ok;
}

}  // namespace tessel
