#include "host/diagnose/source.h"
#include "host/module/module.h"

namespace zarn::module {
namespace {

/// A text of a file, whatever its bytes.
py::str text_of(const std::string& text) {
    return py::reinterpret_steal<py::str>(
        PyUnicode_DecodeUTF8(text.data(), static_cast<py::ssize_t>(text.size()), "replace"));
}

}  // namespace

py::list list_of(const std::vector<finding_t>& findings) {
    const auto make = py::module_::import("zarn._errors").attr("Finding");
    py::list all;
    for (const finding_t& finding : findings) {
        py::list steps;
        for (const std::string& step : finding.steps) steps.append(text_of(step));
        all.append(make(finding.code, severity_name(finding.severity), text_of(finding.path),
                        text_of(finding.block_class), text_of(finding.what), text_of(finding.mend),
                        text_of(finding.file), text_of(finding.pointer), finding.line, finding.column,
                        py::tuple(steps)));
    }
    return all;
}

}  // namespace zarn::module
