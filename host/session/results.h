// Results of a run as files and texts.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "core/result.h"
#include "host/session/output_file.h"
#include "host/session/probes.h"

namespace zarn {

/// When a run took its steps: `ti` and then `ts` added once for each step, as the run does it.
struct times_t {
    double ti = 0.0;
    double ts = 0.0;
    std::uint64_t count = 0;
};

/// Where recordings go while a run goes on.
class Drain {
public:
    virtual ~Drain() = default;
    /// Takes all samples that have not been taken, of the steps before `end`. They can be forgotten then.
    virtual void take(std::uint64_t end) = 0;
    /// The same at the end of the run; nothing comes behind it.
    virtual void finish(std::uint64_t end) = 0;
};

/// A column of times, then one of each signal; empty cells where a signal was not sampled. Rows are written as they
/// are taken.
class CsvWriter final : public Drain {
public:
    CsvWriter(OutputFile& file, const std::vector<signal_t>& signals, double ti, double ts);
    void take(std::uint64_t end) override;
    void finish(std::uint64_t end) override { take(end); }

private:
    OutputFile& file_;
    const std::vector<signal_t>& signals_;
    double t_, ts_;
    std::uint64_t step_ = 0;
};

void write_csv(OutputFile& file, const times_t& times, const std::vector<signal_t>& signals);

/// One JSON object, piece by piece: the result; "series" with times, values and type of each signal "ID:PORT", and
/// "signals" with its name, path, class and type; then `rest`, as members.
void write_json_results(const std::function<void(std::string_view)>& out, tessel::result_t result, const times_t& times,
                        const std::vector<signal_t>& signals, std::string_view rest = {});

}  // namespace zarn
