#include "host/cli/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <sstream>

#include "core/format.h"
#include "host/cli/command.h"
#include "host/cli/verbs.h"
#include "host/diagnose/nearest.h"

namespace zarn {
namespace {

/// Null when there is none.
const CLI::App* find_verb(const CLI::App& app, std::string_view name) {
    for (const auto* verb : app.get_subcommands({}))
        if (verb->get_name() == name) return verb;
    return nullptr;
}

/// The only name that begins so, or else the nearest; "" when there is none.
std::string meant(std::string_view given, const std::vector<std::string>& names) {
    const auto begins = [given](const std::string& name) { return name.starts_with(given); };
    if (!given.empty() && std::ranges::count_if(names, begins) == 1) return *std::ranges::find_if(names, begins);
    return nearest_name(given, names);
}

/// A file in the place of a verb: what people type who expect that a model runs.
bool looks_like_model(std::string_view text) {
    return text == "-" || text.ends_with(".json") || text.find('/') != std::string_view::npos;
}

int refuse_verb(const CLI::App& app, std::string_view given) {
    const std::string near = meant(given, verb_names(app));
    const std::string way = looks_like_model(given) ? tessel::format("did you mean 'zarn run {}'?", given)
                            : !near.empty()         ? tessel::format("did you mean 'zarn {}'?", near)
                                                    : std::string("'zarn help' lists the verbs");
    message(tessel::format("there is no verb '{}'; {}", given, way));
    return status_usage;
}

/// The option of the verb that is most likely meant by a word, "" when none is near.
std::string nearest_option(const CLI::App& verb, std::string_view word) {
    std::vector<std::string> known;
    for (const auto* option : verb.get_options())
        for (const std::string& name : option->get_lnames()) known.push_back("--" + name);
    return meant(word.substr(0, word.find('=')), known);
}

/// What to do about the words that were left over, the last one first.
std::string about_words(const CLI::App& scope, const std::vector<std::string>& words, bool before_verb,
                        const std::string& help) {
    const auto option = std::ranges::find_if(words, [](const std::string& word) { return word.starts_with('-'); });
    if (option == words.end()) return tessel::format("'{}' is one word too many; {}", words.back(), help);
    const std::string near = nearest_option(scope, *option);
    if (!near.empty()) return tessel::format("there is no option {}; did you mean {}?", *option, near);
    if (before_verb) return tessel::format("there is no option {} ahead of the verb; {}", *option, help);
    return tessel::format("there is no option {}; {}", *option, help);
}

/// Tells in one line what is wrong with the command line.
int refuse_line(const CLI::App& app, const CLI::ParseError& error) {
    const auto called = app.get_subcommands();
    const bool extra = called.empty() || dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr;
    const bool before_verb = called.empty() || (extra && called.front()->remaining_size() == 0);
    const CLI::App& scope = before_verb ? app : *called.front();
    const std::string help = before_verb ? std::string("'zarn help' lists the verbs")
                                         : tessel::format("'zarn help {}' tells what it takes", scope.get_name());
    const auto words = scope.remaining();
    std::string text;
    if (extra && !words.empty()) text = about_words(scope, words, before_verb, help);
    else text = tessel::format("{}; {}", called.empty() ? "a verb is missing" : error.what(), help);
    message(before_verb ? text : tessel::format("{}: {}", scope.get_name(), text));
    return status_usage;
}

int print_help(const CLI::App& app, const std::string& verb) {
    if (verb.empty()) {
        // not `app.help()`, which is that of the verb at work
        out(app.get_formatter()->make_help(&app, app.get_name(), CLI::AppFormatMode::Normal));
        return status_ok;
    }
    const auto* found = find_verb(app, verb);
    if (found == nullptr) return refuse_verb(app, verb);
    out(found->help(app.get_name()));
    return status_ok;
}

void add_help(CLI::App& app, int& status) {
    auto name = std::make_shared<std::string>();
    auto* verb = app.add_subcommand("help", "Show what the command or a verb takes");
    verb->add_option("VERB", *name, "Verb to show");
    verb->footer("Example:\n  zarn help run");
    verb->callback([&app, &status, name] { status = guarded([&] { return print_help(app, *name); }); });
}

}  // namespace

std::vector<std::string> verb_names(const CLI::App& app) {
    std::vector<std::string> names;
    for (const auto* verb : app.get_subcommands({}))
        if (!verb->get_group().empty()) names.push_back(verb->get_name());
    return names;
}

std::unique_ptr<CLI::App> make_command(int& status) {
    auto app = std::make_unique<CLI::App>("Checks, runs, translates and shows block diagram models.", "zarn");
    app->set_version_flag("--version", "zarn " ZARN_VERSION, "Show the version and leave");
    app->set_help_flag("-h,--help", "Show this help and leave");
    app->require_subcommand(1);
    app->footer(
        "'zarn help VERB' shows the options of a verb and an example.\n"
        "Exit status: 0 fine, 1 the model has a problem, 2 wrong use, 130 ended by Ctrl-C.");

    status = status_ok;
    add_run(*app, status);
    add_sweep(*app, status);
    add_tune(*app, status);
    add_check(*app, status);
    add_explain(*app, status);
    add_inspect(*app, status);
    add_generate(*app, status);
    add_export(*app, status);
    add_draw(*app, status);
    add_blocks(*app, status);
    add_diff(*app, status);
    add_schema(*app, status);
    add_cache(*app, status);
    add_verify(*app, status);
    add_verify_engines(*app, status);
    add_studio(*app, status);
    add_serve(*app, status);
    add_work(*app, status);
    add_help(*app, status);
    add_pages(*app, status);
    return app;
}

int answer(CLI::App& app, int argc, char** argv, const int& status) {
    const std::string_view first = argc > 1 ? argv[1] : "";
    const bool option = first.size() > 1 && first.starts_with('-');
    if (argc > 1 && !option && find_verb(app, first) == nullptr) return refuse_verb(app, first);
    try {
        app.parse(argc, argv);
        return status;
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() != static_cast<int>(CLI::ExitCodes::Success)) return refuse_line(app, error);
        return guarded([&] {
            std::ostringstream text;  // help or version
            app.exit(error, text, text);
            out(text.str());
            return static_cast<int>(status_ok);
        });
    }
}

}  // namespace zarn
