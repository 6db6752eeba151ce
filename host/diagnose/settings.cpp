// Start, end and step of the time: a run adds the step to the time until the end is passed.

#include <algorithm>
#include <cmath>
#include <limits>

#include "core/str.h"
#include "host/diagnose/analysis.h"
#include "host/diagnose/source.h"

namespace zarn {
namespace {

using tessel::str::shortest;

/// The first time at which adding the step does not move the time on, not-a-number when there is none. Steps get lost
/// where numbers are large: near the start when it is far below 0, near the end when it is far above.
double standstill(double ti, double tf, double ts) {
    const double infinity = std::numeric_limits<double>::infinity();
    for (const double t : {ti, std::nextafter(ti, infinity), std::nextafter(tf, -infinity), tf})
        if (t >= ti && t <= tf && t + ts == t) return t;
    return std::numeric_limits<double>::quiet_NaN();
}

void check_length(const graph_t& graph, double steps, Report& report) {
    constexpr double many = 1e10, endless = 1e15;
    const bool records =
        std::ranges::any_of(graph.nodes, [](const node_t& node) { return node.is(hash_to_workspace); });
    if (steps >= endless)
        report.at_place("Z119", severity_t::error, 0, "/model/ts",
                        tessel::format("{:.3g} steps from {} to {}, {} apart: such a run does not end", steps,
                                       shortest(graph.ti), shortest(graph.tf), shortest(graph.ts)),
                        "choose a longer step or an earlier end");
    else if (records && steps > static_cast<double>(std::numeric_limits<std::int32_t>::max()))
        report.at_place("Z119", severity_t::error, 0, "/model/ts",
                        tessel::format("{:.3g} steps, and a to_workspace block keeps a sample of each: an array holds "
                                       "at most 2147483647",
                                       steps),
                        "choose a longer step or an earlier end");
    else if (steps >= many)
        report.at_place("Z119", severity_t::warning, 0, "/model/ts",
                        tessel::format("{:.3g} steps from {} to {}, {} apart", steps, shortest(graph.ti),
                                       shortest(graph.tf), shortest(graph.ts)),
                        "choose a longer step or an earlier end");
}

}  // namespace

void check_settings(const graph_t& graph, Report& report) {
    const double ti = graph.ti, tf = graph.tf, ts = graph.ts;
    if (0.0 >= ts)
        report.at_place("Z116", severity_t::error, 0, "/model/ts",
                        tessel::format("the time step \"ts\" is {}, but must be above 0", shortest(ts)),
                        "write a step in seconds, above 0");
    if (ti >= tf)
        report.at_place("Z117", severity_t::error, 0, "/model/tf",
                        tessel::format("the start \"ti\" is {} and the end \"tf\" is {}, but the start must come first",
                                       shortest(ti), shortest(tf)),
                        "write an end behind the start");
    if (!(ts > 0.0) || !(ti < tf)) return;
    if (const double t = standstill(ti, tf, ts); !std::isnan(t)) {
        const double largest = std::max(std::abs(ti), std::abs(tf));
        const double enough = std::nextafter(largest, std::numeric_limits<double>::infinity()) - largest;
        report.at_place("Z118", severity_t::error, 0, "/model/ts",
                        tessel::format("the step \"ts\" of {} does not move the time on at {}: the run never ends",
                                       shortest(ts), shortest(t)),
                        tessel::format("choose a step of at least {}, or times nearer to 0", shortest(enough)));
        return;
    }
    const double steps = (tf - ti) / ts;
    check_length(graph, steps, report);
    if (steps < 1.0)
        report.at_place(
            "Z120", severity_t::note, 0, "/model/ts",
            tessel::format("the step \"ts\" of {} is longer than the time from {} to {}: a run has one step",
                           shortest(ts), shortest(ti), shortest(tf)),
            "choose a shorter step if more are meant");
}

}  // namespace zarn
