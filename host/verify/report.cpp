#include <nlohmann/json.hpp>

#include "core/format.h"
#include "core/str.h"
#include "host/verify/verify.h"

namespace zarn::verify {
namespace {

using json_t = nlohmann::ordered_json;
using kind_t = difference_t::kind_t;

std::string port_text(const watched_t& port) {
    const std::string of_class = port.class_name.empty() ? "" : tessel::format(" ({})", port.class_name);
    return tessel::format("{}{} {} {}", port.path, of_class, port.is_input ? "input" : "output", port.port);
}

std::string bits_text(std::uint64_t bits) { return tessel::format("{:#x}", bits); }

const char* kind_name(kind_t kind) {
    switch (kind) {
        case kind_t::value: return "value";
        case kind_t::final: return "final";
        case kind_t::steps: return "steps";
        default: return "unsteady";
    }
}

json_t json_of(const difference_t& difference) {
    json_t json{{"kind", kind_name(difference.kind)}};
    if (difference.kind == kind_t::steps) {
        json["expected"] = difference.expected;
        json["got"] = difference.got;
        return json;
    }
    json["step"] = difference.step;
    if (difference.kind == kind_t::unsteady) return json;
    const watched_t& port = difference.port;
    if (difference.kind == kind_t::value) json["time"] = difference.time;
    json["path"] = port.path;
    json["class"] = port.class_name;
    json["port"] = port.port;
    json["is_input"] = port.is_input;
    json["type"] = tessel::short_name(port.type);
    const auto add = [](json_t& to, const char* name, tessel::type_t type, std::uint64_t bits) {
        to[name] = {{"value", value_text(type, bits)}, {"bits", bits_text(bits)}};
    };
    add(json, "expected", port.type, difference.expected);
    add(json, "got", port.type, difference.got);
    const std::uint64_t ulps = ulps_between(port.type, difference.expected, difference.got);
    json["ulp"] = ulps != never ? json_t(ulps) : json_t();
    json["inputs"] = json_t::array();
    for (const input_value_t& input : difference.inputs) {
        json_t one{{"port", input.port}, {"type", tessel::short_name(input.type)}};
        add(one, "expected", input.type, input.expected);
        if (input.got) add(one, "got", input.type, *input.got);
        json["inputs"].push_back(std::move(one));
    }
    return json;
}

json_t json_of(const row_t& row) {
    json_t json{{"way", row.way}, {"verdict", verdict_name(row.verdict)}, {"seconds", row.seconds}};
    if (!row.reason.empty()) json["reason"] = row.reason;
    if (row.difference) {
        json["by_library_function"] = row.by_library_function;
        json["difference"] = json_of(*row.difference);
    }
    return json;
}

}  // namespace

std::string difference_text(const difference_t& difference) {
    switch (difference.kind) {
        case kind_t::steps:
            return tessel::format("{} steps where the reference took {}", difference.got, difference.expected);
        case kind_t::unsteady: return tessel::format("step {}: the values differ from run to run", difference.step);
        case kind_t::final:
        case kind_t::value: break;
    }
    const watched_t& port = difference.port;
    const std::string when = difference.kind == kind_t::final ? "behind the run"
                                                              : tessel::format("step {}, t = {} s", difference.step,
                                                                               tessel::str::shortest(difference.time));
    std::string text =
        tessel::format("{}: {}: expected {}, got {}", when, port_text(port), value_text(port.type, difference.expected),
                       value_text(port.type, difference.got));
    for (const input_value_t& input : difference.inputs) {
        text += tessel::format("\n  input {}: {}", input.port, value_text(input.type, input.expected));
        if (input.got && *input.got != input.expected)
            text += tessel::format(", got {}", value_text(input.type, *input.got));
    }
    return text;
}

std::string row_text(const row_t& row) {
    const bool ran = row.verdict != verdict_t::skipped;
    std::string text = tessel::format("{:<30} {:>9}  {}", row.way, ran ? tessel::format("{:.3f} s", row.seconds) : "-",
                                      verdict_name(row.verdict));
    if (row.by_library_function) {
        const difference_t& d = *row.difference;
        const std::uint64_t ulps = ulps_between(d.port.type, d.expected, d.got);
        text += ulps != never ? tessel::format(", at a function of the C library, by {} ulp", ulps)
                              : std::string(", at a function of the C library");
    }
    std::string more = row.reason;
    if (row.difference) more = difference_text(*row.difference);
    if (row.verdict == verdict_t::skipped) return text + ": " + more + "\n";
    text += '\n';
    for (std::size_t begin = 0; begin < more.size();) {
        const std::size_t end = std::min(more.find('\n', begin), more.size());
        text += "    " + more.substr(begin, end - begin) + '\n';
        begin = end + 1;
    }
    return text;
}

std::string report_json(const report_t& report) {
    json_t json{{"reference", "objects"},
                {"steps", report.steps},
                {"ports", report.ports},
                {"program_ports", report.program_ports},
                {"ways", json_t::array()}};
    for (const row_t& row : report.rows) json["ways"].push_back(json_of(row));
    const std::string text = json.dump(-1, ' ', false, json_t::error_handler_t::replace);
    return text.substr(1, text.size() - 2);
}

}  // namespace zarn::verify
