#include "host/module/module.h"
#include "host/session/error.h"

namespace zarn::module {
namespace {

const char* exception_of(problem_t kind) {
    switch (kind) {
        case problem_t::usage: return "UsageError";
        case problem_t::file: return "FileError";
        case problem_t::workspace: return "WorkspaceError";
        case problem_t::interrupted: return "KeyboardInterrupt";
        default: return "ModelError";
    }
}

void translate(std::exception_ptr thrown) {
    if (thrown == nullptr) return;
    try {
        std::rethrow_exception(thrown);
    } catch (const SessionError& error) {
        const auto errors = py::module_::import("zarn._errors");
        const py::object type = error.kind() == problem_t::interrupted
                                    ? py::reinterpret_borrow<py::object>(PyExc_KeyboardInterrupt)
                                    : errors.attr(exception_of(error.kind()));
        // a text can quote what a file holds
        const std::string_view text = error.what();
        py::object made = type(py::reinterpret_steal<py::object>(
            PyUnicode_DecodeUTF8(text.data(), static_cast<py::ssize_t>(text.size()), "replace")));
        if (error.kind() != problem_t::interrupted) made.attr("findings") = list_of(error.findings());
        PyErr_SetObject(type.ptr(), made.ptr());
    }
}

}  // namespace

void add_errors(py::module_&) { py::register_local_exception_translator(&translate); }

}  // namespace zarn::module
