// zarn serve, zarn studio: a model that is edited, checked and run through messages.

#include <fcntl.h>
#include <spawn.h>
#include <unistd.h>
#include <CLI/App.hpp>

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <mutex>
#include <thread>

#include "core/format.h"
#include "host/cli/command.h"
#include "host/cli/fault.h"
#include "host/cli/interrupt.h"
#include "host/cli/verbs.h"
#include "host/embed/interpreter.h"
#include "host/serve/feed.h"
#include "host/serve/http.h"
#include "host/serve/rpc.h"
#include "host/serve/service.h"
#include "host/serve/worker.h"

namespace zarn {
namespace {

namespace fs = std::filesystem;

struct serve_options_t {
    std::string model;
    int port = 0;
    bool no_open = false;
};

/// The folder and, unless it is itself meant, the file in it.
serve::service_setup_t setup_of(const std::string& given) {
    serve::service_setup_t setup;
    setup.version = ZARN_VERSION;
    const fs::path place = fs::absolute(given.empty() ? "." : given).lexically_normal();
    std::error_code error;
    if (fs::is_directory(place, error)) {
        setup.folder = place;
        return setup;
    }
    setup.folder = place.parent_path();
    setup.file = place.filename().string();
    return setup;
}

/// What the service raises while it is made, in the words of the command.
int started(const std::function<int()>& work) {
    return guarded([&] {
        try {
            return work();
        } catch (const serve::RpcError& error) {
            throw SessionError(problem_t::file, error.what());
        }
    });
}

int serve_lines(const serve_options_t& options) {
    install_interrupts();
    std::mutex writing;
    const auto put = [&writing](const std::string& text) {
        const std::lock_guard lock(writing);
        try {
            out(text + "\n");
            flush_out();
        } catch (const SessionError&) {  // nobody reads any more; the end of the input ends it
        }
    };
    auto setup = setup_of(options.model);
    setup.tell = put;
    serve::Service service(std::move(setup));
    std::string line;
    while (std::getline(std::cin, line)) {
        if (line.find_first_not_of(" \t\r") == std::string::npos) continue;
        if (const auto answer = service.answer(line)) put(*answer);
    }
    return status_ok;
}

/// The folder of the built page, "" for none: beside the command as it is installed, or as it stands in its build.
fs::path page_folder() {
    const auto own = fs::read_symlink("/proc/self/exe").parent_path();
    for (const char* place : {"share/zarn/studio", "../share/zarn/studio"})
        if (std::error_code error; fs::exists(own / place / "index.html", error)) return own / place;
    return {};
}

/// Shows the address in the user's browser, where there is one.
void open_browser(const std::string& address) {
    if (std::getenv("DISPLAY") == nullptr && std::getenv("WAYLAND_DISPLAY") == nullptr) return;
    std::string program = "xdg-open", argument = address;
    char* arguments[] = {program.data(), argument.data(), nullptr};
    posix_spawn_file_actions_t quiet;
    posix_spawn_file_actions_init(&quiet);
    for (const int descriptor : {STDOUT_FILENO, STDERR_FILENO})
        posix_spawn_file_actions_addopen(&quiet, descriptor, "/dev/null", O_WRONLY, 0);
    pid_t child = 0;
    posix_spawnp(&child, program.c_str(), &quiet, nullptr, arguments, environ);
    posix_spawn_file_actions_destroy(&quiet);
}

int serve_page(const serve_options_t& options) {
    install_interrupts();
    serve::Feed feed;
    auto setup = setup_of(options.model);
    setup.tell = [&feed](const std::string& text) { feed.tell(text); };
    serve::Service service(std::move(setup));
    serve::http_setup_t http;
    http.port = options.port;
    http.page = page_folder();
    http.ready = [&](const std::string& address) {
        out(address + "\n");
        flush_out();
        if (http.page.empty())
            message("this command was built without the page of the studio; 'make studio' in the sources builds it");
        else if (!options.no_open) open_browser(address);
    };
    serve::serve_http(service, feed, http);
    return status_ok;
}

/// What the service starts where something is to be executed.
int work() {
    serve::worker_setup_t setup;
    std::shared_ptr<Interpreter> interpreter;
    setup.make_workspace = [&](const std::string& model, const std::vector<std::string>& scripts) {
        fs::current_path(fs::path(model).parent_path());  // where a script looks for its files
        interpreter = start_interpreter(model, true);
        run_scripts(*interpreter, scripts);
        return std::shared_ptr<python::IPythonWrap>(interpreter, &interpreter->bridge());
    };
    setup.guard = [](Session& session, Run& run) {
        auto guard = std::make_shared<FaultGuard>(session.setup().model, session.model(), run.model());
        const bool looks = guard->looks_at_cells();
        return serve::Runner::watch_t{std::move(guard), looks};
    };
    serve::work(setup);
    flush_out();
    std::fflush(nullptr);
    _exit(status_ok);  // whatever the workspace has left running
}

}  // namespace

void add_work(CLI::App& app, int& status) {
    auto* verb = app.add_subcommand("work", "Evaluates and runs for zarn serve and zarn studio")->group("");
    verb->callback([&status] { status = guarded([] { return work(); }); });
}

void add_serve(CLI::App& app, int& status) {
    auto options = std::make_shared<serve_options_t>();
    auto* verb = app.add_subcommand("serve", "Edit, check and run a model through messages on standard input");
    verb->add_option("MODEL", options->model, "Model file, or a folder of models")->required();
    verb->footer(
        "One JSON-RPC 2.0 message a line, in and out; docs/protocol.md lists the methods. Nothing of the model is\n"
        "executed until a message agrees to it.\n\n"
        "Example:\n  echo '{\"jsonrpc\":\"2.0\",\"id\":1,\"method\":\"hello\"}' | zarn serve pump.json");
    verb->callback([options, &status] { status = started([&] { return serve_lines(*options); }); });
}

void add_studio(CLI::App& app, int& status) {
    auto options = std::make_shared<serve_options_t>();
    auto* verb = app.add_subcommand("studio", "Draw, check and run models in the browser");
    verb->add_option("MODEL", options->model, "Model file, or a folder of models; the current folder without");
    verb->add_option("--port", options->port, "Port on 127.0.0.1; any that is free without")
        ->type_name("PORT")
        ->check(CLI::Range(1, 65535));
    verb->add_flag("--no-open", options->no_open, "Print the address, and open no browser");
    verb->footer(
        "Prints the address of the page, which carries a secret: whoever has it can do with the models in the folder\n"
        "what you can. Nothing of a model is executed until you agree to it on the page. Ctrl-C ends it.\n\n"
        "Example:\n  zarn studio pump.json");
    verb->callback([options, &status] { status = started([&] { return serve_page(*options); }); });
}

}  // namespace zarn
