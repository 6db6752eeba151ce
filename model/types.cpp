// calculate_types: data types of all ports, by propagation along the links.
//
// Needs   every input bound to its source
// Does    sweeps over the blocks with untyped ports until none is left or a sweep completes no further block
// Leaves  every port typed; parameter expressions evaluated
// Fails   result_types_unresolved, or what a block's calculate_type returned

#include "framework/classes.h"
#include "model/MetaModel.h"
#include "model/helpers.h"
#include "port.h"

namespace tessel {
namespace {

struct typed_t {
    std::uint64_t inputs = 0;
    std::uint64_t outputs = 0;
    bool operator==(const typed_t&) const = default;
};

typed_t count_typed(const IMetaBlock& block) {
    typed_t typed;
    for (std::uint64_t i = 0; i < block.input_count(); ++i)
        if (block.input(static_cast<std::int16_t>(i))->has_type()) ++typed.inputs;
    for (std::uint64_t i = 0; i < block.output_count(); ++i)
        if (block.output(static_cast<std::int16_t>(i))->has_type()) ++typed.outputs;
    return typed;
}

/// Sweeps on when sweeps have become slow: calls only those whose ports or sources' ports have got a type since their
/// last call, which are all that can find something that they did not find then.
result_t sweep_by_agenda(const blocks_t& blocks, const large_array<std::size_t>& open) {
    Agenda agenda(blocks);
    std::vector<std::size_t> asking;
    for (const std::size_t i : open) {
        agenda.add(i);
        // the interpreter can see how often it is asked
        if (factory::traits_of(*blocks[i]).asks_each_time) asking.push_back(i);
    }
    for (std::size_t left = open.size(); left != 0;) {
        const std::size_t before = left;
        std::erase_if(asking, [&blocks](std::size_t i) { return blocks[i]->has_all_types(); });
        for (const std::size_t i : asking) agenda.add(i);
        for (std::size_t i = agenda.next(); i != Agenda::end; i = agenda.next()) {
            IMetaBlock& block = *blocks[i];
            if (block.has_all_types()) continue;
            const typed_t had = count_typed(block);
            if (const result_t result = block.calculate_type(); result != result_ok) return result;
            const typed_t has = count_typed(block);
            if (has.outputs != had.outputs) agenda.add_consumers(i);
            if (block.has_all_types()) --left;
            else if (has != had) agenda.add(i);
        }
        if (left == before) return result_types_unresolved;
    }
    return result_ok;
}

}  // namespace

// The first sweeps call every incomplete block in list order, which is quick for most diagrams.
result_t MetaModel::calculate_types() noexcept {
    const PassLog pass("calculate_types");
    large_array<std::size_t> open;
    open.reserve(blocks.size());
    for (std::size_t i = 0; i < blocks.size(); ++i)
        if (blocks[i] != nullptr && !blocks[i]->has_all_types()) open.push_back(i);
    while (!open.empty()) {
        const std::size_t before = open.size();
        for (const std::size_t i : open) {
            if (blocks[i]->has_all_types()) continue;
            if (const result_t result = blocks[i]->calculate_type(); result != result_ok) return result;
        }
        std::erase_if(open, [this](std::size_t i) { return blocks[i]->has_all_types(); });
        if (open.size() == before) return result_types_unresolved;
        if (sweeps_are_slow(before, open.size())) return sweep_by_agenda(blocks, open);
    }
    return result_ok;
}

}  // namespace tessel
