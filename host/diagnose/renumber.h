// What happens to a referenced file when the loader exchanges its ids in its text.
#pragma once

#include <string>
#include <vector>

#include "host/diagnose/report.h"

namespace zarn {

/// How the ids of a referenced file fare.
struct renumbering_t {
    bool garbled = false;        ///< the exchange changes more than the ids
    std::size_t finding = none;  ///< the finding about it
};

/// Reports ids of a referenced file that stand in other numbers or texts as well, or that are so short that they turn
/// up inside the fresh ids.
renumbering_t check_renumbering(Report& report, const file_t& file, std::size_t position,
                                const std::vector<std::uint64_t>& ids);

}  // namespace zarn
