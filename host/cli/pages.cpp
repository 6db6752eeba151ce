// zarn pages: writes the manual and the completions of shells, for the build.

#include "host/cli/pages.h"

#include <CLI/App.hpp>
#include <algorithm>
#include <filesystem>

#include "core/format.h"
#include "framework/classes.h"
#include "host/cli/command.h"
#include "host/cli/command_line.h"
#include "host/cli/verbs.h"
#include "host/diagnose/codes.h"
#include "host/session/output_file.h"

namespace zarn {
namespace {

/// The words within the braces of "TEXT:{c,py}".
std::vector<std::string> choices_of(std::string_view type) {
    std::vector<std::string> choices;
    const auto open = type.find('{');
    if (open == std::string_view::npos) return choices;
    for (auto rest = type.substr(open + 1, type.find('}') - open - 1);;) {
        const auto comma = rest.find(',');
        choices.emplace_back(rest.substr(0, comma));
        if (comma == std::string_view::npos) return choices;
        rest.remove_prefix(comma + 1);
    }
}

/// What can stand there, by the word that stands for it in the help.
void complete(argument_t& argument, const CLI::App& app) {
    const std::string_view value = argument.value;
    const auto list = [&argument](const auto& rows, auto name) {
        argument.completion = completion_t::words;
        for (const auto& row : rows) argument.words.emplace_back(row.*name);
    };
    if (!argument.words.empty()) {
        argument.completion = completion_t::words;
    } else if (value.starts_with("MODEL") || value.starts_with("FILE") || value == "A" || value == "B") {
        argument.completion = completion_t::files;
        if (value.starts_with("MODEL")) argument.ending = ".json";
        if (value.starts_with("FILE.")) argument.ending = value.substr(4);
    } else if (value == "DIR") {
        argument.completion = completion_t::folders;
    } else if (value == "CLASS") {
        list(tessel::factory::class_rows(), &tessel::class_row_t::name);
    } else if (value == "Z-CODE") {
        list(all_codes(), &code_t::code);
    } else if (value == "VERB") {
        argument.completion = completion_t::words;
        argument.words = verb_names(app);
    }
}

argument_t describe_argument(const CLI::Option& option, const CLI::App& app) {
    argument_t argument;
    for (const std::string& name : option.get_snames()) argument.names.push_back("-" + name);
    for (const std::string& name : option.get_lnames()) argument.names.push_back("--" + name);
    const std::string type = option.get_type_name();
    argument.words = choices_of(type);
    argument.description = option.get_description();
    argument.required = option.get_required();
    argument.repeats = option.get_items_expected_max() > 1;
    if (option.get_positional()) {
        argument.value = option.get_name(true);
    } else if (option.get_items_expected_max() > 0) {
        argument.value = argument.words.empty() ? type.substr(0, type.find(':')) : std::string("WORD");
        if (type.starts_with("PATH[")) argument.value = type;
    }
    complete(argument, app);
    return argument;
}

verb_t describe_verb(const CLI::App& verb, const CLI::App& app) {
    verb_t result{verb.get_name(), verb.get_description(), verb.get_footer(), {}, {}};
    for (const auto* option : verb.get_options()) {
        if (option->get_group().empty()) continue;
        (option->get_positional() ? result.words : result.options).push_back(describe_argument(*option, app));
    }
    return result;
}

/// Where a prefix has them, below its folder "share".
void write_pages(const CLI::App& app, const std::filesystem::path& share) {
    const command_t command = describe_command(app);
    const auto write = [&share](const char* place, const std::string& text) {
        const auto path = share / place;
        std::filesystem::create_directories(path.parent_path());
        OutputFile file(path);
        file.write(text);
        file.commit();
    };
    write("man/man1/zarn.1", man_page(command, ZARN_VERSION));
    write("bash-completion/completions/zarn", bash_completion(command));
    write("zsh/site-functions/_zarn", zsh_completion(command));
    write("fish/vendor_completions.d/zarn.fish", fish_completion(command));
}

}  // namespace

command_t describe_command(const CLI::App& app) {
    command_t command{describe_verb(app, app), {}};
    for (const auto* verb : app.get_subcommands({}))
        if (!verb->get_group().empty()) command.verbs.push_back(describe_verb(*verb, app));
    return command;
}

void add_pages(CLI::App& app, int& status) {
    auto folder = std::make_shared<std::string>();
    auto* verb = app.add_subcommand("pages", "Write the manual page and the completions of shells")->group("");
    verb->add_option("DIR", *folder, "Folder 'share' of an installation")->required();
    verb->callback([&app, &status, folder] {
        status = guarded([&] {
            write_pages(app, *folder);
            return static_cast<int>(status_ok);
        });
    });
}

}  // namespace zarn
