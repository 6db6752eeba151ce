#include "host/serve/state.h"

namespace zarn::serve {

open_t& State::model() {
    if (open == nullptr) throw RpcError(error_t::state, "no model is open", "\"open\" opens one, \"files\" lists them");
    return *open;
}

edit::Editor& State::editor() {
    open_t& at_hand = model();
    if (at_hand.editor == nullptr) throw RpcError(error_t::refused, at_hand.fixed_why, at_hand.fixed_mend);
    return *at_hand.editor;
}

sheet_t State::sheet() const { return {open->text(), open->path, open->file, folder.path(), open->revision(), 0}; }

void State::text_changed() {
    open->views.read(sheet());
    if (open->judged) open->views.take(open->verdict);
    check();
}

void State::check() {
    open->pending = true;
    sheet_t now = sheet();
    now.ticket = ++tickets;
    checker->ask(std::move(now));
}

json_t outcome_json(const edit::outcome_t& outcome) {
    const auto or_null = [](const std::string& text) { return text.empty() ? json_t() : json_t(text); };
    return {{"revision", outcome.revision},
            {"created", outcome.created},
            {"changed", {{"levels", outcome.levels}, {"blocks", outcome.blocks}, {"wires", outcome.wires}}},
            {"modified", outcome.modified},
            {"undo", or_null(outcome.undo)},
            {"redo", or_null(outcome.redo)}};
}

}  // namespace zarn::serve
