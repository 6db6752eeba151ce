// The compile passes one by one, in the order in which compile first calls them.
#pragma once

#include <array>
#include <utility>

#include "model/MetaModel.h"

namespace bench {

using pass_t = tessel::result_t (tessel::MetaModel::*)() noexcept;

inline constexpr std::array passes{
    std::pair<const char*, pass_t>{"validate", &tessel::MetaModel::validate},
    std::pair<const char*, pass_t>{"build_enable_map", &tessel::MetaModel::build_enable_map},
    std::pair<const char*, pass_t>{"build_python_struct", &tessel::MetaModel::build_python_struct},
    std::pair<const char*, pass_t>{"reroute_due_to_goto", &tessel::MetaModel::reroute_due_to_goto},
    std::pair<const char*, pass_t>{"calculate_tiers", &tessel::MetaModel::calculate_tiers},
    std::pair<const char*, pass_t>{"clear_link_flags", &tessel::MetaModel::clear_link_flags},
    std::pair<const char*, pass_t>{"create_links", &tessel::MetaModel::create_links},
    std::pair<const char*, pass_t>{"check_links", &tessel::MetaModel::check_links},
    std::pair<const char*, pass_t>{"calculate_types", &tessel::MetaModel::calculate_types},
    std::pair<const char*, pass_t>{"calculate_zones", &tessel::MetaModel::calculate_zones},
    std::pair<const char*, pass_t>{"reroute_due_to_cast", &tessel::MetaModel::reroute_due_to_cast},
    std::pair<const char*, pass_t>{"create_links again", &tessel::MetaModel::create_links},
    std::pair<const char*, pass_t>{"check_links again", &tessel::MetaModel::check_links},
};

}  // namespace bench
