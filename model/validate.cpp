// validate: refuses unusable time settings, overfull blocks and clashing goto targets.
//
// Needs   the properties' "ts", "ti", "tf"
// Does    walks all blocks, marks every one at fault
// Leaves  nothing changed but `failed` flags
// Fails   result_bad_step, result_bad_interval (before any block is looked at); result_too_many_inputs,
//         result_goto_duplicated: the code of the last fault in list order

#include <string>
#include <unordered_set>

#include "model/MetaModel.h"
#include "model/helpers.h"

namespace tessel {

result_t MetaModel::validate() noexcept {
    const PassLog pass("validate");
    const auto setting = [this](const char* key) { return properties->get(key).payload<double>(); };
    if (0.0 >= setting("ts")) return result_bad_step;
    if (setting("ti") >= setting("tf")) return result_bad_interval;

    constexpr std::int16_t most_inputs = 8;
    result_t result = result_ok;
    std::unordered_set<std::string> targets;
    for (const auto& block : blocks) {
        if (block == nullptr) continue;
        if (static_cast<std::int16_t>(block->input_count()) > most_inputs) {
            block->set_failed(true);
            result = result_too_many_inputs;
        }
        if (block->class_hash() == hash_goto && !targets.insert(block->param("target").text()).second) {
            block->set_failed(true);
            result = result_goto_duplicated;
        }
    }
    return result;
}

}  // namespace tessel
