// The methods by families, one source each.
#pragma once

#include <string>

#include "host/serve/rpc.h"
#include "host/serve/state.h"

namespace zarn::serve {

/// hello, files, open, classes, stylesheet
void add_open_methods(Methods& methods, State& state);
/// view, block, search, picture, findings, describe_code
void add_look_methods(Methods& methods, State& state);

/// What `hello` answers.
json_t greeting(const Methods& methods, const State& state);
/// What `findings` answers.
json_t findings_json(const open_t& open);
/// The comments of a level as `view` shows them.
json_t comments_json(const edit::Editor& editor, const std::string& level);
/// Opens a file of the folder; see `open` in docs/protocol.md.
void open_file(State& state, const std::string& file, bool create);

}  // namespace zarn::serve
