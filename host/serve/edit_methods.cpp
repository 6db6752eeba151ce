// Methods that change the open model.

#include <algorithm>
#include <cstdio>
#include <ranges>

#include "core/format.h"
#include "host/serve/mends.h"
#include "host/serve/methods.h"
#include "host/serve/operations.h"

namespace zarn::serve {
namespace {

constexpr std::size_t most_operations = 100'000;
constexpr std::size_t most_tried = 400;  // blocks of a model that a wire is tried in: an answer while it is drawn

/// Does edits as one step, or none of them.
json_t change(State& state, const std::function<std::string(edit::Editor&)>& work) {
    edit::Editor& editor = state.editor();
    editor.begin();
    try {
        const std::string title = work(editor);
        const auto outcome = editor.commit(title);
        return told(state, outcome);
    } catch (const edit::Refusal& refusal) {
        editor.abandon();
        throw RpcError(error_t::refused, refusal.what(), refusal.mend());
    } catch (...) {
        editor.abandon();
        throw;
    }
}

json_t edit(State& state, const Params& params) {
    const json_t& operations = params.list("operations");
    if (operations.empty()) throw RpcError(error_t::params, "\"operations\" is missing, or an empty list");
    if (operations.size() > most_operations)
        throw RpcError(error_t::refused, tessel::format("an edit has at most {} operations", most_operations));
    if (params.has("revision") && params.integer("revision") > static_cast<std::int64_t>(state.model().revision()))
        throw RpcError(error_t::refused, "\"revision\" is one that has not been");
    return change(state, [&](edit::Editor& editor) {
        std::string title;
        for (std::size_t i = 0; i < operations.size(); ++i) {
            const std::string one = operate(editor, operations[i], i);
            if (i == 0) title = one;
        }
        return title;
    });
}

json_t step(State& state, edit::outcome_t (edit::Editor::*go)()) {
    try {
        return told(state, (state.editor().*go)());
    } catch (const edit::Refusal& refusal) {
        throw RpcError(error_t::refused, refusal.what(), refusal.mend());
    }
}

/// The first error about a block that a wire to it would bring.
json_t tried(State& state, const edit::end_t& from, const edit::end_t& to) {
    const open_t& open = state.model();
    if (open.editor->sheet().items(edit::list_t::blocks).size() > most_tried || open.verdict.evaluated || !open.judged)
        return {{"ok", true}};
    edit::Editor trial(open.editor->text(), open.path);
    trial.begin();
    trial.connect(from, to, {}, "", true);
    sheet_t sheet = state.sheet();
    sheet.text = trial.text();
    const verdict_t verdict = judge(sheet, nullptr);
    for (const found_t& found : verdict.findings) {
        if (found.finding.severity != severity_t::error || found.block != to.block) continue;
        const bool known = std::ranges::any_of(open.verdict.findings, [&](const found_t& before) {
            return before.block == found.block && before.finding.code == found.finding.code;
        });
        if (!known) return {{"ok", false}, {"why", found.finding.what}, {"mend", found.finding.mend}};
    }
    return {{"ok", true}};
}

json_t apply_mend(State& state, const Params& params) {
    const open_t& open = state.model();
    const std::string name = params.text("mend");
    unsigned long long revision = 0;
    unsigned place = 0, which = 0;
    const bool read = std::sscanf(name.c_str(), "%llu.%u.%u", &revision, &place, &which) == 3;
    if (!read || revision != open.revision() || open.verdict.revision != revision ||
        place >= open.verdict.findings.size())
        throw RpcError(error_t::refused, "the mend is not one of the present findings", "ask for \"findings\" anew");
    const auto mends = mends_of(open, open.verdict.findings[place]);
    if (which >= mends.size()) throw RpcError(error_t::refused, "the mend is not one of the present findings");
    return change(state, [&](edit::Editor& editor) {
        for (std::size_t i = 0; i < mends[which].operations.size(); ++i) operate(editor, mends[which].operations[i], i);
        return mends[which].title;
    });
}

json_t can_connect(State& state, const Params& params) {
    edit::Editor& editor = state.editor();
    const edit::end_t from = end_of(params, "from"), to = end_of(params, "to");
    try {
        const auto found = editor.obstacle(from, to, params.flag("replace"));
        if (!found.why.empty()) return {{"ok", false}, {"why", found.why}, {"mend", found.mend}};
        return tried(state, from, to);
    } catch (const edit::Refusal& refusal) {
        throw RpcError(error_t::refused, refusal.what(), refusal.mend());
    }
}

json_t copy(State& state, const Params& params) {
    try {
        const std::string text = state.editor().copy(params.texts("blocks"));
        json_t fragment = json_t::parse(text, nullptr, false);
        if (fragment.is_discarded()) fragment = nullptr;
        return {{"fragment", std::move(fragment)}, {"text", text}};
    } catch (const edit::Refusal& refusal) {
        throw RpcError(error_t::refused, refusal.what(), refusal.mend());
    }
}

}  // namespace

json_t told(State& state, const edit::outcome_t& outcome) {
    state.text_changed();
    json_t answer = outcome_json(outcome);
    state.notify("changed", answer);
    return answer;
}

void add_edit_methods(Methods& methods, State& state) {
    methods.add("edit", {"operations", "revision"}, [&](const Params& params) {
        const std::lock_guard lock(state.mutex);
        return edit(state, params);
    });
    methods.add("can_connect", {"from", "to", "replace"}, [&](const Params& params) {
        const std::lock_guard lock(state.mutex);
        return can_connect(state, params);
    });
    methods.add("copy", {"blocks"}, [&](const Params& params) {
        const std::lock_guard lock(state.mutex);
        return copy(state, params);
    });
    methods.add("apply_mend", {"mend"}, [&](const Params& params) {
        const std::lock_guard lock(state.mutex);
        return apply_mend(state, params);
    });
    methods.add("undo", {}, [&](const Params&) {
        const std::lock_guard lock(state.mutex);
        return step(state, &edit::Editor::undo);
    });
    methods.add("redo", {}, [&](const Params&) {
        const std::lock_guard lock(state.mutex);
        return step(state, &edit::Editor::redo);
    });
}

}  // namespace zarn::serve
