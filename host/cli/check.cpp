// zarn check: every problem of a model in one go.

#include <unistd.h>
#include <CLI/App.hpp>

#include <functional>
#include <sstream>

#include "core/format.h"
#include "host/cli/command.h"
#include "host/cli/verbs.h"
#include "host/diagnose/diagnose.h"
#include "host/diagnose/source.h"
#include "host/document/read.h"

namespace zarn {
namespace {

struct check_arguments_t {
    options_t common;
    std::vector<std::string> models;
    std::string code;  // --explain
    bool markdown = false;
    bool sarif = false;
};

int explain(const check_arguments_t& arguments) {
    const std::string text =
        arguments.code == "all" ? all_codes_markdown() : explain_code(arguments.code, arguments.markdown);
    if (text.empty()) {
        message(tessel::format("there is no code '{}'; docs/checks.md has all of them", arguments.code));
        return status_usage;
    }
    out(text);
    return status_ok;
}

/// Whether the library can read the file for itself, to confirm what was found: a pipe is read once.
bool readable_again(const std::string& model) { return handed_over(model) < 0; }

/// Checks each model, and calls `told` with what was found. All share one interpreter and one workspace.
void check_each(const check_arguments_t& arguments, const std::function<void(checked_t)>& told) {
    options_t common = arguments.common;
    common.model = arguments.models.front();
    Call call(common, bridge_t::literal);
    for (const std::string& model : arguments.models) {
        if (&model == &arguments.models.front()) {
            told({model, call.session().check(call.evaluates(), readable_again(model))});
            continue;
        }
        session_setup_t setup = call.session().setup();
        setup.model = model;
        Session other(std::move(setup));
        told({model, other.check(call.evaluates(), readable_again(model))});
    }
}

void print_text(const checked_t& checked, bool quiet) {
    std::ostringstream text;
    print(checked.findings, text, takes_colors(STDOUT_FILENO));
    out(text.str());
    if (!quiet) out(printable(checked.model) + ": " + summary(checked.findings) + "\n");
}

int check(const check_arguments_t& arguments) {
    const options_t& common = arguments.common;
    const bool as_text = !arguments.sarif && !common.json;
    bool failed = false;
    std::vector<checked_t> all;
    check_each(arguments, [&](checked_t checked) {
        failed = failed || has_errors(checked.findings);
        if (common.quiet)
            std::erase_if(checked.findings, [](const finding_t& f) { return f.severity != severity_t::error; });
        if (as_text) print_text(checked, common.quiet);
        else all.push_back(std::move(checked));
    });
    if (arguments.sarif) {
        std::vector<finding_t> findings;
        for (const checked_t& checked : all)
            findings.insert(findings.end(), checked.findings.begin(), checked.findings.end());
        out(to_sarif(findings, ZARN_VERSION));
    } else if (common.json) {
        out(all.size() == 1 ? to_json(all[0].model, all[0].findings) : to_json(all));
    }
    return failed ? status_model : status_ok;
}

}  // namespace

void add_check(CLI::App& app, int& status) {
    auto* verb = app.add_subcommand("check", "Find every problem of a model");
    auto arguments = std::make_shared<check_arguments_t>();
    add_common(*verb, arguments->common);
    verb->remove_option(verb->get_option("MODEL"));
    auto* model = verb->add_option("MODEL", arguments->models, "Model files; - is standard input");
    auto* page =
        verb->add_option("--explain", arguments->code, "Show the page of a code, such as Z203")->type_name("Z-CODE");
    verb->add_flag("--sarif", arguments->sarif, "A SARIF 2.1.0 log on standard output");
    verb->add_flag("--markdown", arguments->markdown)->group("");  // how docs/checks.md is made
    verb->footer(
        "Several models share one workspace. Exit status: 0 without errors, 1 with.\n"
        "Example: zarn check motor.json\n"
        "         zarn check models/*.json\n"
        "         zarn check motor.json -w workspace.py --sarif > motor.sarif\n"
        "         zarn check --explain Z217");
    verb->callback([=, &status] {
        if (model->count() == 0 && page->count() == 0) throw CLI::RequiredError("MODEL or --explain");
        status = guarded([&] { return page->count() != 0 ? explain(*arguments) : check(*arguments); },
                         arguments->models.empty() ? "" : arguments->models.front(), arguments->common.json);
    });
}

}  // namespace zarn
