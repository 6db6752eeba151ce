// For which machines an FMU has a library, and where in the archive that stands.
#pragma once

#include <string>
#include <string_view>

#include "coder/fmu/interface.h"

namespace tessel::fmu {

/// The platform of this process: "x86_64-linux"; "" for one that has no name in the interface.
std::string this_platform();
/// Whether a text names a platform: an architecture and a system, such as "aarch64-linux".
bool is_platform(std::string_view text);
/// "binaries/x86_64-linux/N.so"; version 2 has names of its own for some folders ("linux64").
std::string library_path(std::string_view platform, version_t version, std::string_view name);

}  // namespace tessel::fmu
