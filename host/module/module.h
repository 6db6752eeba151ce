// The parts of the module zarn._core, each of which adds its types to it.
#pragma once

#include <pybind11/pybind11.h>

#include "host/diagnose/diagnose.h"

namespace zarn::module {

namespace py = pybind11;

/// Errors of a session become exceptions of zarn._errors.
void add_errors(py::module_& module);
/// The classes of blocks: facts of the entries and texts of the reference.
void add_classes(py::module_& module);
void add_session(py::module_& module);
void add_stepper(py::module_& module);
void add_sweep(py::module_& module);

/// Findings as a list of objects of zarn._errors.
py::list list_of(const std::vector<finding_t>& findings);

}  // namespace zarn::module
