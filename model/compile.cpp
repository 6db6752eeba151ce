// The order of the passes.

#include <array>
#include <functional>

#include "model/MetaModel.h"

namespace tessel {

// create_links and check_links stand twice: dissolving the casts deletes blocks and adds links, so every input is
// bound and tested anew.
result_t MetaModel::compile() noexcept {
    const std::array<std::function<result_t()>, 13> passes{
        [this] { return validate(); },
        [this] { return build_enable_map(); },
        [this] { return build_python_struct(); },
        [this] { return reroute_due_to_goto(); },
        [this] { return calculate_tiers(); },
        [this] { return clear_link_flags(); },
        [this] { return create_links(); },
        [this] { return check_links(); },
        [this] { return calculate_types(); },
        [this] { return calculate_zones(); },
        [this] { return reroute_due_to_cast(); },
        [this] { return create_links(); },
        [this] { return check_links(); },
    };
    for (const auto& pass : passes)
        if (const result_t result = pass(); result != result_ok) return result;
    return result_ok;
}

}  // namespace tessel
