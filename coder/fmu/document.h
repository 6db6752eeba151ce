// documentation/index.html.
#pragma once

#include <string>

#include "coder/exact/unit.h"
#include "coder/fmu/interface.h"

namespace tessel::fmu {

/// A page with what the FMU is, its variables as a table, and the picture "diagram.svg" beside it where there is one.
std::string write_document(const exact::unit_t& unit, const interface_t& interface, bool has_picture);

}  // namespace tessel::fmu
