// The source that stands between an importer and the exact C of a model.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "coder/exact/unit.h"
#include "coder/exact/write_c.h"
#include "coder/fmu/interface.h"

namespace tessel::fmu {

/// `N_fmu.c`, which includes `N.c` and is all there is to compile.
exact::text_file_t write_wrapper(const exact::unit_t& unit, const interface_t& interface, std::string_view token,
                                 std::string_view generator);

/// The three headers of the interface, which importers bring along: needed to compile, and never in an FMU.
std::vector<exact::text_file_t> interface_headers(version_t version);

/// buildDescription.xml of version 3: how the sources are compiled.
std::string write_build_description(const exact::unit_t& unit);

}  // namespace tessel::fmu
