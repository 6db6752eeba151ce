// The verbs of the command.
//
// Each function adds one verb to the command line: its options, its help with an example, and a callback that does the
// work and stores the exit status (see status_t in host/session/error.h).
#pragma once

namespace CLI {
class App;
}

namespace zarn {

void add_run(CLI::App& app, int& status);
void add_check(CLI::App& app, int& status);
void add_explain(CLI::App& app, int& status);
void add_inspect(CLI::App& app, int& status);
void add_export(CLI::App& app, int& status);
void add_generate(CLI::App& app, int& status);
void add_draw(CLI::App& app, int& status);
void add_sweep(CLI::App& app, int& status);
void add_tune(CLI::App& app, int& status);
void add_blocks(CLI::App& app, int& status);
void add_diff(CLI::App& app, int& status);
void add_verify(CLI::App& app, int& status);
void add_verify_engines(CLI::App& app, int& status);
void add_cache(CLI::App& app, int& status);
void add_schema(CLI::App& app, int& status);
void add_serve(CLI::App& app, int& status);
void add_work(CLI::App& app, int& status);
void add_studio(CLI::App& app, int& status);
void add_pages(CLI::App& app, int& status);

}  // namespace zarn
