#include "host/cli/session.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <system_error>

#include "core/format.h"
#include "core/log.h"
#include "core/python.h"
#include "framework/MetaBlock.h"
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
    std::fprintf(stderr, "zarn: %.*s\n", static_cast<int>(text.size()), text.data());
}

void out(std::string_view text) {
    if (std::fwrite(text.data(), 1, text.size(), stdout) == text.size()) return;
    message(tessel::format("standard output: {}", std::strerror(errno)));
    throw Failure{status_model};
}

void flush_out() {
    if (std::fflush(stdout) == 0) return;
    message(tessel::format("standard output: {}", std::strerror(errno)));
    throw Failure{status_model};
}

int guarded(const std::function<int()>& work) {
    try {
        const int status = work();
        flush_out();
        return status;
    } catch (const Failure& failure) {
        std::fflush(stdout);
        return failure.status;
    } catch (const std::bad_alloc&) {
        message("not enough memory");
    } catch (const std::exception& error) {
        message(error.what());
    }
    return status_model;
}

Session::Session(options_t options, bridge_t) : options_(std::move(options)) {
    python::set_console([this](std::string_view text) {
        console_.emplace_back(text);
        if (!silent_) complain(text);
    });
    tessel::log::set_sink([this](tessel::log::severity_t, std::string_view text) {
        log_.emplace_back(text);
        if (options_.verbose) message(tessel::format("log: {}", text));
    });
}

Session::~Session() {
    python::set_console({});
    tessel::log::set_sink({});
}

tessel::result_t Session::load() {
    model_ = tessel::create_empty_meta_model();
    properties_ = std::make_shared<tessel::PropertiesModel>();
    model_->set_properties(properties_);
    const auto file = std::filesystem::absolute(options_.model);
    const CurrentFolder there(file.parent_path());
    return tessel::json::load(model_.get(), file.filename().string());
}

void Session::apply_settings() {}

tessel::result_t Session::compile() { return model_->compile(); }

void Session::load_and_compile() {
    if (load() != tessel::result_ok) throw Failure{status_model};
    apply_settings();
    if (const auto result = compile(); result != tessel::result_ok)
        refuse(tessel::format("compile failed: {}", tessel::result_name(result)));
}

void Session::complain(std::string_view text) const { message(tessel::format("{}: {}", options_.model, text)); }

void Session::refuse(std::string_view text) const {
    complain(text);
    throw Failure{status_model};
}

std::string path_of(const tessel::IMetaBlock& block) {
    return static_cast<const tessel::MetaBlock&>(block).properties().path;
}

}  // namespace zarn
