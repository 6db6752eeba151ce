#include "host/cli/export_fmu.h"

#include <CLI/App.hpp>

#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "core/format.h"
#include "host/cli/interrupt.h"
#include "host/session/output_file.h"

namespace zarn {
namespace {

std::size_t count_of(const fmu_t& fmu, tessel::fmu::causality_t causality) {
    std::size_t count = 0;
    for (const auto& variable : fmu.interface.variables) count += variable.causality == causality;
    return count;
}

void write(const std::string& file, const std::string& bytes) {
    try {
        OutputFile out(file);
        out.write(bytes);
        out.commit();
    } catch (const std::runtime_error& error) {
        throw SessionError(problem_t::file, tessel::format("{}: {}", file, error.what()));
    }
}

/// Whether a file holds these bytes.
bool holds(const std::string& file, const std::string& bytes) {
    std::ifstream in(file, std::ios::binary);
    return in && std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()) == bytes;
}

/// Says whether the file is as it would be written.
int tell_check(const options_t& options, bool is_same, const std::string& file) {
    if (options.json) {
        nlohmann::ordered_json answer{{"schema", json_schema}, {"result", 0}, {"file", file}};
        answer["stale"] = is_same ? nlohmann::json::array() : nlohmann::json::array({file});
        out(answer.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n");
    } else if (!is_same && !options.quiet) {
        out(file + ": stale\n");
    }
    return is_same ? status_ok : status_model;
}

void tell(const options_t& options, const fmu_t& fmu, int version, const std::string& file) {
    using tessel::fmu::causality_t;
    const std::size_t inputs = count_of(fmu, causality_t::input), outputs = count_of(fmu, causality_t::output);
    const std::size_t parameters = count_of(fmu, causality_t::parameter), signals = count_of(fmu, causality_t::local);
    if (options.json) {
        const nlohmann::ordered_json answer{{"schema", json_schema},
                                            {"result", 0},
                                            {"file", file},
                                            {"fmi", version},
                                            {"name", fmu.name},
                                            {"token", fmu.token},
                                            {"platforms", fmu.platforms},
                                            {"inputs", inputs},
                                            {"outputs", outputs},
                                            {"parameters", parameters},
                                            {"signals", signals},
                                            {"notes", fmu.notes}};
        return out(answer.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n");
    }
    if (options.quiet) return;
    for (const std::string& note : fmu.notes) message(note);
    std::string platforms = "sources only";
    for (std::size_t i = 0; i < fmu.platforms.size(); ++i)
        platforms = i == 0 ? fmu.platforms[i] : platforms + ", " + fmu.platforms[i];
    out(tessel::format("{}: FMI {}, {} inputs, {} outputs, {} parameters{}; {}\n", file, version, inputs, outputs,
                       parameters, signals > 0 ? tessel::format(", {} signals", signals) : "", platforms));
}

}  // namespace

void add_fmu_options(CLI::App& verb, fmu_verb_t& fmu) {
    verb.add_option("--fmi", fmu.version, "Version of the FMU's interface: 3 (the default) or 2")
        ->check(CLI::IsMember({2, 3}));
    verb.add_flag("--all-signals", fmu.all_signals, "Every output of every block is a variable of the FMU");
    verb.add_option("--target", fmu.targets, "A library for PLATFORM in the FMU, such as aarch64-linux, by COMPILER")
        ->type_name("PLATFORM=COMPILER")
        ->allow_extra_args(false);
    verb.add_flag("--sources-only", fmu.sources_only, "No library for this machine: importers compile the sources");
}

void require_no_fmu_options(const fmu_verb_t& fmu) {
    if (fmu.version != 0 || fmu.all_signals || fmu.sources_only || !fmu.targets.empty())
        throw SessionError(problem_t::usage,
                           "--fmi, --all-signals, --target and --sources-only are for zarn export fmu");
}

int export_fmu(const options_t& options, const export_options_t& program, const fmu_verb_t& fmu,
               const std::string& file, bool check) {
    fmu_options_t how;
    how.program = program;
    how.version = fmu.version == 0 ? 3 : fmu.version;
    how.all_signals = fmu.all_signals;
    how.sources_only = fmu.sources_only;
    how.targets = fmu.targets;
    how.generator = std::string("zarn ") + ZARN_VERSION;
    Call call(options, bridge_t::interpreter);
    try {
        call.prepare();
    } catch (const SessionError& error) {
        if (options.json) call.out_failure(error, call.library_result());
        throw;
    }
    how.interrupted = interrupted;
    const DeferInterrupts deferred(true);
    const fmu_t made = fmu_of(call.session(), how);
    if (check) return tell_check(options, holds(file, made.bytes), file);
    write(file, made.bytes);
    tell(options, made, how.version, file);
    return status_ok;
}

}  // namespace zarn
