// Results of a run as arrays of numpy.
#pragma once

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <chrono>
#include <cstdint>
#include <vector>

#include "host/session/inputs.h"
#include "host/session/recorder.h"
#include "host/session/run.h"

namespace zarn::module {

namespace py = pybind11;

/// The type of arrays of values of a port.
py::dtype dtype_of(tessel::type_t type);

/// An array over memory that it keeps alive.
py::array array_of(tessel::type_t type, const values_t& values);

/// Feeds the inputs of a run, lets the interpreter answer Ctrl-C, and tells how far the run is.
class PythonWatch final : public Watch {
public:
    PythonWatch(Run& run, Feeder feeder, py::object progress);
    bool looks_at_cells() const noexcept override { return !feeder_.empty(); }
    /// Raises what the interpreter has to say. With its lock.
    void raise_pending();
    void begin() noexcept { feeder_.begin(); }

protected:
    bool go_on(double t) noexcept override;

private:
    using steady = std::chrono::steady_clock;
    bool look(double t) noexcept;

    Feeder feeder_;
    py::object progress_;  // called with the time; None for nobody
    bool failed_ = false;
    py::object type_, value_, trace_;
    std::uint32_t stride_ = 1, countdown_ = 1;
    steady::time_point last_look_ = steady::now(), last_told_ = steady::now();
};

/// The series of a run: for each signal its name, path, class, type, values and times. Times of signals that have a
/// value in each step are one array.
py::list series_of(Run& run);

}  // namespace zarn::module
