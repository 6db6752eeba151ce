// What the command does between the steps of a run.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

#include "host/session/run.h"

namespace zarn {

/// A time to wait in words, without more digits than anyone wants: "7 s", "3 min 05 s", "2.5 h".
std::string duration_text(double seconds);

/// Ends the run on Ctrl-C and shows the progress of one of over a second where somebody can see it.
class Monitor final : public Watch {
public:
    /// `looks_at_cells`: on behalf of whoever looks when the run is cut off.
    Monitor(Run& run, double ti, double tf, bool show_progress, bool looks_at_cells = false);
    ~Monitor() override;

    bool looks_at_cells() const noexcept override { return looks_at_cells_; }

    /// Erases the line of progress if one stands on the terminal. Safe in a signal handler.
    static void erase_line() noexcept;

protected:
    bool go_on(double t) noexcept override;

private:
    using steady = std::chrono::steady_clock;
    void look(double t) noexcept;

    double ti_, tf_;
    bool show_progress_;
    bool looks_at_cells_;
    steady::time_point begin_ = steady::now();
    steady::time_point last_look_ = begin_;
    steady::time_point last_shown_ = begin_;
    std::uint32_t countdown_ = 1;  // steps until the next look at the time of day
    std::uint32_t stride_ = 1;
};

}  // namespace zarn
