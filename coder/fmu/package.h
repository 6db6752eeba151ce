// A program as an FMU: every file of it but the compiled libraries, and what is needed to compile those.
#pragma once

#include <string>
#include <vector>

#include "coder/exact/unit.h"
#include "coder/exact/write_c.h"
#include "coder/fmu/archive.h"
#include "coder/fmu/interface.h"

namespace tessel::fmu {

struct package_options_t {
    version_t version = version_t::three;
    bool all_signals = false;  ///< every kept signal of the program is a variable
    std::string generator;     ///< name and version
    std::string picture;       ///< of the diagram, as SVG; "" for none
};

struct package_t {
    std::string name;  ///< the model identifier
    version_t version = version_t::three;
    interface_t interface;
    std::string token;                        ///< equal for equal code of equal meaning
    files_t files;                            ///< by path in the archive
    std::vector<exact::text_file_t> sources;  ///< those that are compiled, the one for the compiler first
    std::vector<exact::text_file_t> headers;  ///< of the interface, for the compiler alone
};

/// Raises `exact::Refusal` for a name that the sources take for themselves and for types that the version has not.
package_t make_package(const exact::unit_t& unit, const package_options_t& options);

}  // namespace tessel::fmu
