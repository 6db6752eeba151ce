#include "host/serve/service.h"

#include "host/serve/methods.h"

namespace zarn::serve {

struct Service::impl_t {
    explicit impl_t(service_setup_t setup) : state(setup.folder, setup.version, std::move(setup.tell)) {
        state.checker = std::make_unique<Checker>([](const sheet_t& sheet) { return judge(sheet, nullptr); },
                                                  [this](verdict_t verdict) { take(std::move(verdict)); });
        add_open_methods(methods, state);
        add_look_methods(methods, state);
        if (!setup.file.empty()) {
            const std::lock_guard lock(state.mutex);
            open_file(state, setup.file, false);
        }
    }

    void take(verdict_t verdict) {
        const std::lock_guard lock(state.mutex);
        if (state.open == nullptr || verdict.revision > state.open->revision()) return;
        state.open->verdict = std::move(verdict);
        state.open->judged = true;
        state.open->views.take(state.open->verdict);
        state.verdict_came.notify_all();
        state.notify("findings", findings_json(*state.open));
    }

    State state;
    Methods methods;
};

Service::Service(service_setup_t setup) : impl_(std::make_unique<impl_t>(std::move(setup))) {}

// the checker's thread uses the state until it has ended
Service::~Service() { impl_->state.checker.reset(); }

std::optional<std::string> Service::answer(std::string_view request) { return impl_->methods.answer(request); }

}  // namespace zarn::serve
