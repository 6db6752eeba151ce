#include "host/cli/command.h"

#include <unistd.h>
#include <CLI/App.hpp>

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <new>
#include <stdexcept>
#include <system_error>

#include "core/format.h"
#include "host/cli/interrupt.h"
#include "host/diagnose/diagnose.h"
#include "host/diagnose/source.h"
#include "host/embed/interpreter.h"
#include "host/session/current_folder.h"
#include "host/session/json_text.h"

namespace zarn {
namespace {

std::pair<std::string, double> parse_setting(const std::string& text) {
    const auto equals = text.find('=');
    const std::string key = text.substr(0, equals);
    const std::string number = equals != std::string::npos ? text.substr(equals + 1) : "";
    char* end = nullptr;
    const double value = std::strtod(number.c_str(), &end);
    if ((key == "ti" || key == "tf" || key == "ts") && !number.empty() && *end == '\0' && std::isfinite(value))
        return {key, value};
    throw SessionError(problem_t::usage,
                       tessel::format("--set {}: expected ti=NUMBER, tf=NUMBER or ts=NUMBER, in seconds", text));
}

constexpr std::size_t out_piece = 1u << 16;
std::string out_buffer;
bool any_out = false;  // whether the verb at work has printed anything

/// What a verb came to that failed.
struct failure_t {
    tessel::result_t result = tessel::result_failure;
    std::string text;
    std::vector<finding_t> findings;
};

}  // namespace

void add_common(CLI::App& verb, options_t& options) {
    verb.add_option("MODEL", options.model, "Model file")->required();
    verb.add_option("-w,--workspace", options.scripts, "Run a Python file in the workspace first (repeatable)")
        ->type_name("FILE.py")
        ->allow_extra_args(false);
    verb.add_option("-e,--execute", options.code,
                    "Run Python statements in the workspace, behind the files (repeatable)")
        ->type_name("CODE")
        ->allow_extra_args(false);
    verb.add_option("--set", options.settings, "Set ti, tf or ts in place of the model's (repeatable)")
        ->type_name("KEY=VALUE")
        ->allow_extra_args(false);
    auto* with = verb.add_flag("--python", options.python, "Evaluate expressions with the interpreter");
    auto* without = verb.add_flag("--no-python", options.no_python, "Execute nothing: literal expressions only");
    with->excludes(without);
    verb.add_flag("-q,--quiet", options.quiet, "Only errors, and what was asked for");
    verb.add_flag("-v,--verbose", options.verbose, "Show the library's log");
    verb.add_flag("--json", options.json, "One JSON object on standard output");
}

void message(std::string_view text) {
    const std::string line = "zarn: " + printable(text) + "\n";
    std::fwrite(line.data(), 1, line.size(), stderr);
}

std::string ending_of(const char* option, const std::string& file, const char* a, const char* b) {
    for (const char* ending : {a, b})
        if (file.ends_with(ending)) return ending;
    throw SessionError(problem_t::usage, tessel::format("{} {}: the name must end in {} or {}", option, file, a, b));
}

bool takes_colors(int descriptor) {
    const char* terminal = std::getenv("TERM");
    return isatty(descriptor) != 0 && std::getenv("NO_COLOR") == nullptr &&
           (terminal == nullptr || std::string_view(terminal) != "dumb");
}

// A buffer of the command's own: the interpreter flushes that of the C library when it ends, and drops what fails.
void out(std::string_view text) {
    any_out = any_out || !text.empty();
    out_buffer += text;
    if (out_buffer.size() >= out_piece) flush_out();
}

void flush_out() {
    std::string_view rest = out_buffer;
    while (!rest.empty()) {
        const auto written = write(STDOUT_FILENO, rest.data(), rest.size());
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) {
            const std::string why = tessel::format("standard output: {}", std::strerror(errno));
            out_buffer.clear();
            throw SessionError(problem_t::file, why);
        }
        rest.remove_prefix(static_cast<std::size_t>(written));
    }
    out_buffer.clear();
}

namespace {

/// Runs a piece of a verb. What it throws is told, and added to the findings of JSON.
int status_of(const std::function<int()>& work, const std::string& model, failure_t& failure) {
    const auto tell = [&failure](const std::string& text) {
        message(text);
        failure.text = text;
    };
    try {
        return work();
    } catch (const SessionError& error) {
        failure = {error.result(), {}, error.findings()};
        tell(error.what());
        return error.status();
    } catch (const std::bad_alloc&) {
        tell(model.empty() ? "not enough memory" : model + ": not enough memory");
    } catch (const std::exception& error) {
        tell(error.what());
    }
    return status_model;
}

}  // namespace

