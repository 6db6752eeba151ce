#include "host/serve/service.h"

#include <chrono>
#include <csignal>
#include <thread>

#include "host/serve/execution.h"
#include "host/serve/files.h"
#include "host/serve/methods.h"

namespace zarn::serve {

struct Service::impl_t {
    explicit impl_t(service_setup_t setup) : state(setup.folder, setup.version, std::move(setup.tell)) {
        std::signal(SIGPIPE, SIG_IGN);  // a worker that is gone is told by what it does not answer
        state.on_open = [this] { execution.forget(); };
        state.evaluates = [this] { return execution.allowed(); };
        state.script_saved = [this] {
            execution.renew();
            if (execution.allowed() && state.open != nullptr) state.check();
        };
        state.checker = std::make_unique<Checker>([this](const sheet_t& sheet) { return judge_now(sheet); },
                                                  [this](verdict_t verdict) { take(std::move(verdict)); });
        add_open_methods(methods, state);
        add_look_methods(methods, state);
        add_edit_methods(methods, state);
        add_file_methods(methods, state);
        add_run_methods(methods, state, execution);
        add_deliver_methods(methods, state, execution);
        if (!setup.file.empty()) {
            const std::lock_guard lock(state.mutex);
            try {
                open_file(state, setup.file, false, true);
            } catch (...) {
                state.checker.reset();  // whose thread uses the state
                throw;
            }
        }
        watch = std::thread([this] { look_after(); });
    }

    verdict_t judge_now(const sheet_t& sheet) {
        bool evaluates = false;
        {
            const std::lock_guard lock(state.mutex);
            evaluates = execution.allowed();
        }
        return evaluates ? execution.judge_evaluated(sheet) : judge(sheet, nullptr);
    }

    void take(verdict_t verdict) {
        const std::lock_guard lock(state.mutex);
        if (state.open == nullptr || verdict.ticket != state.tickets) return;  // of another model, or before consent
        state.open->verdict = std::move(verdict);
        state.open->judged = true;
        state.open->pending = false;
        state.open->views.take(state.open->verdict);
        state.verdict_came.notify_all();
        state.notify("findings", findings_json(*state.open));
    }

    /// Twice a second: keeps what is not saved, and sees what others do to the file.
    void look_after() {
        std::unique_lock lock(state.mutex);
        while (!ends.wait_for(lock, std::chrono::milliseconds(500), [this] { return ended; })) {
            keep_unsaved(state);
            look_at_disk(state);
            lock.unlock();
            execution.bury();
            lock.lock();
        }
        keep_unsaved(state);
    }

    void end() {
        {
            const std::lock_guard lock(state.mutex);
            ended = true;
        }
        ends.notify_all();
        watch.join();
        // the checker's thread uses the state until it has ended
        state.checker.reset();
    }

    State state;
    Execution execution{state};
    Methods methods;
    std::thread watch;
    std::condition_variable ends;
    bool ended = false;
};

Service::Service(service_setup_t setup) : impl_(std::make_unique<impl_t>(std::move(setup))) {}

Service::~Service() { impl_->end(); }

std::optional<std::string> Service::answer(std::string_view request) { return impl_->methods.answer(request); }

}  // namespace zarn::serve
