#include "host/edit/editor.h"

#include <algorithm>

namespace zarn::edit {
namespace {

constexpr std::size_t most_steps = 1000;  // of undo

void add_once(std::vector<std::string>& list, std::set<std::string>& known, std::string text) {
    if (known.insert(text).second) list.push_back(std::move(text));
}

}  // namespace

Editor::Editor(std::string_view text, std::filesystem::path file) : sheet_(text), file_(std::move(file)) {}

outcome_t Editor::outcome(const std::vector<change_t>& changes) const {
    outcome_t outcome = state();
    std::set<std::string> levels, blocks, wires;
    for (const change_t& change : changes) {
        for (const item_t* item : {&change.before, &change.after}) {
            if (change.kind == change_t::kind_t::frame || item->body.empty()) continue;
            if (change.list == list_t::blocks) {
                add_once(outcome.blocks, blocks, std::to_string(item->id));
                add_once(outcome.levels, levels, std::to_string(item->parent));
            } else if (change.list == list_t::links) {
                add_once(outcome.wires, wires,
                         std::to_string(item->source) + ":" + std::to_string(item->source_port) + ">" +
                             std::to_string(item->target) + ":" + std::to_string(item->target_port));
                const std::size_t source = sheet_.find_block(std::to_string(item->source));
                if (source != nowhere)
                    add_once(outcome.levels, levels, std::to_string(sheet_.item(list_t::blocks, source).parent));
            }
        }
    }
    return outcome;
}

outcome_t Editor::state() const {
    outcome_t outcome;
    outcome.revision = revision_;
    outcome.modified = modified();
    if (!done_.empty()) outcome.undo = done_.back().title;
    if (!undone_.empty()) outcome.redo = undone_.back().title;
    return outcome;
}

outcome_t Editor::commit(const std::string& title) {
    auto changes = sheet_.take_changes();
    if (changes.empty()) {
        outcome_t same = state();
        same.created = created_;
        return same;
    }
    ++revision_;
    step_t step{title, std::move(changes), state_, ++states_};
    state_ = step.after;
    done_.push_back(std::move(step));
    if (done_.size() > most_steps) done_.erase(done_.begin());
    undone_.clear();
    outcome_t result = outcome(done_.back().changes);
    result.created = created_;
    return result;
}

void Editor::abandon() { sheet_.undo(sheet_.take_changes()); }

outcome_t Editor::undo() {
    if (done_.empty()) throw Refusal("there is nothing to undo");
    step_t step = std::move(done_.back());
    done_.pop_back();
    sheet_.undo(step.changes);
    ++revision_;
    state_ = step.before;
    undone_.push_back(std::move(step));
    return outcome(undone_.back().changes);
}

outcome_t Editor::redo() {
    if (undone_.empty()) throw Refusal("there is nothing to do again");
    step_t step = std::move(undone_.back());
    undone_.pop_back();
    sheet_.redo(step.changes);
    ++revision_;
    state_ = step.after;
    done_.push_back(std::move(step));
    return outcome(done_.back().changes);
}

}  // namespace zarn::edit
