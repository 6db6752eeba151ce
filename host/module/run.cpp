#include "host/module/run.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "host/session/session.h"

namespace zarn::module {

using namespace std::chrono_literals;

py::dtype dtype_of(tessel::type_t type) {
    static constexpr const char* names[] = {"",      "bool",   "",      "int8",   "uint8",   "int16",  "uint16",
                                            "int32", "uint32", "int64", "uint64", "float32", "float64"};
    return py::dtype(names[type]);
}

py::array array_of(tessel::type_t type, const values_t& values) {
    if (values.count == 0) return py::array(dtype_of(type), py::ssize_t{0});
    auto* owner = new std::shared_ptr<const void>(values.owner);
    const py::capsule keeper(owner, [](void* kept) { delete static_cast<std::shared_ptr<const void>*>(kept); });
    return py::array(dtype_of(type), {static_cast<py::ssize_t>(values.count)}, {}, values.data, keeper);
}

PythonWatch::PythonWatch(Run& run, Feeder feeder, py::object progress)
    : Watch(run), feeder_(std::move(feeder)), progress_(std::move(progress)) {}

bool PythonWatch::go_on(double t) noexcept {
    feeder_.next();
    return --countdown_ != 0 || look(t);
}

/// Seldom enough to cost nothing, often enough for Ctrl-C to be answered at once.
bool PythonWatch::look(double t) noexcept {
    const auto now = steady::now();
    if (now - last_look_ < 10ms) stride_ = std::min(stride_ * 2, 1u << 20);
    else stride_ = std::max(stride_ / 2, 1u);
    countdown_ = stride_;
    last_look_ = now;
    if (now - last_told_ < 50ms) return true;
    last_told_ = now;
    const py::gil_scoped_acquire lock;
    try {
        if (PyErr_CheckSignals() != 0) throw py::error_already_set();
        if (!progress_.is_none()) progress_(t);
    } catch (const py::error_already_set& error) {
        type_ = error.type();
        value_ = error.value();
        trace_ = error.trace();
        failed_ = true;
    } catch (...) {
        return true;
    }
    return !failed_;
}

void PythonWatch::raise_pending() {
    if (!failed_) return;
    PyErr_Restore(type_.release().ptr(), value_.release().ptr(), trace_.release().ptr());
    throw py::error_already_set();
}

namespace {

/// The times of the steps of some stretches.
py::array times_of(const times_t& times, const std::vector<stretch_t>& stretches, std::uint64_t count) {
    std::shared_ptr<double[]> values(new double[std::max<std::uint64_t>(count, 1)]);
    double t = times.ti;
    std::uint64_t step = 0, at = 0;
    for (const stretch_t& stretch : stretches) {
        for (; step < stretch.first; ++step) t = t + times.ts;
        for (; step < stretch.first + stretch.count; ++step, t = t + times.ts) values[at++] = t;
    }
    return array_of(tessel::type_flt64, {values, values.get(), count});
}

}  // namespace

py::list series_of(Run& run) {
    const times_t times = run.times();
    py::object all_times = py::none();
    py::list all;
    for (const signal_t& signal : run.signals()) {
        Recording& recording = signal.probe->recording();
        const auto stretches = recording.stretches();
        const std::uint64_t count = recording.size();
        py::object own;
        if (recording.is_complete(0, times.count)) {
            if (all_times.is_none()) all_times = times_of(times, stretches, count);
            own = all_times;
        } else {
            own = times_of(times, stretches, count);
        }
        all.append(py::make_tuple(signal.name, path_of(*signal.block), signal.block->class_name(), signal.port,
                                  array_of(signal.type, recording.take()), own));
    }
    return all;
}

}  // namespace zarn::module
