#include "host/serve/worker.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>
#include <mutex>

#include "core/format.h"
#include "host/serve/rpc.h"
#include "host/serve/verdict.h"
#include "host/session/session.h"

namespace zarn::serve {
namespace {

/// Messages to the service, over what was standard output.
class Line {
public:
    Line() : descriptor_(dup(STDOUT_FILENO)) {
        dup2(STDERR_FILENO, STDOUT_FILENO);
        fcntl(descriptor_, F_SETFD, FD_CLOEXEC);
    }
    void put(std::string text) {
        text += '\n';
        const std::lock_guard lock(mutex_);
        std::string_view rest = text;
        while (!rest.empty()) {
            const auto n = write(descriptor_, rest.data(), rest.size());
            if (n < 0 && errno == EINTR) continue;
            if (n < 0) _exit(1);  // the service is gone
            rest.remove_prefix(static_cast<std::size_t>(n));
        }
    }

private:
    int descriptor_;
    std::mutex mutex_;
};

class Worker {
public:
    Worker(const worker_setup_t& setup, Line& line) : setup_(setup), line_(line) {
        methods_.add("begin", {"model", "scripts", "evaluates"}, [this](const Params& p) { return begin(p); });
        methods_.add("judge", {"sheet"}, [this](const Params& p) { return packed(judge(sheet_of(p), bridge_)); });
        methods_.add("value", {"sheet", "block", "key"}, [this](const Params& p) {
            const value_t value = evaluate(sheet_of(p), bridge_, p.text("block"), p.text("key"));
            json_t answer{{"text", value.text}};
            if (value.problem.empty()) answer["value"] = value.value, answer["type"] = value.type;
            else answer["problem"] = value.problem;
            return answer;
        });
        methods_.add("run", {"sheet", "run", "settings", "probes", "wires", "shown", "engine", "speed", "paused"},
                     [this](const Params& p) { return run(p); });
        const auto state = [this] { return runner().state(); };
        methods_.add("pause", {}, [=, this](const Params&) { return runner().pause(), state(); });
        methods_.add("resume", {"speed"}, [=, this](const Params& p) {
            runner().resume(p.has("speed") ? std::optional(p.number("speed")) : std::nullopt);
            return state();
        });
        methods_.add("step", {"count"},
                     [=, this](const Params& p) { return runner().step(p.integer("count", 1)), state(); });
        methods_.add("stop", {}, [=, this](const Params&) { return runner().stop(), state(); });
        methods_.add("state", {}, [=](const Params&) { return state(); });
        methods_.add("data", {"signal", "from", "to", "points"}, [this](const Params& p) {
            return runner().data(static_cast<std::size_t>(p.integer("signal")), p.number("from", -1e300),
                                 p.number("to", 1e300), static_cast<std::size_t>(p.integer("points", 0)));
        });
        methods_.add("write", {"form", "file"}, [this](const Params& p) {
            runner().write(p.text("form"), p.text("file"));
            return json_t::object();
        });
    }

    void serve() {
        std::string text;
        while (std::getline(std::cin, text)) {
            if (const auto answer = methods_.answer(text)) line_.put(*answer);
            // behind the answer that tells what runs: the first step may be the process's last
            if (runner_ != nullptr) runner_->begin();
        }
    }

private:
    json_t begin(const Params& p) {
        if (p.flag("evaluates")) bridge_ = setup_.make_workspace(p.text("model"), p.texts("scripts"));
        return json_t::object();
    }

    static sheet_t sheet_of(const Params& p) {
        const Params sheet = p.object("sheet");
        return {sheet.text("text"), sheet.text("file"), sheet.text("shown"), sheet.text("folder"),
                static_cast<std::uint64_t>(sheet.integer("revision"))};
    }

    json_t run(const Params& p) {
        const sheet_t sheet = sheet_of(p);
        session_setup_t setup;
        setup.model = sheet.file.string();
        setup.folder = sheet.folder;
        setup.bridge = bridge_;
        setup.on_console = [this](std::string_view text) {
            line_.put(notification("console", {{"text", std::string(text)}}));
        };
        const Params settings = p.object("settings");
        for (const char* key : {"ti", "tf", "ts"})
            if (settings.has(key)) setup.settings.emplace_back(key, settings.number(key));
        run_setup_t how;
        how.probes = p.texts("probes");
        for (const json_t& wire : p.list("wires")) how.wires.emplace_back(wire.at(0), wire.at(1));
        how.shown = p.flag("shown", true);
        how.engine = p.text("engine", "plan") == "objects" ? tessel::engine_t::objects : tessel::engine_t::plan;
        how.speed = p.number("speed", 0);
        how.paused = p.flag("paused");
        const std::int64_t number = p.integer("run");
        runner_ = std::make_unique<Runner>(
            std::make_shared<Session>(std::move(setup), sheet.text), how,
            [this, number](const char* method, json_t params) {
                json_t own{{"run", number}};
                own.update(params);
                line_.put(notification(method, std::move(own)));
            },
            setup_.guard);
        return runner_->description();
    }

    Runner& runner() {
        if (runner_ == nullptr) throw RpcError(error_t::state, "there is no run");
        return *runner_;
    }

    const worker_setup_t& setup_;
    Line& line_;
    Methods methods_;
    std::shared_ptr<python::IPythonWrap> bridge_;
    std::unique_ptr<Runner> runner_;
};

}  // namespace

void work(const worker_setup_t& setup) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);  // nothing goes on when the service is gone
    Line line;
    Worker worker(setup, line);
    worker.serve();
}

}  // namespace zarn::serve
