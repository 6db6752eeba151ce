#include "host/cli/plot.h"

#include <cstddef>
#include <limits>

#include "host/python/interpreter.h"

namespace zarn {
namespace {

/// The samples of a signal. Behind each stretch of steps with samples, but for one at the end of the run, stands a
/// value that is none, at the time up to which the last sample holds.
curve_t curve_of(const signal_t& signal, const std::vector<double>& step_times) {
    const Recording& recording = signal.probe->recording();
    const std::vector<double> values = recording.as_doubles();
    curve_t curve{signal.name, recording.type(), {}, {}};
    auto next = values.begin();
    for (const stretch_t& stretch : recording.stretches()) {
        const auto first = static_cast<std::ptrdiff_t>(stretch.first),
                   count = static_cast<std::ptrdiff_t>(stretch.count);
        const auto begin = step_times.begin() + first;
        curve.times.insert(curve.times.end(), begin, begin + count);
        curve.values.insert(curve.values.end(), next, next + count);
        next += count;
        if (begin + count == step_times.end()) break;
        curve.times.push_back(*(begin + count));
        curve.values.push_back(std::numeric_limits<double>::quiet_NaN());
    }
    return curve;
}

}  // namespace

void write_plot(OutputFile& file, const std::string& form, const std::string& title, const times_t& times,
                const std::vector<signal_t>& signals, Interpreter& interpreter) {
    std::vector<double> step_times;
    double t = times.ti;
    for (std::uint64_t step = 0; step < times.count; ++step, t = t + times.ts) step_times.push_back(t);
    std::vector<curve_t> curves;
    curves.reserve(signals.size());
    for (const signal_t& signal : signals) curves.push_back(curve_of(signal, step_times));
    interpreter.save_plot(file.temporary(), form, title, curves);
}

}  // namespace zarn
