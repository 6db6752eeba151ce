// A model as an FMU for co-simulation.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "coder/fmu/interface.h"
#include "host/export/compiler.h"
#include "host/export/export.h"

namespace zarn {

class Session;

struct fmu_options_t {
    export_options_t program;           ///< but for what it keeps; its name is the model identifier
    int version = 3;                    ///< of the interface: 2 or 3
    bool all_signals = false;           ///< every output of every block is a variable
    bool with_picture = true;           ///< the diagram in the documentation
    bool sources_only = false;          ///< no library, not for this machine either
    std::vector<std::string> targets;   ///< PLATFORM=COMPILER, libraries beside that for this machine
    std::string generator;              ///< name and version of this program
    std::function<bool()> interrupted;  ///< once it answers true, compilers are ended and `fmu_of` with them
};

struct fmu_t {
    std::string bytes;  ///< of the archive
    std::string name, token;
    tessel::fmu::interface_t interface;
    std::vector<std::string> platforms;
    std::vector<std::string> notes;  ///< what its user should know, each one sentence
};

/// The FMU of a prepared session's model. Raises `SessionError`.
fmu_t fmu_of(Session& session, const fmu_options_t& options);

}  // namespace zarn
