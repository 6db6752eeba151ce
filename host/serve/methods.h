// The methods by families, one source each.
#pragma once

#include <string>

#include "host/serve/rpc.h"
#include "host/serve/state.h"

namespace zarn::serve {

class Execution;

/// hello, files, open, classes, stylesheet
void add_open_methods(Methods& methods, State& state);
/// view, block, search, picture, findings, describe_code
void add_look_methods(Methods& methods, State& state);
/// save, saved_state, revert, workspace.read, workspace.write
void add_file_methods(Methods& methods, State& state);
/// edit, undo, redo, can_connect, copy
void add_edit_methods(Methods& methods, State& state);

/// The answer to an edit that was done; tells it to all, and has the text checked.
json_t told(State& state, const edit::outcome_t& outcome);
/// evaluate, value, run.*
void add_run_methods(Methods& methods, State& state, Execution& execution);
/// explain, generate, export
void add_deliver_methods(Methods& methods, State& state, Execution& execution);
/// What `hello` answers.
json_t greeting(const Methods& methods, const State& state);
/// What `findings` answers.
json_t findings_json(const open_t& open);
/// The comments of a level as `view` shows them.
json_t comments_json(const edit::Editor& editor, const std::string& level);
/// Opens a file of the folder; see `open` in docs/protocol.md.
void open_file(State& state, const std::string& file, bool create, bool recover);

}  // namespace zarn::serve
