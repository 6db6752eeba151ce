#include "host/cli/session.h"

#include <unistd.h>
#include <CLI/App.hpp>

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <stdexcept>
#include <system_error>

#include "core/format.h"
#include "core/log.h"
#include "core/python.h"
#include "framework/MetaBlock.h"
#include "host/cli/interrupt.h"
#include "host/diagnose/diagnose.h"
#include "host/diagnose/source.h"
#include "host/document/limits.h"
#include "host/python/interpreter.h"
#include "json.h"

namespace zarn {
namespace {

/// Sets the current folder and restores it.
class CurrentFolder {
public:
    explicit CurrentFolder(const std::filesystem::path& folder) : before_(std::filesystem::current_path()) {
        if (!folder.empty()) std::filesystem::current_path(folder);
    }
    CurrentFolder(const CurrentFolder&) = delete;
    CurrentFolder& operator=(const CurrentFolder&) = delete;
    ~CurrentFolder() {
        std::error_code ignored;
        std::filesystem::current_path(before_, ignored);
    }

private:
    std::filesystem::path before_;
};

std::pair<std::string, double> parse_setting(const std::string& text) {
    const auto equals = text.find('=');
    const std::string key = text.substr(0, equals);
    const std::string number = equals != std::string::npos ? text.substr(equals + 1) : "";
    char* end = nullptr;
    const double value = std::strtod(number.c_str(), &end);
    if ((key == "ti" || key == "tf" || key == "ts") && !number.empty() && *end == '\0' && std::isfinite(value))
        return {key, value};
    message(tessel::format("--set {}: expected ti=NUMBER, tf=NUMBER or ts=NUMBER, in seconds", text));
    throw Failure{status_usage};
}

constexpr std::size_t out_piece = 1u << 16;
std::string out_buffer;

const tessel::PropertiesBlock& properties_of(const tessel::IMetaBlock& block) {
    return static_cast<const tessel::MetaBlock&>(block).properties();
}

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

bool takes_colors(int descriptor) {
    const char* terminal = std::getenv("TERM");
    return isatty(descriptor) != 0 && std::getenv("NO_COLOR") == nullptr &&
           (terminal == nullptr || std::string_view(terminal) != "dumb");
}

// A buffer of the command's own: the interpreter flushes that of the C library when it ends, and drops what fails.
void out(std::string_view text) {
    out_buffer += text;
    if (out_buffer.size() >= out_piece) flush_out();
}

void flush_out() {
    std::string_view rest = out_buffer;
    while (!rest.empty()) {
        const auto written = write(STDOUT_FILENO, rest.data(), rest.size());
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) {
            message(tessel::format("standard output: {}", std::strerror(errno)));
            out_buffer.clear();
            throw Failure{status_model};
        }
        rest.remove_prefix(static_cast<std::size_t>(written));
    }
    out_buffer.clear();
}

namespace {

int status_of(const std::function<int()>& work, const std::string& model) {
    try {
        return work();
    } catch (const Failure& failure) {
        return failure.status;
    } catch (const std::bad_alloc&) {
        message(model.empty() ? "not enough memory" : model + ": not enough memory");
    } catch (const std::exception& error) {
        message(error.what());
    }
    return status_model;
}

}  // namespace

int guarded(const std::function<int()>& work, const std::string& model) {
    const int status = status_of(work, model);
    try {
        flush_out();
    } catch (const Failure& failure) {
        return status != status_ok ? status : failure.status;
    }
    return status;
}

Session::Session(options_t options, bridge_t bridge)
    : options_(std::move(options)), file_(std::filesystem::absolute(options_.model)) {
    for (const std::string& setting : options_.settings) settings_.push_back(parse_setting(setting));
    const bool wanted = options_.python || !options_.scripts.empty() || !options_.code.empty();
    if (wanted && options_.no_python) {
        message("--no-python executes nothing: it does not go with -w and -e");
        throw Failure{status_usage};
    }
    install_interrupts();
    python::set_console([this](std::string_view text) {
        console_.emplace_back(text);
        if (!silent_) complain(text);
    });
    tessel::log::set_sink([this](tessel::log::severity_t, std::string_view text) {
        log_.emplace_back(text);
        if (options_.verbose) message(tessel::format("log: {}", text));
        if (at_zones_ && text == "calculate_zones [enter]") at_zones_();
    });
    if (wanted || (bridge == bridge_t::interpreter && !options_.no_python)) {
        start_interpreter();
        run_workspace();
    }
}

Session::~Session() {
    model_.reset();
    interpreter_.reset();
    python::set_console({});
    tessel::log::set_sink({});
}

void Session::start_interpreter() {
    const auto own = std::filesystem::read_symlink("/proc/self/exe").parent_path();
    Interpreter::setup_t setup;
    for (const char* place : {"share/zarn/python", "../share/zarn/python"}) {
        setup.packages = own / place;
        if (std::filesystem::exists(setup.packages / "zarn" / "__init__.py")) break;
    }
    setup.arguments = {options_.model};
    setup.output_to_errors = options_.json;
    interpreter_ = std::make_unique<Interpreter>(setup);
    interpreter_->set_locator([this](std::string_view scope) { return locate(scope); });
}

void Session::run_workspace() {
    const auto end = [](Interpreter::ended_t ended, const std::string& what) {
        if (ended == Interpreter::ended_t::well) return;
        const bool stopped = ended == Interpreter::ended_t::interrupted;
        message(tessel::format("{}: {}", what, stopped ? "interrupted" : "the workspace code failed"));
        throw Failure{stopped ? status_interrupted : status_model};
    };
    const CurrentFolder back("");  // wherever the code goes
    for (const std::string& script : options_.scripts) end(interpreter_->run_file(script), script);
    for (const std::string& code : options_.code) end(interpreter_->run_code(code), "-e");
}

/// The block of a scope: the scope is its path, or its path with the name of a parameter behind it.
std::string Session::locate(std::string_view scope) const {
    if (model_ == nullptr) return std::string(scope);  // evaluated by a check, which loads no model
    std::string_view best;
    for (const auto& block : *model_) {
        if (block == nullptr) continue;
        const std::string& path = python_path_of(*block);
        if (path == scope) return path_of(*block);
        if (path.size() > best.size() && scope.starts_with(path) && scope[path.size()] == '_') best = path_of(*block);
    }
    return std::string(best.empty() ? scope : best);
}

Document& Session::document() {
    if (document_ == nullptr) document_ = std::make_unique<Document>(options_.model);
    return *document_;
}

tessel::result_t Session::load() {
    if (const auto problem = find_unloadable(document()); !problem.empty()) refuse(problem);
    console_.clear();
    log_.clear();
    model_ = tessel::create_empty_meta_model();
    properties_ = std::make_shared<tessel::PropertiesModel>();
    model_->set_properties(properties_);
    const CurrentFolder there(file_.parent_path());
    last_result_ = tessel::json::load(model_.get(), file_.filename().string());
    for (const auto& [key, value] : settings_) properties_->set(key, value);
    return last_result_;
}

tessel::result_t Session::compile(const std::function<void()>& on_loop) {
    at_zones_ = [&] { loop_.enter_zones(*model_, on_loop); };
    last_result_ = model_->compile();
    at_zones_ = nullptr;
    if (!loop().empty()) last_result_ = tessel::result_failure;
    return last_result_;
}

void Session::require(tessel::result_t result, std::string_view stage) const {
    if (result == tessel::result_ok) return;
    if (!loop().empty()) {
        std::string way;
        for (const std::string& path : loop()) way += path + " -> ";
        refuse(tessel::format("algebraic loop: {}{}; put a memory block into it", way, loop().front()));
    }
    refuse(tessel::format("{} failed with {}", stage, describe_result(result, *model_)));
}

void Session::complain(std::string_view text) const { message(tessel::format("{}: {}", options_.model, text)); }

void Session::refuse(std::string_view text) const {
    complain(text);
    throw Failure{status_model};
}

const std::string& path_of(const tessel::IMetaBlock& block) { return properties_of(block).path; }
const std::string& python_path_of(const tessel::IMetaBlock& block) { return properties_of(block).python_path; }

std::string shown(const tessel::IMetaBlock& block) {
    if (!path_of(block).empty()) return tessel::format("{} ({})", path_of(block), block.class_name());
    return tessel::format("'{}' #{} ({})", printable(block.name()), block.id(), block.class_name());
}

}  // namespace zarn
