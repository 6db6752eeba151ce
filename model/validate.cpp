// validate: refuses unusable time settings, overfull blocks and clashing goto targets.
//
// Needs   the properties' "ts", "ti", "tf"
// Does    walks all blocks, marks every one at fault
// Leaves  nothing changed but `failed` flags
// Fails   result_bad_step, result_bad_interval (before any block is looked at); result_too_many_inputs,
//         result_goto_duplicated: the code of the last fault in list order

#include "model/MetaModel.h"
#include "model/helpers.h"
#include "model/rules/rerouting.h"

namespace tessel {

result_t MetaModel::validate() noexcept {
    const PassLog pass("validate");
    const auto setting = [this](const char* key) { return properties->get(key).payload<double>(); };
    if (0.0 >= setting("ts")) return result_bad_step;
    if (setting("ti") >= setting("tf")) return result_bad_interval;

    constexpr std::int16_t most_inputs = 8;
    result_t result = result_ok;
    rules::Targets targets;
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        const auto& block = blocks[i];
        if (block == nullptr) continue;
        if (static_cast<std::int16_t>(block->input_count()) > most_inputs) {
            block->set_failed(true);
            result = result_too_many_inputs;
        }
        if (block->class_hash() == hash_goto && targets.first(*block, i) != i) {
            block->set_failed(true);
            result = result_goto_duplicated;
        }
    }
    return result;
}

}  // namespace tessel
