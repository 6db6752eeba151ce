// zarn check: every problem of a model in one go.

#include <unistd.h>
#include <CLI/App.hpp>

#include <iostream>
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

int check(const check_arguments_t& arguments) {
    Call call(arguments.common, bridge_t::literal);
    // to confirm, the library reads the file for itself: a pipe is read once
    auto findings = call.session().check(call.evaluates(), handed_over(arguments.common.model) < 0);
    const bool failed = has_errors(findings);
    if (arguments.common.quiet)
        std::erase_if(findings, [](const finding_t& f) { return f.severity != severity_t::error; });
    if (arguments.sarif) {
        out(to_sarif(findings, ZARN_VERSION));
    } else if (arguments.common.json) {
        out(to_json(arguments.common.model, findings));
    } else {
        std::ostringstream text;
        print(findings, text, takes_colors(STDOUT_FILENO));
        out(text.str());
        if (!arguments.common.quiet) out(printable(arguments.common.model) + ": " + summary(findings) + "\n");
    }
    return failed ? status_model : status_ok;
}

}  // namespace

void add_check(CLI::App& app, int& status) {
    auto* verb = app.add_subcommand("check", "Find every problem of a model");
    auto arguments = std::make_shared<check_arguments_t>();
    add_common(*verb, arguments->common);
    auto* model = verb->get_option("MODEL");
    model->required(false);
    auto* page =
        verb->add_option("--explain", arguments->code, "Show the page of a code, such as Z203")->type_name("Z-CODE");
    verb->add_flag("--sarif", arguments->sarif, "A SARIF 2.1.0 log on standard output");
    verb->add_flag("--markdown", arguments->markdown)->group("");  // how docs/checks.md is made
    verb->footer(
        "Exit status: 0 without errors, 1 with.\n"
        "Example: zarn check motor.json\n"
        "         zarn check motor.json -w workspace.py --sarif > motor.sarif\n"
        "         zarn check --explain Z217");
    verb->callback([=, &status] {
        if (model->count() == 0 && page->count() == 0) throw CLI::RequiredError("MODEL or --explain");
        status = guarded([&] { return page->count() != 0 ? explain(*arguments) : check(*arguments); },
                         arguments->common.model);
    });
}

}  // namespace zarn
