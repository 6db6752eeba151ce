// What the methods of a service share.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "host/edit/editor.h"
#include "host/edit/keeper.h"
#include "host/serve/checker.h"
#include "host/serve/folder.h"
#include "host/serve/rpc.h"
#include "host/serve/verdict.h"
#include "host/serve/view.h"

namespace zarn::serve {

/// One open model.
struct open_t {
    std::string file;            ///< relative to the folder
    std::filesystem::path path;  ///< absolute, links resolved
    std::unique_ptr<edit::Keeper> keeper;
    json_t recovered;                             ///< what was taken from the side file when it was opened
    std::optional<std::uint64_t> kept;            ///< the revision that the side file, or the file, has
    edit::disk_t told_disk = edit::disk_t::same;  ///< what was told of the file last
    std::unique_ptr<edit::Editor> editor;         ///< null for a text that cannot be edited
    std::string fixed_text;                       ///< the text then
    std::string fixed_why, fixed_mend;            ///< why it cannot
    Views views;
    verdict_t verdict;
    bool judged = false;  ///< whether there is a verdict of any state
    bool pending = true;  ///< whether a check of the present state is under way

    std::uint64_t revision() const { return editor != nullptr ? editor->revision() : 0; }
    std::string text() const { return editor != nullptr ? editor->text() : fixed_text; }
};

struct State {
    State(std::filesystem::path place, std::string product_version, std::function<void(std::string)> tell)
        : folder(place), version(std::move(product_version)), tell_(std::move(tell)) {}

    std::mutex mutex;  ///< held by whoever uses what follows
    std::condition_variable verdict_came;
    Folder folder;
    std::string version;
    std::unique_ptr<open_t> open;
    std::unique_ptr<Checker> checker;
    std::uint64_t tickets = 0;           ///< checks asked for so far
    std::function<void()> on_open;       ///< another model is open
    std::function<bool()> evaluates;     ///< whether the user has agreed to evaluating
    std::function<void()> script_saved;  ///< a workspace script was written

    /// The open model. Raises `RpcError` when there is none.
    open_t& model();
    /// The editor of the open model. Raises `RpcError` for a model that cannot be edited.
    edit::Editor& editor();
    sheet_t sheet() const;
    /// Has the present state checked.
    void check();
    /// Takes the present text into the views and has it checked.
    void text_changed();
    void notify(const char* method, json_t params) { tell_(notification(method, std::move(params))); }

private:
    std::function<void(std::string)> tell_;
};

json_t outcome_json(const edit::outcome_t& outcome);

}  // namespace zarn::serve
