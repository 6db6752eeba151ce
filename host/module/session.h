// A session as an object of Python.
#pragma once

#include <pybind11/pybind11.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "host/bridge/bridge.h"
#include "host/module/run.h"
#include "host/session/session.h"

namespace zarn::module {

namespace py = pybind11;

/// What a session is made of. `functions`: None to evaluate literals only, else an object with the functions of
/// zarn._bridge.
session_setup_t setup_of(const std::string& model, const py::dict& settings, const py::object& functions,
                         CPythonBridge** bridge = nullptr);

/// A session and the workspace that it evaluates in. Operations that do more than answer release the interpreter's
/// lock: another session may be at work, which needs it.
class PySession {
public:
    /// `text` None for the file of that name.
    PySession(const std::string& model, const py::object& text, const py::dict& settings, const py::object& functions);

    py::list check(bool confirm);
    void prepare();
    py::list findings() const { return list_of(session_->findings()); }
    /// Path, name and dtype of each input of a prepared model.
    py::list inputs();
    std::uint64_t steps();
    py::dict settings() const;
    /// Runs a prepared model. `feeds` maps inputs to arrays of their dtype, of one value a step.
    py::dict run(const std::vector<std::string>& probes, bool all, const py::dict& feeds, const py::object& progress,
                 bool objects);
    std::string explain(const std::string& path, bool json);
    py::dict draw(const std::string& level, int depth, bool relayout, double seconds);
    py::list layout();
    std::string meaning();
    py::list console() const;

    Session& session() { return *session_; }

private:
    static py::list list_of(const std::vector<finding_t>& findings);

    std::unique_ptr<Session> session_;
    bool evaluates_ = false;
};

}  // namespace zarn::module
