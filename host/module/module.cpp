#include "host/module/module.h"

#include "host/bridge/bridge.h"

PYBIND11_MODULE(_core, module) {
    module.doc() = "The library and its sessions. Use the package zarn, which this is a part of.";
    module.attr("version") = ZARN_VERSION;
    zarn::add_samples(module);
    zarn::module::add_errors(module);
    zarn::module::add_classes(module);
    zarn::module::add_session(module);
    zarn::module::add_stepper(module);
    zarn::module::add_sweep(module);
}
