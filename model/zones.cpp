// calculate_zones: the execution level of every block.
//
// Needs   every input bound, tiers known, a block of fixed zone in every closed loop: without one the pass does not end
// Does    sweeps over the blocks until each has a zone above those of its sources
// Leaves  `zone` of every block
// Fails   never, but in a model that is watched: result_failure at a closed loop

#include <thread>

#include "model/MetaModel.h"
#include "model/helpers.h"

namespace tessel {

result_t MetaModel::calculate_zones() noexcept {
    const PassLog pass("calculate_zones");
    const auto all = line_up(blocks);
    for (auto waiting = rules::sweep_zones(all); !waiting.empty(); waiting = rules::sweep_zones(all)) {
        if (take_loop) {
            take_loop(rules::find_loop(all, waiting));
            return result_failure;
        }
        std::this_thread::yield();
    }
    return result_ok;
}

}  // namespace tessel
