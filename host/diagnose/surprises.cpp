// What the system does on purpose and people do not expect.

#include <algorithm>
#include <cmath>

#include "core/str.h"
#include "host/diagnose/analysis.h"
#include "host/diagnose/source.h"

namespace zarn {
namespace {

using tessel::class_hash_of;
using tessel::str::shortest;

void check_subtract(const node_t& node, Report& report) {
    if (!node.is(class_hash_of("subtract")) || node.inputs() != 3) return;
    report.at_block("Z421", severity_t::note, node,
                    "with three inputs the output is input 0 - input 1 + input 2: the third is taken from the second, "
                    "and the rest from the first",
                    "put two subtract blocks in a row where input 0 - input 1 - input 2 is meant");
}

/// A last step that rounding drops: the time is a sum of steps, and may end just behind the end.
void check_last_step(const graph_t& graph, Report& report) {
    constexpr double most_steps = 1e7;  // summed up here as in a run
    const double steps = (graph.tf - graph.ti) / graph.ts;
    if (!(graph.ts > 0.0) || !(steps >= 1.0) || steps > most_steps) return;
    const double whole = std::round(steps);
    if (std::abs(steps - whole) > 1e-6) return;  // the end is between two steps
    double time = graph.ti, last = time;
    for (; graph.tf >= time; time += graph.ts) last = time;
    if (time - graph.tf > 0.5 * graph.ts) return;
    report.at_place(
        "Z124", severity_t::note, 0, "/model/tf",
        tessel::format("the last step is at {}, not at \"tf\" {}: the sum of {} steps of {} is {}", shortest(last),
                       shortest(graph.tf), std::size_t(whole), shortest(graph.ts), shortest(time)),
        tessel::format("write {} as \"tf\", half a step later", shortest(graph.tf + 0.5 * graph.ts)));
}

/// A random block that is never stepped never divides by its range.
void excuse_idle_random(const analysis_t& analysis, Report& report) {
    if (!analysis.complete) return;  // the order of stepping means nothing before that
    if (std::ranges::none_of(report.peek(), [](const finding_t& f) { return f.code == "Z403"; })) return;
    std::vector<bool> stepped(analysis.graph.nodes.size());
    const auto never = never_run(analysis);
    for (std::size_t i = 0; i < analysis.order().size(); ++i) stepped[analysis.order()[i]] = !never[i];
    for (finding_id id = 0; id < report.size(); ++id) {
        finding_t& finding = report[id];
        if (finding.code != "Z403" || finding.severity != severity_t::error) continue;
        for (std::size_t i = 0; i < stepped.size(); ++i) {
            const node_t& node = analysis.graph.nodes[i];
            if (stepped[i] || !node.is(class_hash_of("random")) || node.path() != finding.path) continue;
            finding.severity = severity_t::warning;
            finding.what += "; it never runs";
        }
    }
}

}  // namespace

void check_surprises(const analysis_t& analysis, Report& report) {
    for (const node_t& node : analysis.graph.nodes) check_subtract(node, report);
    check_last_step(analysis.graph, report);
    excuse_idle_random(analysis, report);
}

}  // namespace zarn
