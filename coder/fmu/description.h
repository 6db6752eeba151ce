// modelDescription.xml.
#pragma once

#include <string>

#include "coder/exact/unit.h"
#include "coder/fmu/interface.h"

namespace tessel::fmu {

/// Of version 2 or 3, for co-simulation. Equal interfaces give equal bytes.
std::string write_description(const exact::unit_t& unit, const interface_t& interface, const std::string& token,
                              const std::string& generator);

}  // namespace tessel::fmu
