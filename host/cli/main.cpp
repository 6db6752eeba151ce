// zarn: the command around the library.

#include <CLI/CLI.hpp>

#include "host/cli/session.h"
#include "host/cli/verbs.h"

int main(int argc, char** argv) {
    CLI::App app{"Checks, runs, translates and shows block diagram models.", "zarn"};
    app.set_version_flag("--version", "zarn " ZARN_VERSION);
    app.set_help_flag("-h,--help", "Show this help and leave");
    app.require_subcommand(1);
    app.footer(
        "'zarn VERB --help' shows the options of a verb and an example.\n"
        "Exit status: 0 fine, 1 the model has a problem, 2 wrong use, 130 ended by Ctrl-C.");

    int status = zarn::status_ok;
    zarn::add_run(app, status);
    zarn::add_check(app, status);
    zarn::add_explain(app, status);
    zarn::add_inspect(app, status);
    zarn::add_generate(app, status);
    zarn::add_draw(app, status);
    zarn::add_blocks(app, status);
    zarn::add_diff(app, status);
    zarn::add_verify_engines(app, status);

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? zarn::status_ok : zarn::status_usage;
    }
    return status;
}
