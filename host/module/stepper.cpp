#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <string>
#include <utility>

#include "core/format.h"
#include "core/type.h"
#include "host/module/module.h"
#include "host/module/run.h"
#include "host/module/session.h"
#include "host/session/stepped.h"

namespace zarn::module {
namespace {

/// A stepped run of a session that is its own.
class PyStepper {
public:
    explicit PyStepper(py::object session) : session_(std::move(session)) {
        auto& own = session_.cast<PySession&>().session();
        const py::gil_scoped_release others;
        stepped_ = std::make_unique<Stepped>(own);
    }

    /// Single steps keep the interpreter's lock: handing it over takes longer than many a step.
    std::uint64_t step(std::uint64_t count) {
        Stepped& stepped = open();
        if (stepped.done()) throw SessionError(problem_t::usage, "the run has ended: its end time \"tf\" is passed");
        if (count == 1) return stepped.step(1);
        std::uint64_t taken = 0;
        for (bool goes_on = true; goes_on && taken < count;) {
            const std::uint64_t piece = std::min<std::uint64_t>(count - taken, pause);
            std::uint64_t now = 0;
            {
                const py::gil_scoped_release others;
                now = stepped.step(piece);
            }
            taken += now;
            goes_on = now == piece;
            if (PyErr_CheckSignals() != 0) throw py::error_already_set();
        }
        return taken;
    }
    double time() const { return open().time(); }
    std::uint64_t count() const { return open().count(); }
    bool done() const { return open().done(); }

    py::object value(const std::string& signal) {
        const auto [port, sampled] = open().signal(signal);
        if (sampled) open().settle();
        return read(port->type(), port->value_ptr());
    }
    py::tuple values(const std::vector<std::string>& signals) {
        py::tuple all(signals.size());
        for (std::size_t i = 0; i < signals.size(); ++i) all[i] = value(signals[i]);
        return all;
    }
    py::object get(const std::string& input) {
        const auto [cell, type] = open().input(input);
        return read(type, cell);
    }
    void set(const std::string& input, const py::object& value) {
        const auto [cell, type] = open().input(input);
        write(input, type, cell, value);
    }
    py::list inputs() const {
        py::list names;
        for (const input_t& input : open().inputs()) names.append(input.name);
        return names;
    }

    py::bytes save() {
        const auto saved = open().save();
        return {reinterpret_cast<const char*>(saved.data()), saved.size()};
    }
    void restore(const py::bytes& saved) {
        const std::string_view bytes = saved;
        open().restore({reinterpret_cast<const std::byte*>(bytes.data()), bytes.size()});
    }

    /// `well`: the run has come to an end that counts, and what was recorded goes to the workspace.
    void close(bool well) {
        if (stepped_ == nullptr) return;
        if (well) {
            const py::gil_scoped_release others;
            stepped_->finish();
        }
        stepped_.reset();
    }
    bool closed() const { return stepped_ == nullptr; }

private:
    static constexpr std::uint64_t pause = 1024;  // steps between two looks at what the user wants

    Stepped& open() const {
        if (stepped_ == nullptr) throw SessionError(problem_t::usage, "the stepped run is closed");
        return *stepped_;
    }

    template <class Use>
    static void as_type(tessel::type_t type, Use use) {
        [&]<class... T>(tessel::type_list<T...>) {
            ((tessel::type_of<T> == type ? use(T{}) : void()), ...);
        }(tessel::value_types{});
    }
    static py::object read(tessel::type_t type, const void* cell) {
        py::object value;
        as_type(type, [&]<class T>(T) { value = py::cast(*static_cast<const T*>(cell)); });
        return value;
    }
    static void write(const std::string& input, tessel::type_t type, void* cell, const py::object& value) {
        bool fits = true;
        try {
            as_type(type, [&]<class T>(T) { *static_cast<T*>(cell) = value.cast<T>(); });
        } catch (const py::cast_error&) {
            fits = false;
        }
        if (!fits)
            throw SessionError(problem_t::usage,
                               tessel::format("input {}: {} is no {}", input, py::repr(value).cast<std::string>(),
                                              tessel::short_name(type)));
    }

    py::object session_;  // ahead of what steps its model
    std::unique_ptr<Stepped> stepped_;
};

}  // namespace

void add_stepper(py::module_& module) {
    py::class_<PyStepper>(module, "Stepper", py::module_local())
        .def(py::init<py::object>(), py::arg("session"))
        .def("step", &PyStepper::step, py::arg("count") = 1,
             "Takes so many steps, fewer at the end of the time; returns how many.")
        .def_property_readonly("time", &PyStepper::time, "The time of the next step, in seconds.")
        .def_property_readonly("count", &PyStepper::count, "How many steps lie behind.")
        .def_property_readonly("done", &PyStepper::done, "Whether the end time is passed.")
        .def_property_readonly("closed", &PyStepper::closed)
        .def_property_readonly("inputs", &PyStepper::inputs, "Paths of the inports of the root.")
        .def("value", &PyStepper::value, py::arg("signal"), "What a signal holds, by the path of its block.")
        .def("values", &PyStepper::values, py::arg("signals"), "What several signals hold.")
        .def("__getitem__", &PyStepper::get, py::arg("input"))
        .def("__setitem__", &PyStepper::set, py::arg("input"), py::arg("value"))
        .def("_save", &PyStepper::save)
        .def("_restore", &PyStepper::restore, py::arg("saved"))
        .def("_close", &PyStepper::close, py::arg("well"));
}

}  // namespace zarn::module
