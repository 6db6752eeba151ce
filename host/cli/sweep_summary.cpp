#include "host/cli/sweep_summary.h"

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>

#include "core/format.h"
#include "host/diagnose/diagnose.h"

namespace zarn {

void measure_summary_t::add(std::uint64_t variant, double value) {
    if (std::isnan(value)) return;
    if (value < least) least = value, least_at = variant;
    if (value > most) most = value, most_at = variant;
    sum += value;
    count += 1.0;
}

std::string summary_text(const sweep_summary_t& summary) {
    std::string text =
        tessel::format("{} variant{} in {:.3g} s", summary.done, summary.done == 1 ? "" : "s", summary.seconds);
    if (summary.there != 0) text += tessel::format(", {} were there", summary.there);
    if (summary.filtered) text += tessel::format(", {} kept", summary.kept);
    text += '\n';
    if (summary.kinds > 1)
        text += tessel::format("{} kinds of models: a variant changed types or sizes\n", summary.kinds);
    if (summary.ended != 0)
        text += tessel::format("{} without a result, the first {}\n", summary.ended, summary.first_ended);
    std::size_t width = 0;
    for (const measure_summary_t& m : summary.measures) width = std::max(width, m.name.size());
    for (const measure_summary_t& m : summary.measures) {
        if (m.count == 0.0) text += tessel::format("{:<{}}  no value\n", m.name, width);
        else
            text += tessel::format("{:<{}}  least {:.6g} (variant {}), mean {:.6g}, most {:.6g} (variant {})\n", m.name,
                                   width, m.least, m.least_at, m.sum / m.count, m.most, m.most_at);
    }
    return text;
}

std::string summary_json(const sweep_summary_t& summary) {
    nlohmann::json json{{"schema", json_schema},    {"result", 0},
                        {"variants", summary.done}, {"kept", summary.kept},
                        {"ended", summary.ended},   {"seconds", summary.seconds},
                        {"kinds", summary.kinds},   {"measures", nlohmann::json::object()}};
    for (const measure_summary_t& m : summary.measures) {
        nlohmann::json& measure = json["measures"][m.name] = nlohmann::json{{"count", m.count}};
        if (m.count == 0.0) continue;
        measure["least"] = {{"value", m.least}, {"variant", m.least_at}};
        measure["most"] = {{"value", m.most}, {"variant", m.most_at}};
        measure["mean"] = m.sum / m.count;
    }
    return json.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}

}  // namespace zarn
