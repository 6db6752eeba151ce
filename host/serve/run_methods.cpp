// Methods that execute: evaluating and running.

#include <fstream>
#include <iterator>
#include <stdexcept>

#include "core/format.h"
#include "host/serve/base64.h"
#include "host/serve/execution.h"
#include "host/serve/files.h"
#include "host/serve/http.h"
#include "host/serve/methods.h"

namespace zarn::serve {
namespace {

constexpr std::size_t most_named = 1000;  // expressions in an answer
constexpr std::chrono::milliseconds quick{30'000};

json_t evaluate(State& state, Execution& execution, const Params& params) {
    state.model();
    const auto scripts = params.texts("scripts");
    for (const std::string& script : scripts) state.folder.at(script);
    if (params.has("allow")) {
        execution.allow(params.flag("allow"), scripts);
        state.check();
    }
    json_t named = json_t::array();
    const auto expressions = execution.expressions();
    for (std::size_t i = 0; i < std::min(expressions.size(), most_named); ++i)
        named.push_back({{"block", expressions[i].block},
                         {"path", expressions[i].path},
                         {"key", expressions[i].key},
                         {"text", expressions[i].text}});
    return {{"evaluates", execution.allowed()},
            {"scripts", scripts.empty() ? execution.scripts_at_hand() : scripts},
            {"expressions", std::move(named)},
            {"count", expressions.size()}};
}

json_t value(State& state, Execution& execution, const Params& params, std::unique_lock<std::mutex>& lock) {
    const std::string block = params.text("block"), key = params.text("key");
    state.model();
    if (execution.allowed()) return execution.value(block, key, lock);
    const auto expressions = execution.expressions();
    for (const expression_t& expression : expressions)
        if (expression.block == block && expression.key == key)
            throw RpcError(error_t::consent, "the value of an expression needs evaluating",
                           "agree to it with \"evaluate\"");
    const sheet_t sheet = state.sheet();
    const value_t found = evaluate(sheet, nullptr, block, key);
    json_t answer{{"text", found.text}};
    if (found.problem.empty()) answer["value"] = found.value, answer["type"] = found.type;
    else answer["problem"] = found.problem;
    return answer;
}

/// Asks the process of a run, with the state's mutex free meanwhile: what the process tells needs it.
json_t ask_run(Execution& execution, const Params& params, std::unique_lock<std::mutex>& lock, const char* method,
               json_t request) {
    const auto run = execution.run(params.integer("run", 0));
    lock.unlock();
    json_t answer;
    if (run->child->gone()) {
        lock.lock();
        throw RpcError(error_t::state,
                       run->last.is_object() ? run->last.value("message", "the run has ended") : "the run has ended");
    }
    json_t own{{"run", run->number}};
    try {
        answer = run->child->ask(method, std::move(request), quick);
    } catch (...) {
        lock.lock();
        throw;
    }
    lock.lock();
    own.update(answer);
    own.erase("wires");
    return own;
}

json_t run_state(Execution& execution, const Params& params, std::unique_lock<std::mutex>& lock) {
    const auto run = execution.last_run();
    if (run == nullptr) return {{"run", nullptr}, {"state", "none"}, {"first_bad", nullptr}};
    try {
        if (!run->child->gone()) return ask_run(execution, params, lock, "state", json_t::object());
    } catch (const RpcError&) {
        if (!run->child->gone()) throw;
    }
    execution.note_end(*run);
    return run->last;
}

std::string content_of(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

json_t results(State& state, Execution& execution, const Params& params, std::unique_lock<std::mutex>& lock) {
    const std::string form = params.text("form");
    if (form != "csv" && form != "npz")
        throw RpcError(error_t::refused, tessel::format("there is no form \"{}\"", form),
                       "csv and npz are those that there are");
    if (params.has("file")) {
        const std::string file = params.text("file");
        const auto place = state.folder.at(file);
        if (place.extension() != "." + form)
            throw RpcError(error_t::refused, tessel::format("the name of the file must end in .{}", form));
        ask_run(execution, params, lock, "write", {{"form", form}, {"file", place.string()}});
        return {{"file", file}};
    }
    const auto place = std::filesystem::temp_directory_path() / ("zarn-" + make_token() + "." + form);
    ask_run(execution, params, lock, "write", {{"form", form}, {"file", place.string()}});
    const std::string content = content_of(place);
    std::error_code ignored;
    std::filesystem::remove(place, ignored);
    if (form == "csv") return {{"text", content}};
    return {{"base64", base64(content)}};
}

json_t data_request(const Params& params) {
    json_t request{{"signal", params.integer("signal")}};
    for (const char* key : {"from", "to"})
        if (params.has(key)) request[key] = params.number(key);
    if (params.has("points")) request["points"] = params.integer("points");
    return request;
}

}  // namespace

void add_run_methods(Methods& methods, State& state, Execution& execution) {
    using lock_t = std::unique_lock<std::mutex>;
    const auto add = [&](const char* name, std::vector<std::string> parameters, auto work) {
        methods.add(name, std::move(parameters), [&state, work](const Params& params) {
            lock_t lock(state.mutex);
            return work(params, lock);
        });
    };
    add("evaluate", {"allow", "scripts"}, [&](const Params& p, lock_t&) { return evaluate(state, execution, p); });
    add("value", {"block", "key"}, [&](const Params& p, lock_t& lock) { return value(state, execution, p, lock); });
    add("run.start",
        {"settings", "probes", "wires", "also_shown", "engine", "speed", "paused", "parameters", "literal"},
        [&](const Params& p, lock_t& lock) { return execution.start(p, lock); });
    add("run.pause", {"run"},
        [&](const Params& p, lock_t& lock) { return ask_run(execution, p, lock, "pause", json_t::object()); });
    add("run.resume", {"run", "speed"}, [&](const Params& p, lock_t& lock) {
        json_t request = json_t::object();
        if (p.has("speed")) request["speed"] = p.number("speed");
        return ask_run(execution, p, lock, "resume", std::move(request));
    });
    add("run.step", {"run", "count"}, [&](const Params& p, lock_t& lock) {
        const std::int64_t count = p.integer("count", 1);
        if (count < 1) throw RpcError(error_t::refused, "\"count\" must be above 0");
        return ask_run(execution, p, lock, "step", {{"count", count}});
    });
    add("run.stop", {"run"},
        [&](const Params& p, lock_t& lock) { return ask_run(execution, p, lock, "stop", json_t::object()); });
    add("run.state", {"run"}, [&](const Params& p, lock_t& lock) { return run_state(execution, p, lock); });
    add("run.data", {"run", "signal", "from", "to", "points"},
        [&](const Params& p, lock_t& lock) { return ask_run(execution, p, lock, "data", data_request(p)); });
    add("run.results", {"run", "form", "file"},
        [&](const Params& p, lock_t& lock) { return results(state, execution, p, lock); });
}

}  // namespace zarn::serve
