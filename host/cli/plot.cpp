#include "host/cli/plot.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <utility>

#include "core/type.h"
#include "host/embed/interpreter.h"

namespace zarn {
namespace {

/// Takes samples in, and of many in a piece of the time axis keeps the first, the last, the lowest and the highest:
/// more than that no picture shows.
class Thinned {
public:
    Thinned(curve_t& curve, std::uint64_t samples) : curve_(curve), most_((samples + pieces - 1) / pieces) {}

    void add(double t, double value) {
        if (most_ <= 4) return put({t, value});
        const point_t point{t, value};
        if (count_ == 0) first_ = low_ = high_ = point;
        if (value < low_.value) low_ = point;
        if (value > high_.value) high_ = point;
        last_ = point;
        if (++count_ == most_) flush();
    }
    void flush() {
        if (count_ == 0) return;
        count_ = 0;
        point_t points[] = {first_, low_, high_, last_};
        std::ranges::stable_sort(points, {}, &point_t::t);
        for (std::size_t i = 0; i < 4; ++i)
            if (i == 0 || points[i].t != points[i - 1].t) put(points[i]);
    }
    /// A value that is none, at the time up to which the last sample holds.
    void gap(double t) {
        flush();
        put({t, std::numeric_limits<double>::quiet_NaN()});
    }

private:
    struct point_t {
        double t, value;
    };
    void put(point_t point) {
        curve_.times.push_back(point.t);
        curve_.values.push_back(point.value);
    }

    static constexpr std::uint64_t pieces = 25'000;
    curve_t& curve_;
    std::uint64_t most_;  // samples in a piece
    std::uint64_t count_ = 0;
    point_t first_{}, low_{}, high_{}, last_{};
};

double double_at(tessel::type_t type, const void* values, std::size_t i) {
    double result = 0;
    const auto read = [&]<class T>(T) {
        if (tessel::type_of<T> == type) result = static_cast<double>(static_cast<const T*>(values)[i]);
    };
    [&]<class... T>(tessel::type_list<T...>) { (read(T{}), ...); }(tessel::value_types{});
    return result;
}

/// The samples of a signal. Behind each stretch of steps with samples, but for one at the end of the run, stands a gap.
curve_t curve_of(const signal_t& signal, const times_t& times) {
    const Recording& recording = std::as_const(*signal.probe).recording();
    curve_t curve{signal.name, recording.type(), {}, {}};
    Thinned points(curve, recording.size());
    const auto stretches = recording.stretches();
    auto stretch = stretches.begin();
    std::uint64_t step = 0;
    double t = times.ti;
    const auto next = [&] {
        ++step;
        t = t + times.ts;
    };
    recording.for_each_piece([&](const void* values, std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) {
            while (step < stretch->first) next();
            points.add(t, double_at(recording.type(), values, i));
            next();
            if (step < stretch->first + stretch->count) continue;
            ++stretch;
            if (step != times.count) points.gap(t);
        }
    });
    points.flush();
    return curve;
}

}  // namespace

void write_plot(OutputFile& file, const std::string& form, const std::string& title, const times_t& times,
                const std::vector<signal_t>& signals, Interpreter& interpreter) {
    std::vector<curve_t> curves;
    curves.reserve(signals.size());
    for (const signal_t& signal : signals) curves.push_back(curve_of(signal, times));
    interpreter.save_plot(file.temporary(), form, title, curves);
}

}  // namespace zarn
