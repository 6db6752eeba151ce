// calculate_types: data types of all ports, by propagation along the links.
//
// Needs   every input bound to its source
// Does    sweeps over the blocks with untyped ports until none is left or a sweep completes no further block
// Leaves  every port typed; parameter expressions evaluated
// Fails   result_types_unresolved, or what a block's calculate_type returned

#include "model/MetaModel.h"
#include "model/helpers.h"
#include "port.h"

namespace tessel {
namespace {

bool typed_outputs(const IMetaBlock& block) {
    for (std::uint64_t i = 0; i < block.output_count(); ++i)
        if (!block.output(static_cast<std::int16_t>(i))->has_type()) return false;
    return true;
}

}  // namespace

// A block is called in a sweep only when a source's type has come since its last turn: without one the call would find
// what it found before. The sweeps and their progress are those of calling every incomplete block in list order.
result_t MetaModel::calculate_types() noexcept {
    const PassLog pass("calculate_types");
    Agenda agenda(blocks);
    std::size_t open = 0;
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        if (blocks[i] == nullptr || blocks[i]->has_all_types()) continue;
        agenda.add(i);
        ++open;
    }
    while (open != 0) {
        const std::size_t before = open;
        for (std::size_t i = agenda.next(); i != Agenda::end; i = agenda.next()) {
            IMetaBlock& block = *blocks[i];
            if (block.has_all_types()) continue;
            const bool typed = typed_outputs(block);
            if (const result_t result = block.calculate_type(); result != result_ok) return result;
            if (block.has_all_types()) --open;
            if (!typed && typed_outputs(block)) agenda.add_consumers(i);
        }
        if (open == before) return result_types_unresolved;
    }
    return result_ok;
}

}  // namespace tessel
