#include "host/serve/execution.h"

#include <algorithm>

#include "core/format.h"
#include "core/literal_bridge.h"
#include "host/serve/files.h"
#include "host/session/session.h"

namespace zarn::serve {
namespace {

constexpr std::chrono::milliseconds longest_evaluation{20'000};
constexpr std::chrono::milliseconds longest_start{120'000};
constexpr std::size_t most_runs = 4;  // kept

json_t sheet_json(const sheet_t& sheet) {
    return {{"text", sheet.text},
            {"file", sheet.file.string()},
            {"shown", sheet.shown},
            {"folder", sheet.folder.string()},
            {"revision", sheet.revision}};
}

/// Whether the built-in bridge, which executes nothing, can read a text.
bool is_literal(const tessel::parameter_traits_t& parameter, const std::string& text) {
    python::LiteralBridge bridge;
    if (parameter.content == tessel::content_t::series) return false;
    if (parameter.content == tessel::content_t::list) {
        python::var_array_t array;
        return bridge.evaluate_array("x", text, array) == tessel::result_ok;
    }
    tessel::var_t value;
    return bridge.evaluate("x", text, &value) == tessel::result_ok;
}

bool is_expression(const tessel::parameter_traits_t& parameter) {
    return parameter.content == tessel::content_t::value || parameter.content == tessel::content_t::list ||
           parameter.content == tessel::content_t::series;
}

}  // namespace

Execution::~Execution() = default;

void Execution::forget() {
    allowed_ = false;
    scripts_.clear();
    for (auto& run : runs_) gone_.push_back(std::move(run));
    runs_.clear();
    renew();
}

void Execution::bury() {
    std::vector<std::shared_ptr<run_t>> dead;
    {
        const std::lock_guard lock(state_.mutex);
        for (auto& run : gone_)
            if (run.use_count() == 1) dead.push_back(std::move(run));
        std::erase(gone_, nullptr);
    }
    dead.clear();
}

void Execution::allow(bool allowed, std::vector<std::string> scripts) {
    allowed_ = allowed;
    scripts_ = std::move(scripts);
    renew();
}

void Execution::renew() {
    const std::lock_guard lock(evaluator_mutex_);
    ++wanted_;
}

std::vector<std::string> Execution::scripts_at_hand() const {
    if (!scripts_.empty()) return scripts_;
    const std::string beside = script_beside(state_);
    std::error_code error;
    const auto place = state_.folder.path() / beside;
    if (!is_within(place, state_.folder.path()) || !std::filesystem::is_regular_file(place, error)) return {};
    return {beside};
}

std::vector<expression_t> Execution::expressions() const {
    std::vector<expression_t> found;
    if (state_.open == nullptr) return found;
    const auto& diagram = state_.open->views.diagram();
    const Handles& handles = state_.open->views.handles();
    session_setup_t setup;
    setup.model = state_.open->file;
    Session quiet(std::move(setup), "{}");  // which keeps what the console hears of the tries
    const Session::Active active(quiet);
    for (std::size_t i = 1; i < diagram.blocks.size(); ++i) {
        const draw::Block& block = diagram.blocks[i];
        for (const tessel::parameter_traits_t& parameter : block.traits->parameters) {
            if (!is_expression(parameter)) continue;
            const auto text = block.parameters.find(parameter.key);
            if (text == block.parameters.end() || is_literal(parameter, text->second)) continue;
            found.push_back({handles.of_block(i), handles.path_of(i), parameter.key, block.parameter(parameter.key)});
        }
    }
    return found;
}

json_t Execution::begin_of(bool evaluates) const {
    json_t scripts = json_t::array();
    for (const std::string& script : scripts_at_hand()) scripts.push_back(state_.folder.at(script).string());
    return {{"model", state_.open->path.string()}, {"scripts", std::move(scripts)}, {"evaluates", evaluates}};
}

/// The process that evaluates for the checks, made anew when it is gone or outdated. With the state's mutex free.
std::shared_ptr<Child> Execution::evaluator() {
    json_t begin;
    {
        const std::lock_guard lock(state_.mutex);
        if (state_.open == nullptr || !allowed_) throw RpcError(error_t::consent, "evaluating is not agreed to");
        begin = begin_of(true);
    }
    const std::lock_guard lock(evaluator_mutex_);
    if (evaluator_ != nullptr && had_ == wanted_ && !evaluator_->gone()) return evaluator_;
    evaluator_.reset();
    auto child = std::make_shared<Child>(
        [this](const json_t& heard) { state_.notify(heard.value("method", "").c_str(), heard["params"]); },
        [this](const std::string& text) {
            state_.notify("console", {{"text", text}});
        },
        [] {});
    child->ask("begin", std::move(begin), longest_start);
    had_ = wanted_;
    evaluator_ = child;
    return child;
}

verdict_t Execution::judge_evaluated(const sheet_t& sheet) {
    try {
        return unpacked(evaluator()->ask("judge", {{"sheet", sheet_json(sheet)}}, longest_evaluation));
    } catch (const RpcError& error) {
        verdict_t verdict = judge(sheet, nullptr);  // what can be said without
        found_t found;
        found.finding.severity = severity_t::error;
        found.finding.file = sheet.shown;
        found.finding.what = tessel::format("the expressions cannot be evaluated: {}", error.what());
        const json_t data = error.object()["data"];
        if (data.contains("console")) found.finding.steps.push_back(data["console"].get<std::string>());
        verdict.findings.insert(verdict.findings.begin(), std::move(found));
        return verdict;
    }
}

json_t Execution::value(const std::string& block, const std::string& key, std::unique_lock<std::mutex>& lock) {
    const sheet_t sheet = state_.sheet();
    lock.unlock();
    json_t answer =
        evaluator()->ask("value", {{"sheet", sheet_json(sheet)}, {"block", block}, {"key", key}}, longest_evaluation);
    lock.lock();
    return answer;
}

std::shared_ptr<Execution::run_t> Execution::run(std::int64_t number) {
    for (auto run = runs_.rbegin(); run != runs_.rend(); ++run)
        if (number == 0 || (*run)->number == number) return *run;
    throw RpcError(error_t::state, number == 0 ? "there is no run" : tessel::format("there is no run {}", number),
                   "\"run.start\" starts one");
}

std::unique_ptr<Child> Execution::start_child(run_t* own) {
    return std::make_unique<Child>(
        [this, own](const json_t& heard) {
            const std::string method = heard.value("method", "");
            if (method == "run.progress") {
                const std::lock_guard lock(state_.mutex);
                own->last = heard["params"];
            }
            state_.notify(method.c_str(), heard["params"]);
        },
        [this](const std::string& text) {
            state_.notify("console", {{"text", text}});
        },
        [this, own] {
            if (own->child == nullptr) return;  // it was never there
            const std::lock_guard lock(state_.mutex);
            if (note_end(*own)) state_.notify("run.progress", own->last);
        });
}

bool Execution::note_end(run_t& run) {
    const std::string state = run.last.is_object() ? run.last.value("state", "") : "";
    if (state == "done" || state == "stopped" || state == "failed") return false;
    std::string words = run.child->last_words();
    while (!words.empty() && words.back() == '\n') words.pop_back();
    if (!run.last.is_object()) run.last = {{"run", run.number}};
    run.last["state"] = "failed";
    run.last["message"] = words.empty() ? "the process that runs the model has ended" : words;
    return true;
}

json_t Execution::start(const Params& params, std::unique_lock<std::mutex>& lock) {
    open_t& open = state_.model();
    const bool literal = params.flag("literal");
    const bool evaluates = allowed_ && !literal;
    if (!evaluates && !literal && !expressions().empty())
        throw RpcError(error_t::consent, "the model has expressions, which a run evaluates",
                       "agree to it with \"evaluate\", or run with \"literal\", which reads numbers only");
    sheet_t sheet = state_.sheet();
    if (params.has("parameters")) {
        edit::Editor trial(sheet.text, open.path);
        for (const auto& [block, values] : params.object("parameters").json().items()) {
            if (!values.is_object()) params.fail("parameters", "objects by blocks");
            try {
                for (const auto& [key, value] : values.items()) trial.set_parameter(block, key, value);
            } catch (const edit::Refusal& refusal) {
                throw RpcError(error_t::refused, refusal.what(), refusal.mend());
            }
        }
        sheet.text = trial.text();
    }
    json_t wires = json_t::array();
    const Handles& handles = open.views.handles();
    for (const std::string& wire : params.texts("wires")) {
        const std::size_t link = handles.link(wire);
        const auto& diagram = open.views.diagram();
        if (link == draw::none || diagram.links[link].source == draw::none)
            throw RpcError(error_t::refused, tessel::format("there is no wire {}", wire));
        const draw::Block& source = diagram.blocks[diagram.links[link].source];
        const std::string port = ":" + std::to_string(diagram.links[link].source_port);
        const bool by_path = source.is_subsystem() || handles.part_of(diagram.links[link].source) != 0;
        wires.push_back(
            {wire, (by_path ? handles.path_of(diagram.links[link].source) : "#" + std::to_string(source.id)) + port});
    }
    json_t request{{"sheet", sheet_json(sheet)},
                   {"run", ++started_},
                   {"settings", params.has("settings") ? params.object("settings").json() : json_t::object()},
                   {"probes", params.texts("probes")},
                   {"wires", wires},
                   {"shown", (!params.has("probes") && !params.has("wires")) || params.flag("also_shown")},
                   {"engine", params.text("engine", "plan")},
                   {"speed", params.number("speed", 0)},
                   {"paused", params.flag("paused")}};
    json_t begin = begin_of(evaluates);
    auto run = std::make_shared<run_t>();
    run->number = started_;
    run->file = open.file;
    lock.unlock();
    json_t description;
    try {
        run->child = start_child(run.get());
        run->child->ask("begin", std::move(begin), longest_start);
        description = run->child->ask("run", std::move(request), longest_start);
    } catch (...) {
        lock.lock();
        run->last = {{"state", "failed"}};  // which the answer tells
        gone_.push_back(run);
        throw;
    }
    lock.lock();
    json_t answer{{"run", run->number}};
    for (json_t& signal : description["signals"])
        if (handles.block(signal["block"].get<std::string>()) == draw::none) signal["block"] = nullptr;
    answer.update(description);
    run->description = answer;
    runs_.push_back(run);
    if (runs_.size() > most_runs) {
        gone_.push_back(std::move(runs_.front()));
        runs_.pop_front();
    }
    return answer;
}

}  // namespace zarn::serve
