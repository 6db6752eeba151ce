#include "host/sweep/sweep.h"

#include <pybind11/numpy.h>
#include <pybind11/stl.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "host/bridge/bridge.h"
#include "host/module/module.h"
#include "host/module/session.h"

namespace zarn::module {
namespace {

/// A copy, since rows are the sweep's for the time of a call.
py::array_t<double> table_of(std::span<const double> values, std::vector<py::ssize_t> shape) {
    return py::array_t<double>(std::move(shape), values.data());
}

/// Many variants of a model, whose values are at hand.
class PySweep {
public:
    PySweep(const std::string& model, const std::string& text, const py::dict& settings, const py::object& functions,
            std::vector<std::string> names, std::vector<std::vector<double>> columns, std::vector<std::string> measures,
            std::vector<std::string> probes, std::uint64_t every, unsigned jobs) {
        sweep_setup_t setup;
        setup.session = setup_of(model, settings, functions);
        setup.text = text;
        setup.measures = std::move(measures);
        setup.probes = std::move(probes);
        setup.every = every;
        setup.jobs = jobs;
        const py::gil_scoped_release others;
        sweep_ = std::make_unique<Sweep>(std::move(setup), make_variants(std::move(names), std::move(columns)));
    }
    PySweep(const PySweep&) = delete;
    PySweep& operator=(const PySweep&) = delete;
    ~PySweep() {
        const py::gil_scoped_release others;
        sweep_.reset();
    }

    /// Runs the variants from `first` to `end`, and calls `take(first, values, measures, samples, ended)` for each
    /// batch.
    bool go(const py::object& take, std::uint64_t first, std::uint64_t end) {
        std::optional<py::error_already_set> raised;
        bool whole = false;
        {
            const py::gil_scoped_release others;
            whole = sweep_->go([&](const rows_t& rows) { return hand_over(rows, take, raised); }, first, end);
        }
        if (raised) throw py::error_already_set(*raised);
        return whole;
    }

    std::uint64_t size() const { return sweep_->variants().size(); }
    std::uint64_t samples() const { return sweep_->samples(); }
    std::uint64_t batch() const { return sweep_->batch(); }
    py::array_t<double> times() const {
        const auto times = sweep_->sample_times();
        return table_of(times, {static_cast<py::ssize_t>(times.size())});
    }
    std::vector<std::string> measures() const { return sweep_->measure_names(); }
    std::vector<std::string> signals() const { return sweep_->signal_names(); }

private:
    bool hand_over(const rows_t& rows, const py::object& take, std::optional<py::error_already_set>& raised) const {
        const py::gil_scoped_acquire lock;
        const auto count = static_cast<py::ssize_t>(rows.count);
        try {
            if (PyErr_CheckSignals() != 0) throw py::error_already_set();
            py::list ended;
            for (const std::string& why : rows.ended) ended.append(why);
            const auto columns = static_cast<py::ssize_t>(sweep_->variants().names().size());
            const auto measured = static_cast<py::ssize_t>(sweep_->measure_names().size());
            const auto signals = static_cast<py::ssize_t>(sweep_->signal_names().size());
            const auto samples = static_cast<py::ssize_t>(sweep_->samples());
            const py::object answer =
                take(rows.first, table_of(rows.values, {count, columns}), table_of(rows.measures, {count, measured}),
                     table_of(rows.samples, {count, signals, samples}), ended);
            return answer.is_none() || answer.cast<bool>();
        } catch (const py::error_already_set& error) {
            raised = error;
        }
        return false;
    }

    std::unique_ptr<Sweep> sweep_;
};

}  // namespace

void add_sweep(py::module_& module) {
    py::class_<PySweep>(module, "Sweep", py::module_local())
        .def(py::init<const std::string&, const std::string&, const py::dict&, const py::object&,
                      std::vector<std::string>, std::vector<std::vector<double>>, std::vector<std::string>,
                      std::vector<std::string>, std::uint64_t, unsigned>(),
             py::arg("model"), py::arg("text"), py::arg("settings"), py::arg("functions"), py::arg("names"),
             py::arg("columns"), py::arg("measures"), py::arg("probes"), py::arg("every") = 1, py::arg("jobs") = 0)
        .def("go", &PySweep::go, py::arg("take"), py::arg("first"), py::arg("end"))
        .def_property_readonly("size", &PySweep::size)
        .def_property_readonly("samples", &PySweep::samples)
        .def_property_readonly("batch", &PySweep::batch)
        .def_property_readonly("times", &PySweep::times)
        .def_property_readonly("measures", &PySweep::measures)
        .def_property_readonly("signals", &PySweep::signals);
}

}  // namespace zarn::module
