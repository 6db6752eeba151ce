// Methods that explain the order and hand the model on as code.

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <sstream>

#include "core/format.h"
#include "host/diagnose/explain.h"
#include "host/draw/ask.h"
#include "host/serve/execution.h"
#include "host/serve/methods.h"
#include "host/session/session.h"

namespace zarn::serve {
namespace {

constexpr std::chrono::milliseconds longest_generation{300'000};

json_t explain(State& state, const Params& params) {
    const open_t& open = state.model();
    const std::size_t block = open.views.handles().block(params.text("block"));
    if (block == draw::none)
        throw RpcError(error_t::refused, tessel::format("there is no block {}", params.text("block")));
    session_setup_t setup;
    setup.model = open.path.string();
    setup.folder = state.folder.path();
    Session session(std::move(setup), open.text());
    const Session::Active active(session);
    const Explanation explanation(session.document(), {});
    if (has_errors(explanation.findings())) {
        json_t data;
        data["findings"] = json_t::parse(to_json(open.file, explanation.findings()))["findings"];
        throw RpcError(error_t::model, summary(explanation.findings()), "mend the errors first", std::move(data));
    }
    const auto blocks = explanation.at(open.views.handles().path_of(block));
    std::ostringstream text;
    for (const stepped_t* one : blocks) explanation.print_block(*one, text);
    json_t order = json_t::parse(explanation.json(open.file, blocks), nullptr, false);
    return {{"text", text.str()},
            {"order", order.is_object() && order.contains("order") ? order["order"] : json_t::array()}};
}

/// Runs a verb of this command on the saved file.
json_t deliver(State& state, Execution& execution, const Params& params, std::unique_lock<std::mutex>& lock,
               const char* verb) {
    const std::string form = params.text("form"), folder = params.text("folder");
    open_t& open = state.model();
    const std::vector<std::string> forms =
        std::string_view(verb) == "generate" ? std::vector<std::string>{"c", "py"} : std::vector<std::string>{"c"};
    if (std::ranges::find(forms, form) == forms.end())
        throw RpcError(error_t::refused, tessel::format("there is no form \"{}\"", form));
    if (open.editor != nullptr && open.editor->modified())
        throw RpcError(error_t::state, "the model has changes that are not saved", "\"save\" first");
    const bool expressions = !execution.expressions().empty();
    if (expressions && !execution.allowed())
        throw RpcError(error_t::consent, "the model has expressions, which generating evaluates",
                       "agree to it with \"evaluate\"");
    const auto place = state.folder.at(folder);
    std::array<char, 4096> own{};
    if (readlink("/proc/self/exe", own.data(), own.size() - 1) <= 0) throw RpcError(error_t::failed, "no command");
    std::vector<std::string> command{own.data(), verb, form, open.path.string(), place.string(), "--json"};
    if (execution.allowed()) {
        for (const std::string& script : execution.scripts_at_hand())
            command.insert(command.end(), {"-w", state.folder.at(script).string()});
        command.emplace_back("--python");
    } else {
        command.emplace_back("--no-python");
    }
    lock.unlock();
    const draw::Answer answer = draw::ask(command, "", longest_generation);
    lock.lock();
    if (!answer.error.empty()) throw RpcError(error_t::failed, answer.error);
    json_t result = json_t::parse(answer.text, nullptr, false);
    if (!answer.ended || !result.is_object()) throw RpcError(error_t::failed, "generating has not come to an end");
    if (result.value("result", 1) != 0) {
        json_t data = json_t::object();
        if (result.contains("findings")) data["findings"] = result["findings"];
        throw RpcError(error_t::model, result.value("error", result.value("why", "the model has errors")), {},
                       std::move(data));
    }
    result["folder"] = folder;
    return result;
}

}  // namespace

void add_deliver_methods(Methods& methods, State& state, Execution& execution) {
    methods.add("explain", {"block"}, [&](const Params& params) {
        const std::lock_guard lock(state.mutex);
        return explain(state, params);
    });
    for (const char* verb : {"generate", "export"})
        methods.add(verb, {"form", "folder"}, [&state, &execution, verb](const Params& params) {
            std::unique_lock lock(state.mutex);
            return deliver(state, execution, params, lock, verb);
        });
}

}  // namespace zarn::serve
