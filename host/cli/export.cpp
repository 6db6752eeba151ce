// zarn export: a model as a program that computes what its run computes.

#include <CLI/App.hpp>

#include <filesystem>
#include <fstream>

#include "core/format.h"
#include "host/cli/command.h"
#include "host/cli/verbs.h"
#include "host/export/export.h"

namespace zarn {
namespace {

struct verb_options_t : options_t {
    std::string language;
    std::string folder;
    export_options_t how;
};

int export_model(const verb_options_t& options) {
    const auto folder = std::filesystem::absolute(options.folder);
    Call call(options, bridge_t::interpreter);
    call.prepare();
    const auto unit = program_of(call.session(), options.how);
    std::filesystem::create_directories(folder);
    auto files = tessel::exact::write_c(unit);
    files.push_back(tessel::exact::write_main(unit));
    for (const auto& file : files) std::ofstream(folder / file.name) << file.text;
    return status_ok;
}

}  // namespace

void add_export(CLI::App& app, int& status) {
    auto options = std::make_shared<verb_options_t>();
    auto* verb = app.add_subcommand("export", "Write a model as C that computes what its run computes, to the last bit");
    verb->add_option("LANGUAGE", options->language, "c")->required()->check(CLI::IsMember({"c"}));
    add_common(*verb, *options);
    verb->add_option("DIR", options->folder, "Folder that gets the program's files")->required();
    verb->add_option("--name", options->how.name, "Name of the program; that of the model file unless given");
    verb->add_option("--subsystem", options->how.subsystem, "Path of the subsystem that becomes the program");
    verb->add_flag("--inline-parameters", options->how.inline_parameters, "Parameters become constants of the code");
    verb->add_option("--signals", options->how.keep, "Signals that can be read between steps: all, named or ports")
        ->check(CLI::IsMember({"all", "named", "ports"}));
    verb->add_flag("--series-as-inputs", options->how.series_as_inputs,
                   "Series of the workspace become inputs, not tables in the code");
    verb->footer("Example:\n  zarn export c pump.json generated && make -C generated");
    verb->callback(
        [options, &status] { status = guarded([&] { return export_model(*options); }, options->model, options->json); });
}

}  // namespace zarn
