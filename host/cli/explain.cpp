// zarn explain: the order of stepping, and why it is that order.

#include <CLI/App.hpp>
#include <iostream>
#include <sstream>

#include "core/format.h"
#include "host/cli/command.h"
#include "host/cli/verbs.h"
#include "host/diagnose/explain.h"

namespace zarn {
namespace {

struct explain_arguments_t {
    options_t common;
    std::string path;
};

SessionError unknown_path(const Explanation& explanation, const std::string& path) {
    const std::string near = explanation.nearest_path(path);
    return {problem_t::usage, tessel::format("no block that runs has the path {}{}", path,
                                             near.empty() ? "" : "; did you mean " + near + "?")};
}

int explain(const explain_arguments_t& arguments) {
    Call call(arguments.common, bridge_t::literal);
    Session& session = call.session();
    const Session::Active active(session);
    check_options_t options;
    options.final_bridge = call.evaluates();
    options.settings = session.setup().settings;
    const Explanation explanation(session.document(), options);
    std::vector<finding_t> told = explanation.findings();
    std::erase_if(told, [](const finding_t& f) { return f.severity != severity_t::error && f.code != "Z402"; });
    print(told, std::cerr, false);
    if (has_errors(told)) {
        std::erase_if(told, [](const finding_t& f) { return f.severity != severity_t::error; });
        const auto error = session.error(problem_t::model, summary(told), told);
        if (arguments.common.json) call.out_failure(error, call.library_result(), ", \"blocks\": []");
        return status_model;
    }

    std::ostringstream text;
    std::vector<const stepped_t*> blocks;
    if (arguments.path.empty()) {
        for (const stepped_t& block : explanation.order()) blocks.push_back(&block);
        explanation.print_table(text);
    } else {
        blocks = explanation.at(arguments.path);
        if (blocks.empty()) throw unknown_path(explanation, arguments.path);
        for (const stepped_t* block : blocks) explanation.print_block(*block, text);
    }
    out(arguments.common.json ? explanation.json(arguments.common.model, blocks) : text.str());
    return status_ok;
}

}  // namespace

void add_explain(CLI::App& app, int& status) {
    auto* verb = app.add_subcommand("explain", "Show in which order blocks are stepped, and why");
    auto arguments = std::make_shared<explain_arguments_t>();
    add_common(*verb, arguments->common);
    verb->add_option("PATH", arguments->path, "Only this block, or the blocks inside this subsystem");
    verb->footer(
        "Example: zarn explain motor.json\n"
        "         zarn explain motor.json mainsys.pump.gain");
    verb->callback([=, &status] {
        status = guarded([&] { return explain(*arguments); }, arguments->common.model, arguments->common.json);
    });
}

}  // namespace zarn
