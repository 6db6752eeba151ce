#include "host/cli/monitor.h"

#include <algorithm>
#include <cstdio>
#include <string>

#include "core/format.h"
#include "host/cli/interrupt.h"

namespace zarn {
namespace {

using namespace std::chrono_literals;

std::string duration_text(double seconds) {
    if (seconds < 60) return tessel::format("{:.0f} s", seconds);
    if (seconds < 3600)
        return tessel::format("{:.0f} min {:02.0f} s", seconds / 60, static_cast<int>(seconds) % 60 * 1.0);
    return tessel::format("{:.1f} h", seconds / 3600);
}

}  // namespace

Monitor::Monitor(run_clock_t& clock, double ti, double tf, bool show_progress)
    : clock_(clock), ti_(ti), tf_(tf), show_progress_(show_progress) {}

Monitor::~Monitor() {
    if (shown_) std::fputs("\r\033[K", stderr);
}

bool Monitor::step_done(double t) noexcept {
    ++clock_.step;
    clock_.time = t;
    if (show_progress_ && --countdown_ == 0) look(t);
    return !interrupted() && !clock_.exhausted;
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
    shown_ = true;
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
