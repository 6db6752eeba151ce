#include "host/cli/monitor.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstdio>

#include "core/format.h"
#include "host/cli/interrupt.h"

namespace zarn {
namespace {

using namespace std::chrono_literals;

volatile std::sig_atomic_t line_stands = 0;

}  // namespace

std::string duration_text(double seconds) {
    if (seconds >= 3599.5) return tessel::format("{:.1f} h", seconds / 3600);
    const long whole = std::lround(seconds);
    if (whole < 60) return tessel::format("{} s", whole);
    return tessel::format("{} min {:02} s", whole / 60, whole % 60);
}

Monitor::Monitor(Run& run, double ti, double tf, bool show_progress, bool looks_at_cells)
    : Watch(run), ti_(ti), tf_(tf), show_progress_(show_progress), looks_at_cells_(looks_at_cells) {}

Monitor::~Monitor() { erase_line(); }

void Monitor::erase_line() noexcept {
    if (line_stands == 0) return;
    line_stands = 0;
    static constexpr char text[] = "\r\033[K";
    [[maybe_unused]] const auto written = write(STDERR_FILENO, text, sizeof text - 1);
}

bool Monitor::go_on(double t) noexcept {
    if (show_progress_ && --countdown_ == 0) look(t);
    return !interrupted();
}

void Monitor::look(double t) noexcept {
    const auto now = steady::now();
    // seldom enough to cost nothing, often enough for ten looks a second
    if (now - last_look_ < 10ms) stride_ = std::min(stride_ * 2, 1u << 20);
    else stride_ = std::max(stride_ / 2, 1u);
    countdown_ = stride_;
    last_look_ = now;
    if (now - begin_ < 1s || now - last_shown_ < 200ms) return;
    last_shown_ = now;
    line_stands = 1;
    const double share = (t - ti_) / (tf_ - ti_);
    const double spent = std::chrono::duration<double>(now - begin_).count();
    try {
        const auto text = tessel::format("\r\033[Kt = {:.6g} s, {:.0f} %, {} left", t, share * 100,
                                         duration_text(spent * (1 - share) / std::max(share, 1e-9)));
        std::fputs(text.c_str(), stderr);
    } catch (...) {
        show_progress_ = false;
    }
}

}  // namespace zarn
