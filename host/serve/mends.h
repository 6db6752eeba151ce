// Findings whose way out is an edit.
#pragma once

#include <string>
#include <vector>

#include "host/serve/state.h"

namespace zarn::serve {

struct mend_t {
    std::string title;
    json_t operations;
};

/// The edits that mend a finding, the best first; none for a finding that takes a person's mind.
std::vector<mend_t> mends_of(const open_t& open, const found_t& found);

}  // namespace zarn::serve
