// zarn verify: every way of running a model must give the same bits. And zarn verify-engines, its first rows.

#include <CLI/App.hpp>
#include <algorithm>

#include "core/format.h"
#include "host/cli/command.h"
#include "host/cli/fault.h"
#include "host/cli/interrupt.h"
#include "host/cli/verbs.h"
#include "host/session/json_text.h"
#include "host/verify/program.h"
#include "host/verify/verify.h"

namespace zarn {
namespace {

struct verify_options_t : options_t {
    std::vector<std::string> ways;
    std::int64_t steps = 0;  // 0: all
    std::vector<std::string> targets;
    bool exact_only = false;
};

/// The command's part in the runs.
verify::around_t around_of(Call& call) {
    verify::around_t around;
    around.guard = [&call](tessel::IExecModel& exec) {
        const Session& session = call.session();
        return std::make_shared<FaultGuard>(session.setup().model, session.model(), exec, call.options().json);
    };
    around.interrupted = interrupted;
    around.prepare = [&call, first = true]() mutable {
        call.set_console_silent(!std::exchange(first, false));
        call.prepare();
        call.set_console_silent(false);
    };
    return around;
}

std::string summary_of(const verify::report_t& report, bool exact_only) {
    std::string text = tessel::format("{} ports, {} steps", report.ports, report.steps);
    if (report.program_ports != 0)
        text += tessel::format("; programs show {} ports{}", report.program_ports,
                               exact_only ? ", those that depend on no function of the C library" : "");
    return text + "\n";
}

int verify_all(const verify_options_t& options) {
    Call call(options, bridge_t::interpreter);
    const DeferInterrupts deferred;
    verify::request_t request{.groups = options.ways, .exact_only = options.exact_only};
    // targets alone come to all ways and these
    if (request.groups.empty() && !options.targets.empty())
        for (const auto& group : verify::groups()) {
            const auto targets = verify::target_names();
            if (std::ranges::find(targets, group.name) == targets.end()) request.groups.emplace_back(group.name);
        }
    request.groups.insert(request.groups.end(), options.targets.begin(), options.targets.end());
    if (options.steps > 0) request.steps = static_cast<std::uint64_t>(options.steps);
    const auto on_row = [&options](const verify::row_t& row) {
        if (options.json || options.quiet) return;
        out(verify::row_text(row));
        flush_out();
    };
    try {
        const auto report = verify::verify(call.session(), around_of(call), request, on_row);
        const int status = report.is_good() ? status_ok : status_model;
        if (options.json)
            out(tessel::format("{{\"schema\": {}, \"result\": {}, \"model\": {}, {}, \"findings\": {}}}\n", json_schema,
                               status, json_string(options.model), verify::report_json(report), call.findings_json()));
        else if (!options.quiet) out(summary_of(report, options.exact_only));
        return status;
    } catch (const SessionError& error) {
        if (options.json && error.status() == status_model)
            call.out_failure(error, call.library_result(), ", \"ways\": []");
        throw;
    }
}

int verify_engines(const options_t& options) {
    Call call(options, bridge_t::interpreter);
    const DeferInterrupts deferred;
    const verify::request_t request{.groups = {"plan", "unwatched"}};
    const auto report = verify::verify(call.session(), around_of(call), request);
    for (const verify::row_t& row : report.rows) {
        if (row.verdict != verify::verdict_t::differs) continue;
        out(verify::difference_text(*row.difference) + '\n');
        return status_model;
    }
    if (!options.quiet) out(tessel::format("{} ports agree in every bit over {} steps\n", report.ports, report.steps));
    return status_ok;
}

std::string ways_text() {
    std::string text;
    for (const auto& group : verify::groups()) text += tessel::format("  {:<12} {}\n", group.name, group.meaning);
    return text;
}

}  // namespace

void add_verify(CLI::App& app, int& status) {
    auto options = std::make_shared<verify_options_t>();
    auto* verb = app.add_subcommand("verify", "Run a model every way there is and compare every port as bits");
    add_common(*verb, *options);
    verb->add_option("--ways", options->ways, "Only these ways, with commas between them")
        ->type_name("WAY,...")
        ->delimiter(',')
        ->allow_extra_args(false);
    verb->add_option("--targets", options->targets, "And exported C for these processors, with commas between them")
        ->type_name("CPU,...")
        ->delimiter(',')
        ->allow_extra_args(false)
        ->check(CLI::IsMember(verify::target_names()));
    verb->add_flag("--exact-only", options->exact_only,
                   "Judge programs by what depends on no function of the C library");
    verb->add_option("--steps", options->steps, "Run at most so many steps")
        ->type_name("N")
        ->check(CLI::PositiveNumber);
    verb->footer(
        "Every output of every block at every step is compared with that of the objects, stepped one by one:\n"
        "any not-a-number equals any other, everything else to the last bit. Exit status 1 where a way differs;\n"
        "the first difference is told with the inputs of its block. The ways:\n" +
        ways_text() +
        "\nExample:\n  zarn verify pump.json --ways plan,threads --steps 1000\n"
        "  zarn verify pump.json --targets aarch64,cortex-m3");
    verb->callback(
        [options, &status] { status = guarded([&] { return verify_all(*options); }, options->model, options->json); });
}

void add_verify_engines(CLI::App& app, int& status) {
    auto options = std::make_shared<options_t>();
    auto* verb = app.add_subcommand("verify-engines", "Run a model by objects and by plan and compare every port");
    add_common(*verb, *options);
    verb->footer(
        "Loads the model afresh for each engine and compares all ports at every step, bit by bit.\n"
        "Exit status 1 names the first difference. 'zarn verify' knows more ways.\n\n"
        "Example:\n  zarn verify-engines pump.json");
    verb->callback([options, &status] {
        status = guarded([&] { return verify_engines(*options); }, options->model, options->json);
    });
}

}  // namespace zarn
