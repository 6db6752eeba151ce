// The open model's file, and what is kept of what is not saved.
#pragma once

#include <string>

#include "host/serve/state.h"

namespace zarn::serve {

/// The workspace script that belongs to the open model, relative to the folder; it need not be there.
std::string script_beside(const State& state);
/// What there is now was written. Tells it, and answers `save`.
json_t saved(State& state, bool merged);
/// The whole text is another one. Tells it; the answer is that of an edit, with "all".
json_t replaced(State& state);
/// Notices a file that somebody else has changed. With the state's mutex held.
void look_at_disk(State& state);
/// Writes a state that is not saved into the side file. With the state's mutex held.
void keep_unsaved(State& state);

}  // namespace zarn::serve
