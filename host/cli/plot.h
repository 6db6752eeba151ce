// Recorded signals as a picture.
#pragma once

#include <string>
#include <vector>

#include "host/session/output_file.h"
#include "host/session/probes.h"
#include "host/session/results.h"

namespace zarn {

class Interpreter;

/// A drawing of all signals over time, `form` "png" or "svg". A signal that was not sampled for some steps has a gap
/// there. Raises `std::runtime_error`.
void write_plot(OutputFile& file, const std::string& form, const std::string& title, const times_t& times,
                const std::vector<signal_t>& signals, Interpreter& interpreter);

}  // namespace zarn
