// zarn export: a model as a program that computes what its run computes.

#include <CLI/App.hpp>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <system_error>

#include "core/format.h"
#include "host/cli/command.h"
#include "host/cli/export_fmu.h"
#include "host/cli/fault.h"
#include "host/cli/verbs.h"
#include "host/export/export.h"

namespace zarn {
namespace {

struct verb_options_t : options_t {
    std::string language;
    std::string folder;
    bool check = false;
    export_options_t how;
    fmu_verb_t fmu;
};

void tell(const verb_options_t& options, const std::vector<std::string>& files, const std::vector<std::string>& notes) {
    if (options.json) {
        nlohmann::ordered_json answer{{"schema", json_schema}, {"result", 0}, {"folder", options.folder}};
        answer[options.check ? "stale" : "files"] = files;
        answer["notes"] = notes;
        return out(answer.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n");
    }
    if (options.quiet) return;
    for (const std::string& note : notes) message(note);
    for (const std::string& file : files) {
        const std::string path = (std::filesystem::path(options.folder) / file).string();
        out(options.check ? path + ": stale\n" : path + "\n");
    }
}

int export_model(const verb_options_t& options) {
    if (options.language == "fmu") return export_fmu(options, options.how, options.fmu, options.folder, options.check);
    require_no_fmu_options(options.fmu);
    const auto folder = std::filesystem::absolute(options.folder);
    Call call(options, bridge_t::interpreter);
    try {
        call.prepare();
    } catch (const SessionError& error) {
        if (options.json) call.out_failure(error, call.library_result());
        throw;
    }
    Export program(call.session(), options.how);
    const FaultGuard guard(options.model, call.session().model(), program.exec(), options.json);
    const auto files = program.files();
    if (options.check) {
        const auto stale = stale_files(folder, files);
        tell(options, stale, {});
        return stale.empty() ? status_ok : status_model;
    }
    try {
        write_files(folder, files);
    } catch (const std::exception& error) {
        throw SessionError(problem_t::file, tessel::format("{}: {}", options.folder, error.what()));
    }
    std::vector<std::string> names;
    for (const auto& file : files) names.push_back(file.name);
    tell(options, names, program.unit().notes);
    return status_ok;
}

}  // namespace

void add_export(CLI::App& app, int& status) {
    auto options = std::make_shared<verb_options_t>();
    auto* verb = app.add_subcommand(
        "export", "Write a model as C or as an FMU that computes what its run computes, to the last bit");
    verb->add_option("LANGUAGE", options->language, "c or fmu")->required()->check(CLI::IsMember({"c", "fmu"}));
    add_common(*verb, *options);
    verb->add_option("DIR", options->folder, "Folder that gets the program's files, or the .fmu file")->required();
    verb->add_option("--name", options->how.name, "Name of the program; that of the model file unless given");
    verb->add_option("--subsystem", options->how.subsystem, "Path of the subsystem that becomes the program");
    verb->add_flag("--inline-parameters", options->how.inline_parameters, "Parameters become constants of the code");
    verb->add_option("--signals", options->how.keep, "Signals that can be read between steps: all, named or ports")
        ->check(CLI::IsMember({"all", "named", "ports"}));
    verb->add_flag("--series-as-inputs", options->how.series_as_inputs,
                   "Series of the workspace become inputs, not tables in the code");
    verb->add_flag("--check", options->check,
                   "Writes nothing; exit status 1 where files are not as they would be written");
    add_fmu_options(*verb, options->fmu);
    verb->footer(
        "Example:\n  zarn export c pump.json generated && make -C generated\n  zarn export fmu pump.json pump.fmu "
        "--fmi 2");
    verb->callback([options, &status] {
        status = guarded([&] { return export_model(*options); }, options->model, options->json);
    });
}

}  // namespace zarn
