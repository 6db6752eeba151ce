// The part of `zarn export` that writes FMUs.
#pragma once

#include <string>

#include "host/cli/command.h"
#include "host/export/fmu.h"

namespace zarn {

/// The options that are for FMUs alone.
struct fmu_verb_t {
    int version = 0;  ///< 0: none is asked for
    bool all_signals = false;
    bool sources_only = false;
    std::vector<std::string> targets;
};

void add_fmu_options(CLI::App& verb, fmu_verb_t& fmu);

/// Raises `SessionError` when one of them was given.
void require_no_fmu_options(const fmu_verb_t& fmu);

/// Writes the model as an FMU to a file, whole or not at all; with `check`, compares it with the file. Answers the exit
/// status.
int export_fmu(const options_t& options, const export_options_t& program, const fmu_verb_t& fmu,
               const std::string& file, bool check);

}  // namespace zarn
