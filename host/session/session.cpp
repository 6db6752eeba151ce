#include "host/session/session.h"

#include <algorithm>
#include <mutex>
#include <span>
#include <stdexcept>
#include <utility>

#include "core/format.h"
#include "core/literal_bridge.h"
#include "core/log.h"
#include "host/diagnose/source.h"
#include "host/document/limits.h"
#include "host/document/load.h"
#include "host/session/meaning.h"
#include "host/session/memo.h"
#include "model/rules/zones.h"
#include "port.h"

namespace zarn {
namespace {

/// "int32, flt64 -> flt64"
std::string types_of(tessel::IMetaBlock& block) {
    std::string text;
    const auto name = [](const tessel::port_t& port) { return port.has_type() ? port.type_name() : "untyped"; };
    for (std::uint64_t i = 0; i < block.input_count(); ++i)
        text += tessel::format("{}{}", i != 0 ? ", " : "", name(*block.input(static_cast<std::int16_t>(i))));
    text += text.empty() ? "->" : " ->";
    for (std::uint64_t i = 0; i < block.output_count(); ++i)
        text += tessel::format("{}{}", i != 0 ? ", " : " ", name(*block.output(static_cast<std::int16_t>(i))));
    return text;
}

/// The hooks of the library are the process's: one session at a time has them. A session's work may call for another
/// one's on the same thread.
std::recursive_mutex active;

}  // namespace

struct Session::Active::impl_t {
    std::lock_guard<std::recursive_mutex> lock{active};
    python::IPythonWrap* bridge = nullptr;
    python::console_t console;
    tessel::log::sink_t log;
};

Session::Active::Active(Session& session) : impl_(std::make_unique<impl_t>()) {
    impl_->bridge = python::wrap();
    python::set_wrap(session.setup_.bridge.get());
    impl_->console = python::set_console([&session](std::string_view text) {
        session.console_.emplace_back(text);
        if (session.setup_.on_console) session.setup_.on_console(text);
    });
    impl_->log =
        tessel::log::set_sink([&session](tessel::log::severity_t, std::string_view text) { session.hear_log(text); });
}

Session::Active::~Active() {
    python::set_wrap(impl_->bridge);
    python::set_console(std::move(impl_->console));
    tessel::log::set_sink(std::move(impl_->log));
}

Session::Session(session_setup_t setup) : setup_(std::move(setup)) {
    if (setup_.model.empty()) throw SessionError(problem_t::file, "the name of the model file is empty");
    file_ = std::filesystem::absolute(setup_.model);
    if (setup_.bridge != nullptr) setup_.bridge = memo_ = std::make_shared<Memo>(setup_.bridge);
    else setup_.bridge = std::make_shared<python::LiteralBridge>();
}

Session::Session(session_setup_t setup, std::string text) : Session(std::move(setup)) {
    document_ = std::make_unique<Document>(std::move(text), setup_.model);
    if (!setup_.folder.empty()) document_->keep_within(setup_.folder);
}

Session::~Session() = default;

void Session::hear_log(std::string_view text) {
    log_.emplace_back(text);
    if (setup_.on_log) setup_.on_log(text);
}

const std::vector<finding_t>& Session::check(bool final_bridge, bool confirm) {
    check_options_t how;
    how.final_bridge = final_bridge;
    how.confirm = confirm;
    return check(std::move(how));
}

const std::vector<finding_t>& Session::check(check_options_t how) {
    const Active mine(*this);
    if (memo_ != nullptr) memo_->begin();
    how.settings = setup_.settings;
    findings_ = diagnose(document(), how);
    return findings_;
}

void Session::forget_answers() {
    if (memo_ != nullptr) memo_->end();
}

Document& Session::document() {
    if (document_ == nullptr) document_ = std::make_unique<Document>(setup_.model);
    return *document_;
}

tessel::result_t Session::load() {
    const Active mine(*this);
    if (const auto problem = find_unloadable(document()); !problem.empty()) throw error(problem_t::model, problem);
    console_.clear();
    log_.clear();
    loop_.clear();
    model_ = tessel::rules::create_watched_meta_model([this](const std::vector<tessel::IMetaBlock*>& loop) {
        for (const auto* block : loop) loop_.push_back(path_of(*block));
    });
    properties_ = std::make_shared<tessel::PropertiesModel>();
    model_->set_properties(properties_);
    last_result_ = zarn::load(*model_, document());
    names_.note(*model_);
    for (const auto& [key, value] : setup_.settings) properties_->set(key, value);
    return last_result_;
}

tessel::result_t Session::compile() {
    const Active mine(*this);
    last_result_ = model_->compile();
    return last_result_;
}

void Session::require(tessel::result_t result, std::string_view stage) const {
    if (result == tessel::result_ok) return;
    if (!loop().empty()) {
        std::string way;
        for (const std::string& path : loop()) way += path + " -> ";
        throw error(problem_t::model,
                    tessel::format("algebraic loop: {}{}; put a memory block into it", way, loop().front()));
    }
    throw error(problem_t::model, tessel::format("{} failed with {}", stage, describe_result(result, *model_)));
}

bool Session::load_for_checks() {
    const auto on_console = std::exchange(setup_.on_console, nullptr);
    const auto on_log = std::exchange(setup_.on_log, nullptr);
    bool well = false;
    try {
        well = load() == tessel::result_ok;
    } catch (const SessionError&) {  // the checks say it with more words
    }
    setup_.on_console = on_console;
    setup_.on_log = on_log;
    return well;
}

void Session::prepare() {
    const bool loaded = load_for_checks();
    const auto said = log_;
    const loaded_t own{model_.get(), properties_.get()};
    check_options_t how;
    how.final_bridge = true;
    if (loaded) how.loaded = &own;
    if (has_errors(check(std::move(how)))) throw error(problem_t::model, summary(findings_), findings_);
    if (!loaded) {
        require(load(), "load");
    } else {
        if (setup_.on_console) std::ranges::for_each(console_, setup_.on_console);
        if (setup_.on_log) std::ranges::for_each(said, setup_.on_log);
    }
    require(compile(), "compile");
}

tessel::result_t Session::library_result() {
    try {
        if (load() == tessel::result_ok) compile();
    } catch (const SessionError&) {
        return tessel::result_failure;
    }
    return last_result_;
}

std::string Session::meaning() {
    const Active mine(*this);
    python::set_console([](std::string_view) {});  // the session's own load says it
    tessel::log::set_sink([](tessel::log::severity_t, std::string_view) {});
    if (const auto problem = find_unloadable(document()); !problem.empty()) throw error(problem_t::model, problem);
    const auto model = tessel::create_empty_meta_model();
    const auto properties = std::make_shared<tessel::PropertiesModel>();
    model->set_properties(properties);
    if (zarn::load(*model, document()) != tessel::result_ok)
        throw error(problem_t::model, "a model that does not load has no meaning");
    for (const auto& [key, value] : setup_.settings) properties->set(key, value);
    return meaning_of(*model, *properties);
}

std::shared_ptr<tessel::IExecModel> Session::build() {
    const Active mine(*this);
    auto exec = tessel::create_empty_exec_model();
    model_->build_exec(exec.get());
    auto object = exec->begin();
    constexpr int most = 10;
    int found = 0;
    std::string without;
    for (const auto& block : *model_) {
        const bool empty = *object++ == nullptr;
        // a model without links keeps the root and the subsystems among its blocks, and a run passes over them
        if (!empty || block == nullptr || tessel::is_subsystem(*block)) continue;
        if (++found <= most)
            without += tessel::format("{}{}: no runnable form for the types {}", without.empty() ? "" : "; ",
                                      shown(*block), types_of(*block));
    }
    if (found > most) without += tessel::format("; and {} blocks more", found - most);
    if (found > 0) throw error(problem_t::model, without);
    return exec;
}

SessionError Session::error(problem_t kind, std::string_view text, std::vector<finding_t> findings) const {
    return {kind, tessel::format("{}: {}", setup_.model, text), std::move(findings), last_result_};
}

/// The scope is the block's path, or its path with the name of a parameter behind it.
std::string Session::block_of(std::string_view scope) const {
    if (model_ == nullptr) return std::string(scope);  // evaluated by a check, which loads no model
    std::string_view best;
    std::size_t longest = 0;
    for (const auto& block : *model_) {
        if (block == nullptr) continue;
        const std::string_view path = block->python_path();
        if (path == scope) return path_of(*block);
        if (path.size() > longest && scope.starts_with(path) && scope[path.size()] == '_') {
            longest = path.size();
            best = block->path();
        }
    }
    return std::string(best.empty() ? scope : best);
}

std::string path_of(const tessel::IMetaBlock& block) { return std::string(block.path()); }

std::string shown(const tessel::IMetaBlock& block) {
    if (!block.path().empty()) return tessel::format("{} ({})", block.path(), block.class_name());
    return tessel::format("'{}' #{} ({})", printable(block.name()), block.id(), block.class_name());
}

}  // namespace zarn
