// Results of a run as files and texts.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "core/result.h"
#include "host/cli/output_file.h"
#include "host/cli/probes.h"

namespace zarn {

class Interpreter;

/// When a run took its steps: `ti` and then `ts` added once for each step, as the run does it.
struct times_t {
    double ti = 0.0;
    double ts = 0.0;
    std::uint64_t count = 0;
};

/// A column of times, then one of each signal; empty cells where a signal was not sampled.
void write_csv(OutputFile& file, const times_t& times, const std::vector<signal_t>& signals);

/// The array `time`, and for each signal an array of its own type under its name. A signal that was not sampled in
/// every step has its times beside it, as "NAME.time".
void write_npz(OutputFile& file, const times_t& times, const std::vector<signal_t>& signals, Interpreter& interpreter);

/// One JSON object: the result, and for each signal "ID:PORT" its times, values and type.
void print_json_results(tessel::result_t result, const times_t& times, const std::vector<signal_t>& signals);

}  // namespace zarn
