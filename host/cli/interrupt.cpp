#include "host/cli/interrupt.h"

#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <exception>
#include <new>

#include "host/session/error.h"
#include "host/session/output_file.h"

namespace zarn {
namespace {

volatile std::sig_atomic_t noted = 0;      // a signal
volatile std::sig_atomic_t deferring = 0;  // 1: Ctrl-C, 2: ends too

void on_interrupt(int) {
    if (deferring != 0 && noted == 0) {
        noted = SIGINT;
        return;
    }
    remove_files_in_the_making();
    static constexpr char text[] = "\nzarn: interrupted\n";
    [[maybe_unused]] const auto written = write(STDERR_FILENO, text, sizeof text - 1);
    _exit(status_interrupted);
}

void on_end(int signal) {
    if (deferring == 2 && noted == 0) {
        noted = signal;
        return;
    }
    remove_files_in_the_making();
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

void handle(int signal, void (*handler)(int)) {
    struct sigaction action {};
    sigaction(signal, nullptr, &action);
    if (action.sa_handler == SIG_IGN) return;
    action = {};
    action.sa_handler = handler;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    sigaction(signal, &action, nullptr);
}

}  // namespace

namespace {

/// The library's own operations throw nothing: where one finds no memory, the process ends here.
[[noreturn]] void on_terminate() {
    bool memory = false;
    try {
        if (const auto thrown = std::current_exception(); thrown != nullptr) std::rethrow_exception(thrown);
    } catch (const std::bad_alloc&) {
        memory = true;
    } catch (...) {
    }
    remove_files_in_the_making();
    if (!memory) std::abort();
    static constexpr char text[] = "zarn: not enough memory\n";
    [[maybe_unused]] const auto written = write(STDERR_FILENO, text, sizeof text - 1);
    _exit(status_model);
}

}  // namespace

void install_interrupts() {
    std::set_terminate(on_terminate);
    handle(SIGINT, on_interrupt);
    handle(SIGTERM, on_end);
    handle(SIGHUP, on_end);
}

DeferInterrupts::DeferInterrupts(bool ends_too) { deferring = ends_too ? 2 : 1; }
DeferInterrupts::~DeferInterrupts() { deferring = 0; }

bool interrupted() noexcept { return noted != 0; }

void end_as_noted() {
    if (noted != 0 && noted != SIGINT) on_end(noted);
}

}  // namespace zarn