int guarded(const std::function<int()>& work, const std::string& model, bool json) {
    failure_t failure;
    any_out = false;
    const int status = status_of(work, model, failure);
    const int flushed = status_of(
        [&] {
            if (json && status != status_ok && !any_out)
                out(failure_json(failure.result, failure.text, failure.findings));
            flush_out();
            return int{status_ok};
        },
        model, failure);
    return status != status_ok ? status : flushed;
}

Call::Call(options_t options, bridge_t bridge) : options_(std::move(options)) {
    session_setup_t setup;
    setup.model = options_.model;
    for (const std::string& setting : options_.settings) setup.settings.push_back(parse_setting(setting));
    const bool wanted = options_.python || !options_.scripts.empty() || !options_.code.empty();
    if (wanted && options_.no_python)
        throw SessionError(problem_t::usage, "--no-python executes nothing: it does not go with -w and -e");
    install_interrupts();
    setup.on_console = [this](std::string_view text) {
        if (!silent_) complain(text);
    };
    setup.on_log = [this](std::string_view text) {
        if (options_.verbose) message(tessel::format("log: {}", text));
    };
    const bool evaluates = wanted || (bridge == bridge_t::interpreter && !options_.no_python);
    if (evaluates) {
        interpreter_ = start_interpreter(options_.model, options_.json || options_.output_to_errors);
        setup.bridge = std::shared_ptr<python::IPythonWrap>(interpreter_, &interpreter_->bridge());
    }
    session_ = std::make_unique<Session>(std::move(setup));
    if (!evaluates) return;
    interpreter_->set_locator([this](std::string_view scope) { return session_->block_of(scope); });
    run_workspace();
}

// The model is left to the system, which takes back the memory of a process at once: block by block it takes as long as
// the checks.
Call::~Call() {
    static auto* const left = new std::vector<std::shared_ptr<tessel::IMetaModel>>();
    if (session_ != nullptr) left->push_back(session_->shared_model());
}

namespace {

/// Raises `SessionError` for workspace code that did not end well.
void require_well(Interpreter::ended_t ended, const std::string& what) {
    if (ended == Interpreter::ended_t::well) return;
    const bool stopped = ended == Interpreter::ended_t::interrupted;
    throw SessionError(stopped ? problem_t::interrupted : problem_t::workspace,
                       tessel::format("{}: {}", what, stopped ? "interrupted" : "the workspace code failed"));
}

}  // namespace

std::shared_ptr<Interpreter> start_interpreter(const std::string& model, bool output_to_errors) {
    const auto own = std::filesystem::read_symlink("/proc/self/exe").parent_path();
    Interpreter::setup_t setup;
    for (const char* place : {"share/zarn/python", "../share/zarn/python"}) {
        setup.packages = own / place;
        if (std::filesystem::exists(setup.packages / "zarn" / "__init__.py")) break;
    }
    setup.arguments = {model};
    setup.output_to_errors = output_to_errors;
    return std::make_shared<Interpreter>(setup);
}

void run_scripts(Interpreter& interpreter, const std::vector<std::string>& scripts) {
    // wherever the code goes, names of files stay relative to where the user stands
    const CurrentFolder back("");
    for (const std::string& script : scripts) require_well(interpreter.run_file(script), script);
}

void Call::run_workspace() {
    const CurrentFolder back("");
    run_scripts(*interpreter_, options_.scripts);
    for (const std::string& code : options_.code) require_well(interpreter_->run_code(code), "-e");
}

void Call::prepare() {
    try {
        session_->prepare();
    } catch (...) {
        tell_findings();
        throw;
    }
    tell_findings();
}

tessel::result_t Call::library_result() {
    set_console_silent(true);
    const auto result = session_->library_result();
    set_console_silent(false);
    return result != tessel::result_ok ? result : tessel::result_failure;
}

std::string Call::findings_json(const std::vector<finding_t>& findings) const {
    return nlohmann::json::parse(to_json(options_.model, findings))["findings"].dump();
}

void Call::out_failure(const SessionError& error, tessel::result_t result, std::string_view rest) const {
    out(failure_json(result, error.what(), error.findings(), rest));
}

void Call::tell_findings() const {
    auto findings = session_->findings();
    if (!options_.verbose) {
        const auto least = has_errors(findings) ? severity_t::error : severity_t::warning;
        std::erase_if(findings, [least](const finding_t& f) { return f.severity < least; });
        if (least == severity_t::warning && options_.quiet) return;
        if (const auto number = too_many(findings.size(), least); least == severity_t::warning && !number.empty())
            return complain(number);
    }
    print(findings, std::cerr, takes_colors(STDERR_FILENO));
}

void Call::complain(std::string_view text) const { message(tessel::format("{}: {}", options_.model, text)); }

}  // namespace zarn
