// zarn generate: a model as a stand-alone C or Python project.

#include <unistd.h>
#include <CLI/App.hpp>

#include <cerrno>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <system_error>
#include <vector>

#include "coder_c.h"
#include "coder_py.h"
#include "core/format.h"
#include "host/cli/command.h"
#include "host/cli/interrupt.h"
#include "host/cli/verbs.h"
#include "host/codenotes/notes.h"

namespace zarn {
namespace {

using path_t = std::filesystem::path;

struct generate_options_t : options_t {
    std::string language;
    std::string folder;
};

/// A project in the making, in a folder inside its own: until `commit` an earlier project stays as it is, and a project
/// that fails leaves nothing behind. Operations that fail raise `std::system_error` with the reason.
class Project {
public:
    Project(const path_t& folder, const char* name)
        : place_(folder / name), part_(place_ / tessel::format(".{}.part", getpid())), name_(name) {
        for (path_t missing = part_; !std::filesystem::exists(missing); missing = missing.parent_path())
            made_.push_back(missing);
        std::error_code error;
        std::filesystem::create_directories(part_, error);
        if (error) abandon(error);
    }
    Project(const Project&) = delete;
    Project& operator=(const Project&) = delete;
    ~Project() {
        std::error_code ignored;
        std::filesystem::remove_all(part_, ignored);
    }

    /// Writes the files beside those of an earlier project.
    template <class Write>
    void write(Write write) {
        errno = 0;
        if (write(part_.string()) == tessel::result_ok) return;
        abandon(std::error_code(errno != 0 ? errno : EIO, std::generic_category()));
    }

    /// Puts the files in their place.
    void commit() {
        std::vector<path_t> files;
        for (const auto& file : std::filesystem::directory_iterator(part_ / name_)) files.push_back(file.path());
        for (const path_t& file : files)
            if (std::filesystem::is_directory(place_ / file.filename()))
                abandon(std::make_error_code(std::errc::is_a_directory));
        for (const path_t& file : files) {
            std::error_code error;
            std::filesystem::rename(file, place_ / file.filename(), error);
            if (error) abandon(error);
        }
    }

    /// Removes what was made, folders of the way to the project included.
    void remove() noexcept {
        std::error_code ignored;
        std::filesystem::remove_all(part_, ignored);
        for (const path_t& folder : made_) std::filesystem::remove(folder, ignored);  // while they are empty
    }

private:
    [[noreturn]] void abandon(std::error_code error) {
        remove();
        throw std::system_error(error);
    }

    path_t place_, part_;
    std::string name_;
    std::vector<path_t> made_;  // by us, the innermost first
};

int generate(const generate_options_t& options) {
    const bool c = options.language == "c";
    const char* name = c ? "zarn-ccoder" : "zarn-pcoder";
    const auto folder = std::filesystem::absolute(options.folder);
    Call call(options, bridge_t::interpreter);
    Session& session = call.session();
    try {
        call.prepare();
    } catch (const SessionError& error) {
        if (options.json) call.out_failure(error, call.library_result());
        throw;
    }
    const Session::Active active(session);

    const auto notes = notes_for(session.model(), c ? dialect_t::c : dialect_t::python);
    try {
        const DeferInterrupts deferred(true);
        Project project(folder, name);
        project.write([&](const std::string& place) {
            return c ? coder_c::generate_code(place, &session.model())
                     : coder_py::generate_code(place, &session.model());
        });
        if (interrupted()) {
            project.remove();
            end_as_noted();
            message("interrupted");
            return status_interrupted;
        }
        project.commit();
    } catch (const std::system_error& error) {
        message(tessel::format("{}: {}", options.folder, error.code().message()));
        return status_model;
    }
    const auto project = (path_t(options.folder) / name).string();
    if (options.json) {
        const nlohmann::ordered_json answer{
            {"schema", json_schema}, {"result", 0}, {"project", project}, {"notes", notes}};
        out(answer.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n");
        return status_ok;
    }
    if (options.quiet) return status_ok;
    for (const std::string& note : notes) message(note);
    out(project + "\n");
    return status_ok;
}

}  // namespace

void add_generate(CLI::App& app, int& status) {
    auto options = std::make_shared<generate_options_t>();
    auto* verb = app.add_subcommand("generate", "Write a model as a stand-alone C or Python project");
    verb->add_option("LANGUAGE", options->language, "c or py")->required()->check(CLI::IsMember({"c", "py"}));
    add_common(*verb, *options);
    verb->add_option("DIR", options->folder, "Folder that gets the project folder zarn-ccoder or zarn-pcoder")
        ->required();
    verb->footer(
        "Tells on standard error what the project does not do as a run of the model does.\n\n"
        "Example:\n  zarn generate c pump.json build && cmake -S build/zarn-ccoder -B build/pump");
    verb->callback(
        [options, &status] { status = guarded([&] { return generate(*options); }, options->model, options->json); });
}

}  // namespace zarn
