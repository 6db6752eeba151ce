// zarn generate: a model as a stand-alone C or Python project.

#include <filesystem>
#include <nlohmann/json.hpp>

#include "coder_c.h"
#include "coder_py.h"
#include "core/format.h"
#include "host/cli/prepare.h"
#include "host/cli/session.h"
#include "host/cli/verbs.h"
#include "host/generate/notes.h"

namespace zarn {
namespace {

struct generate_options_t : options_t {
    std::string language;
    std::string folder;
};

int generate(const generate_options_t& options) {
    const bool c = options.language == "c";
    const auto folder = std::filesystem::absolute(options.folder);
    Session session(options, bridge_t::interpreter);
    load_and_compile(session);

    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error) {
        message(tessel::format("{}: {}", options.folder, error.message()));
        return status_model;
    }
    const auto notes = notes_for(session.model(), c ? language_t::c : language_t::python);
    const auto place = folder.string();
    const auto result =
        c ? coder_c::generate_code(place, &session.model()) : coder_py::generate_code(place, &session.model());
    if (result != tessel::result_ok) {
        message(tessel::format("{}: the project could not be written", options.folder));
        return status_model;
    }
    const auto project = (std::filesystem::path(options.folder) / (c ? "zarn-ccoder" : "zarn-pcoder")).string();
    if (options.json) {
        const nlohmann::ordered_json answer{
            {"result", static_cast<int>(result)}, {"project", project}, {"notes", notes}};
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
    verb->callback([options, &status] { status = guarded([&] { return generate(*options); }); });
}

}  // namespace zarn
