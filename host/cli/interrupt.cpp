#include "host/cli/interrupt.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <climits>
#include <csignal>
#include <cstring>

#include "host/cli/session.h"

namespace zarn {
namespace {

volatile std::sig_atomic_t noted = 0;
volatile std::sig_atomic_t deferring = 0;
using path_t = std::array<char, PATH_MAX>;
std::array<path_t, 4> unfinished{};  // an empty text is a free place

void on_interrupt(int) {
    if (deferring != 0 && noted == 0) {
        noted = 1;
        return;
    }
    remove_files_in_the_making();
    static constexpr char text[] = "\nzarn: interrupted\n";
    [[maybe_unused]] const auto written = write(STDERR_FILENO, text, sizeof text - 1);
    _exit(status_interrupted);
}

void on_end(int signal) {
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

void install_interrupts() {
    handle(SIGINT, on_interrupt);
    handle(SIGTERM, on_end);
    handle(SIGHUP, on_end);
}

DeferInterrupts::DeferInterrupts() { deferring = 1; }
DeferInterrupts::~DeferInterrupts() { deferring = 0; }

void remove_files_in_the_making() noexcept {
    for (const path_t& path : unfinished)
        if (path[0] != '\0') unlink(path.data());
}

bool interrupted() noexcept { return noted != 0; }

void add_file_in_the_making(const std::string& path) {
    const auto place = std::ranges::find(unfinished, '\0', [](const path_t& other) { return other[0]; });
    if (place == unfinished.end() || path.empty() || path.size() >= place->size()) return;
    std::copy(path.begin() + 1, path.end(), place->begin() + 1);
    (*place)[path.size()] = '\0';
    (*place)[0] = path[0];  // last, for a signal in between
}

void drop_file_in_the_making(const std::string& path) {
    for (path_t& other : unfinished)
        if (path == other.data()) other[0] = '\0';
}

}  // namespace zarn
