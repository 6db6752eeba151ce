// A model as a program of its own: what `zarn export` writes.
#pragma once

#include <string>
#include <vector>

#include "coder/exact/unit.h"
#include "coder/exact/write_c.h"

namespace zarn {

class Session;

struct export_options_t {
    std::string name;       ///< of the program, "" for the model file's
    std::string subsystem;  ///< the part that becomes the program, "" for the whole model
    std::string keep = "all";
    bool inline_parameters = false;
    bool series_as_inputs = false;
    bool in_order_of_run = false;
};

/// The program of a prepared session's model. Raises `SessionError` where none can be made of it.
tessel::exact::unit_t program_of(Session& session, const export_options_t& options);

}  // namespace zarn
