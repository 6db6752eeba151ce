// Methods about the file: saved, kept, changed by others.

#include <chrono>

#include "core/format.h"
#include "host/document/read.h"
#include "host/serve/files.h"
#include "host/serve/methods.h"
#include "host/session/output_file.h"

namespace zarn::serve {
namespace {

namespace fs = std::filesystem;
using edit::disk_t;

constexpr std::size_t longest_script = std::size_t{16} << 20;

/// Does what raises `std::runtime_error` over a file.
auto with_file(const std::string& file, const auto& work) {
    try {
        return work();
    } catch (const RpcError&) {
        throw;
    } catch (const std::runtime_error& error) {
        throw RpcError(error_t::file, tessel::format("{}: {}", file, error.what()));
    }
}

/// Takes in what somebody else has written. Raises `RpcError` where both changed the same.
void merge(State& state, open_t& open) {
    edit::Editor& editor = *open.editor;
    const std::string theirs = with_file(open.file, [&] { return open.keeper->read(); });
    editor.begin();
    std::vector<std::string> conflicts;
    std::string why;
    try {
        conflicts = editor.merge(open.keeper->base(), theirs);
    } catch (const edit::Refusal& refusal) {
        why = refusal.what();
    }
    if (!conflicts.empty() || !why.empty()) {
        editor.abandon();
        throw RpcError(error_t::conflict,
                       why.empty() ? tessel::format("{} was changed on disk too, in the same places", open.file)
                                   : tessel::format("{} was changed on disk: {}", open.file, why),
                       "\"save\" with \"overwrite\" keeps what is here, \"revert\" takes what is on disk",
                       {{"blocks", conflicts}});
    }
    told(state, editor.commit("merge"));
    open.keeper->take(theirs);
}

json_t save_as(State& state, const std::string& file, bool overwrite) {
    open_t& open = state.model();
    const fs::path path = state.folder.at(file);
    std::error_code error;
    if (path != open.path && fs::exists(path, error) && !overwrite)
        throw RpcError(error_t::conflict, tessel::format("{} is there already", file), "\"overwrite\" replaces it");
    auto keeper = std::make_unique<edit::Keeper>(path, "");
    with_file(file, [&] { keeper->save(open.text()); });
    open.keeper->drop_kept();
    open.keeper = std::move(keeper);
    open.path = path;
    open.file = state.folder.name_of(path);
    return saved(state, false);
}

json_t save(State& state, const Params& params) {
    open_t& open = state.model();
    const bool overwrite = params.flag("overwrite");
    if (params.has("file")) return save_as(state, params.text("file"), overwrite);
    edit::Editor& editor = state.editor();
    bool merged = false;
    if (open.keeper->disk() == disk_t::changed && !overwrite) {
        merge(state, open);
        merged = true;
    }
    with_file(open.file, [&] { open.keeper->save(editor.text()); });
    return saved(state, merged);
}

json_t revert(State& state) {
    open_t& open = state.model();
    edit::Editor& editor = state.editor();
    std::string text = with_file(open.file, [&] { return open.keeper->read(); });
    try {
        editor.adopt(text);
    } catch (const edit::Refusal& refusal) {
        throw RpcError(error_t::file, refusal.what(), refusal.mend());
    }
    open.keeper->take(std::move(text));
    open.keeper->drop_kept();
    open.kept = editor.revision();
    open.recovered = nullptr;
    return replaced(state);
}

json_t saved_state(State& state) {
    open_t& open = state.model();
    return {{"file", open.file},
            {"modified", open.editor != nullptr && open.editor->modified()},
            {"autosaved", open.kept ? json_t(*open.kept) : json_t()},
            {"disk", edit::disk_name(open.keeper->disk())}};
}

json_t read_script(State& state, const Params& params) {
    const std::string file = params.text("file", script_beside(state));
    const fs::path path = state.folder.at(file);
    const content_t content = read_file(path);
    std::error_code error;
    const bool exists = fs::exists(path, error);
    if (exists && !content.problem.empty())
        throw RpcError(error_t::file, tessel::format("{}: {}", file, content.problem));
    return {{"file", file}, {"text", content.text.substr(0, content.length)}, {"exists", exists}};
}

json_t write_script(State& state, const Params& params) {
    const std::string file = params.text("file", script_beside(state));
    const fs::path path = state.folder.at(file);
    const std::string text = params.text("text");
    if (path.extension() != ".py")
        throw RpcError(error_t::refused, tessel::format("{} is no workspace script", file), "its name ends in .py");
    if (text.size() > longest_script) throw RpcError(error_t::refused, "the script is too long");
    std::error_code error;
    if (params.has("seen") && fs::exists(path, error)) {
        const content_t content = read_file(path);
        if (content.text.substr(0, content.length) != params.text("seen"))
            throw RpcError(error_t::conflict, tessel::format("{} was changed on disk", file),
                           "read it anew before it is written");
    }
    with_file(file, [&] {
        OutputFile output(path);
        output.write(text);
        output.commit();
    });
    state.script_saved();
    return {{"file", file}, {"text", text}, {"exists", true}};
}

}  // namespace

std::string script_beside(const State& state) {
    if (state.open == nullptr) return "workspace.py";
    return (fs::path(state.open->file).parent_path() / "workspace.py").generic_string();
}

json_t saved(State& state, bool merged) {
    open_t& open = state.model();
    if (open.editor != nullptr) open.editor->mark_saved();
    open.kept = open.revision();
    open.recovered = nullptr;
    state.notify("saved", {{"file", open.file}, {"revision", open.revision()}});
    return {{"file", open.file}, {"revision", open.revision()}, {"merged", merged}};
}

json_t replaced(State& state) {
    edit::outcome_t outcome = state.editor().state();
    json_t answer = outcome_json(outcome);
    answer["all"] = true;
    state.text_changed();
    state.notify("changed", answer);
    return answer;
}

void look_at_disk(State& state) {
    if (state.open == nullptr || state.open->editor == nullptr) return;
    open_t& open = *state.open;
    const disk_t now = open.keeper->disk();
    if (now == open.told_disk) return;
    open.told_disk = now;
    if (now == disk_t::changed && !open.editor->modified()) {
        try {
            std::string text = open.keeper->read();
            open.editor->adopt(text);
            open.keeper->take(std::move(text));
            open.told_disk = disk_t::same;
            replaced(state);
            state.notify("disk", {{"file", open.file}, {"state", "same"}, {"merged", false}});
            return;
        } catch (const std::exception&) {  // half written, or no model any more: it is told as changed
        }
    }
    state.notify("disk", {{"file", open.file}, {"state", edit::disk_name(now)}, {"merged", false}});
}

void keep_unsaved(State& state) {
    if (state.open == nullptr || state.open->editor == nullptr) return;
    open_t& open = *state.open;
    if (open.kept == open.editor->revision()) return;
    try {
        if (open.editor->modified()) open.keeper->keep(open.editor->text());
        else open.keeper->drop_kept();
        open.kept = open.editor->revision();
    } catch (const std::exception&) {  // a folder that cannot be written to; "autosaved" tells
    }
}

void add_file_methods(Methods& methods, State& state) {
    methods.add("save", {"file", "overwrite"}, [&](const Params& params) {
        const std::lock_guard lock(state.mutex);
        return save(state, params);
    });
    methods.add("saved_state", {}, [&](const Params&) {
        const std::lock_guard lock(state.mutex);
        return saved_state(state);
    });
    methods.add("revert", {}, [&](const Params&) {
        const std::lock_guard lock(state.mutex);
        return revert(state);
    });
    methods.add("workspace.read", {"file"}, [&](const Params& params) {
        const std::lock_guard lock(state.mutex);
        return read_script(state, params);
    });
    methods.add("workspace.write", {"file", "text", "seen"}, [&](const Params& params) {
        const std::lock_guard lock(state.mutex);
        return write_script(state, params);
    });
}

}  // namespace zarn::serve
