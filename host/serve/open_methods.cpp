// Methods about what is there to open, and the model that is open.

#include <nlohmann/json.hpp>

#include "core/format.h"
#include "host/document/document.h"
#include "host/draw/svg.h"
#include "host/serve/classes.h"
#include "host/serve/files.h"
#include "host/serve/methods.h"

namespace zarn::serve {
namespace {

constexpr int protocol_version = 1;

/// A text of the JSON library's about what is no JSON, without the number of its error.
std::string why_no_json(const nlohmann::json::exception& error) {
    const std::string_view text = error.what();
    return std::string(text.substr(text.find(' ') + 1));
}

/// A model to begin with.
constexpr const char* empty_model =
    "{\n \"blocks\": [],\n \"links\": [],\n \"model\": {\"ti\": 0.0, \"tf\": 10.0, \"ts\": 0.01}\n}\n";

std::string read_text(const std::filesystem::path& path, const std::string& shown, bool create) {
    std::error_code error;
    if (create && !std::filesystem::exists(path, error)) return empty_model;
    const ModelFile file(path, shown);
    if (!file.problem().empty())
        throw RpcError(error_t::file, tessel::format("cannot open {}: {}", shown, file.problem()));
    return std::string(file.text());
}

}  // namespace

json_t greeting(const Methods& methods, const State& state) {
    const open_t* open = state.open.get();
    return {{"protocol", protocol_version},
            {"product", "zarn"},
            {"version", state.version},
            {"folder", state.folder.path().string()},
            {"file", open != nullptr ? json_t(open->file) : json_t()},
            {"revision", open != nullptr ? open->revision() : 0},
            {"modified", open != nullptr && open->editor != nullptr && open->editor->modified()},
            {"evaluates", state.evaluates()},
            {"recovered", open != nullptr ? open->recovered : json_t()},
            {"methods", methods.names()},
            {"features",
             {{"edit", open != nullptr && open->editor != nullptr},
              {"run", true},
              {"evaluate", true},
              {"generate", {"c", "py"}},
              {"export", {"c"}}}}};
}

void open_file(State& state, const std::string& file, bool create, bool recover) {
    const auto path = state.folder.at(file);
    auto open = std::make_unique<open_t>();
    open->file = state.folder.name_of(path);
    open->path = path;
    std::string text = read_text(path, open->file, create);
    open->keeper = std::make_unique<edit::Keeper>(path, text);
    json_t& recovered = open->recovered;
    if (const auto kept = open->keeper->kept()) {
        if (recover) {
            text = kept->text;
            recovered = {{"revision", 0}, {"saved", kept->when}, {"conflict", !kept->of_this}};
            // the file is another than that which was edited: saving must ask
            if (!kept->of_this) open->keeper->distrust();
        } else {
            open->keeper->drop_kept();
        }
    }
    try {
        open->views.read({text, path, open->file, state.folder.path(), 0});
    } catch (const nlohmann::json::exception& error) {
        throw RpcError(error_t::model, tessel::format("{}: {}", file, why_no_json(error)));
    } catch (const std::runtime_error& error) {
        throw RpcError(error_t::model, error.what());
    }
    try {
        open->editor = std::make_unique<edit::Editor>(text, path);
        open->editor->set_places([views = &open->views](const std::string& handle) { return views->place_of(handle); });
    } catch (const edit::Refusal& refusal) {
        open->fixed_why = refusal.what();
        open->fixed_mend = refusal.mend();
        open->fixed_text = std::move(text);
    }
    if (state.open != nullptr) state.notify("closed", {{"file", state.open->file}});
    const bool is_new = create && open->keeper->disk() == edit::disk_t::same && !std::filesystem::exists(path);
    if (open->editor != nullptr && (!recovered.is_null() || is_new)) open->editor->mark_unsaved();
    state.open = std::move(open);
    state.on_open();
    state.open->kept = state.open->revision();
    state.check();
}

void add_open_methods(Methods& methods, State& state) {
    methods.add("hello", {}, [&](const Params&) {
        const std::lock_guard lock(state.mutex);
        return greeting(methods, state);
    });
    methods.add("files", {}, [&](const Params&) { return state.folder.files(); });
    methods.add("open", {"file", "create", "recover"}, [&](const Params& params) {
        const std::lock_guard lock(state.mutex);
        keep_unsaved(state);  // of the model before
        open_file(state, params.text("file"), params.flag("create"), params.flag("recover", true));
        return greeting(methods, state);
    });
    methods.add("classes", {}, [](const Params&) { return class_table(); });
    methods.add("stylesheet", {}, [](const Params&) { return json_t{{"css", draw::stylesheet()}}; });
}

}  // namespace zarn::serve
