#include "host/embed/interpreter.h"

#include <pybind11/embed.h>
#include <pybind11/stl.h>

#include <csignal>
#include <stdexcept>

#include "core/format.h"
#include "host/bridge/bridge.h"

namespace zarn {
namespace {

namespace py = pybind11;

/// Lets the interpreter's own handler answer Ctrl-C while workspace code runs.
class PythonInterrupts {
public:
    explicit PythonInterrupts(const struct sigaction& python) { sigaction(SIGINT, &python, &before_); }
    PythonInterrupts(const PythonInterrupts&) = delete;
    PythonInterrupts& operator=(const PythonInterrupts&) = delete;
    ~PythonInterrupts() { sigaction(SIGINT, &before_, nullptr); }

private:
    struct sigaction before_ {};
};

void check(PyStatus status) {
    if (PyStatus_Exception(status) != 0)
        throw std::runtime_error(tessel::format("the interpreter does not start: {}",
                                                status.err_msg != nullptr ? status.err_msg : "unknown reason"));
}

/// An array of Python over memory that stays ours.
py::memoryview view_of(tessel::type_t type, const void* data, std::size_t count) {
    static constexpr const char* formats[] = {"", "?", "", "b", "B", "h", "H", "i", "I", "q", "Q", "f", "d"};
    static const double nothing = 0;  // an empty array needs an address as well
    const auto size = static_cast<py::ssize_t>(tessel::size_of(type));
    return py::memoryview::from_buffer(const_cast<void*>(count > 0 ? data : &nothing), size, formats[type],
                                       {static_cast<py::ssize_t>(count)}, {size}, true);
}

/// Starts the interpreter that the command was built with, whatever the environment names or the PATH holds.
void initialize() {
    PyPreConfig before;
    PyPreConfig_InitIsolatedConfig(&before);
    before.utf8_mode = 1;
    check(Py_PreInitialize(&before));

    PyConfig config;
    PyConfig_InitIsolatedConfig(&config);
    config.install_signal_handlers = 1;
    config.write_bytecode = 0;
    config.parse_argv = 0;
    PyStatus status = PyConfig_SetBytesString(&config, &config.program_name, ZARN_PYTHON);
    if (PyStatus_Exception(status) == 0) status = Py_InitializeFromConfig(&config);
    PyConfig_Clear(&config);
    check(status);
}

}  // namespace

PYBIND11_EMBEDDED_MODULE(_zarn, module) { add_samples(module); }

struct Interpreter::impl_t {
    struct sigaction python_interrupts {};
    std::unique_ptr<CPythonBridge> bridge;
    py::module_ functions;
    PyThreadState* unlocked = nullptr;

    Interpreter::ended_t run(const char* operation, const std::string& argument) {
        const py::gil_scoped_acquire lock;
        const PythonInterrupts interrupts(python_interrupts);
        try {
            const py::object ended = functions.attr(operation)(argument);
            if (ended.is_none()) return ended_t::interrupted;
            return ended.cast<bool>() ? ended_t::well : ended_t::failed;
        } catch (const py::error_already_set& error) {
            if (error.matches(PyExc_KeyboardInterrupt)) return ended_t::interrupted;
            throw std::runtime_error(tessel::format("{}: {}", argument, reason(error)));
        }
    }

    /// The exception's text, of an error of the system its reason alone.
    static std::string reason(const py::error_already_set& error) {
        const bool system = error.matches(PyExc_OSError) && !error.value().attr("strerror").is_none();
        return py::str(system ? error.value().attr("strerror") : error.value()).cast<std::string>();
    }

    template <class Work>
    static void save(Work work) {
        const py::gil_scoped_acquire lock;
        try {
            work();
        } catch (const py::error_already_set& error) {
            throw std::runtime_error(reason(error));
        }
    }
};

Interpreter::Interpreter(const setup_t& setup) : impl_(std::make_unique<impl_t>()) {
    struct sigaction before {
    }, pipe{};
    sigaction(SIGINT, nullptr, &before);
    sigaction(SIGPIPE, nullptr, &pipe);
    initialize();
    sigaction(SIGINT, &before, &impl_->python_interrupts);
    sigaction(SIGPIPE, &pipe, nullptr);
    try {
        py::module_::import("sys").attr("path").attr("insert")(0, setup.packages.string());
        py::module_::import("_zarn");
        impl_->functions = py::module_::import("zarn._bridge");
        impl_->functions.attr("prepare")(setup.arguments, setup.output_to_errors);
    } catch (const py::error_already_set& error) {
        throw std::runtime_error(tessel::format("the package 'zarn' in {} cannot be used: {}", setup.packages.string(),
                                                impl_t::reason(error)));
    }
    impl_->bridge = std::make_unique<CPythonBridge>(impl_->functions);
    impl_->unlocked = PyEval_SaveThread();
}

Interpreter::~Interpreter() {
    PyEval_RestoreThread(impl_->unlocked);
    impl_->functions.attr("flush")();
    impl_->bridge.reset();
    impl_->functions.release().dec_ref();
    py::finalize_interpreter();
}

python::IPythonWrap& Interpreter::bridge() { return *impl_->bridge; }

Interpreter::ended_t Interpreter::run_file(const std::string& file) { return impl_->run("run_file", file); }
Interpreter::ended_t Interpreter::run_code(const std::string& code) { return impl_->run("run_code", code); }
void Interpreter::interact() {
    const py::gil_scoped_acquire lock;
    const PythonInterrupts interrupts(impl_->python_interrupts);
    impl_->functions.attr("interact")();
}

void Interpreter::require_plot() {
    impl_t::save([&] { impl_->functions.attr("require_plot")(); });
}

void Interpreter::save_plot(const std::string& file, const std::string& form, const std::string& title,
                            const std::vector<curve_t>& curves) {
    impl_t::save([&] {
        py::list signals;
        for (const curve_t& curve : curves) {
            const char* kind = curve.type == tessel::type_bool   ? "bool"
                               : curve.type < tessel::type_flt32 ? "integer"
                                                                 : "float";
            signals.append(py::make_tuple(curve.name, kind,
                                          view_of(tessel::type_flt64, curve.times.data(), curve.times.size()),
                                          view_of(tessel::type_flt64, curve.values.data(), curve.values.size())));
        }
        impl_->functions.attr("save_plot")(file, form, title, signals);
    });
}

void Interpreter::set_locator(std::function<std::string(std::string_view)> locate) {
    impl_->bridge->set_locator(std::move(locate));
}

}  // namespace zarn
