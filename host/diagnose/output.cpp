// Findings as text, as JSON and as a SARIF log.

#include <algorithm>
#include <array>
#include <map>
#include <nlohmann/json.hpp>
#include <ostream>

#include "core/format.h"
#include "host/diagnose/codes.h"
#include "host/diagnose/diagnose.h"
#include "host/diagnose/source.h"

namespace zarn {
namespace {

using nlohmann::json;

std::string dumped(const json& value) {
    return plain_json(value.dump(2, ' ', false, json::error_handler_t::replace)) + "\n";
}

std::array<std::size_t, 3> count(std::span<const finding_t> findings) {
    std::array<std::size_t, 3> counts{};
    for (const finding_t& finding : findings) ++counts[static_cast<std::size_t>(finding.severity)];
    return counts;
}

/// "mainsys.sum (add)", or the file of a finding about no block.
std::string subject(const finding_t& finding) {
    return finding.path.empty() ? finding.file : finding.path + " (" + finding.block_class + ")";
}

/// A path as the URI reference that SARIF wants.
std::string uri(const std::string& path) {
    constexpr std::string_view plain = "-._~/";
    std::string text;
    for (const char c : path) {
        const auto byte = static_cast<unsigned char>(c);
        const bool alphanumeric = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
        if (alphanumeric || plain.find(c) != std::string_view::npos) text += c;
        else text += tessel::format("%{:02X}", byte);
    }
    return text;
}

json sarif_rule(const code_t& code) {
    return {{"id", code.code},
            {"name", code.name},
            {"shortDescription", {{"text", code.title}}},
            {"fullDescription", {{"text", code.meaning}}},
            {"help", {{"text", code.mend}}}};
}

json sarif_result(const finding_t& finding, std::size_t rule) {
    json physical = {{"artifactLocation", {{"uri", uri(finding.file)}}}};
    if (finding.line != 0) physical["region"] = {{"startLine", finding.line}, {"startColumn", finding.column}};
    json location = {{"physicalLocation", std::move(physical)}};
    json logical = json::array();
    if (!finding.path.empty()) logical.push_back({{"fullyQualifiedName", finding.path}, {"kind", "element"}});
    if (!finding.pointer.empty()) logical.push_back({{"fullyQualifiedName", finding.pointer}, {"kind", "value"}});
    if (!logical.empty()) location["logicalLocations"] = std::move(logical);
    json result = {{"ruleId", finding.code},
                   {"ruleIndex", rule},
                   {"level", severity_name(finding.severity)},
                   {"message", {{"text", subject(finding) + ": " + finding.what + "; " + finding.mend}}},
                   {"locations", json::array({std::move(location)})}};
    if (!finding.steps.empty()) result["properties"] = {{"steps", finding.steps}};
    return result;
}

json list_of(std::span<const finding_t> findings) {
    json list = json::array();
    for (const finding_t& finding : findings)
        list.push_back({{"code", finding.code.empty() ? json() : json(finding.code)},
                        {"severity", severity_name(finding.severity)},
                        {"file", finding.file},
                        {"pointer", finding.pointer},
                        {"line", finding.line == 0 ? json() : json(finding.line)},
                        {"column", finding.line == 0 ? json() : json(finding.column)},
                        {"path", finding.path.empty() ? json() : json(finding.path)},
                        {"class", finding.path.empty() ? json() : json(finding.block_class)},
                        {"what", finding.what},
                        {"mend", finding.mend},
                        {"steps", finding.steps}});
    return list;
}

/// What is said of one model or of several as a whole.
json head_of(const std::array<std::size_t, 3>& counts) {
    return {{"schema", json_schema},
            {"result", static_cast<int>(counts[2] == 0 ? tessel::result_ok : tessel::result_failure)},
            {"errors", counts[2]},
            {"warnings", counts[1]},
            {"notes", counts[0]}};
}

json object_of(const std::string& model, std::span<const finding_t> findings) {
    json object = head_of(count(findings));
    object["model"] = model;
    object["findings"] = list_of(findings);
    return object;
}

}  // namespace

void print(std::span<const finding_t> findings, std::ostream& out, bool colors) {
    constexpr std::size_t most_steps = 40;
    constexpr const char* color[] = {"\033[36m", "\033[33m", "\033[31m"};
    for (const finding_t& finding : findings) {
        const char* on = colors ? color[static_cast<std::size_t>(finding.severity)] : "";
        const char* off = colors ? "\033[0m" : "";
        const auto line = [&out](std::string_view text) { out << printable(text) << '\n'; };
        out << on << severity_name(finding.severity) << ' ' << finding.code << off;
        line(" " + sentence_of(finding));
        std::string place = "    at   " + finding.file;
        if (finding.line != 0) place += tessel::format(":{}:{}", finding.line, finding.column);
        if (!finding.pointer.empty()) place += " " + finding.pointer;
        line(place);
        for (std::size_t i = 0; i < std::min(finding.steps.size(), most_steps); ++i)
            line("         " + finding.steps[i]);
        if (finding.steps.size() > most_steps)
            line(tessel::format("         ... and {} more (all with --json)", finding.steps.size() - most_steps));
        line("    mend " + finding.mend);
    }
}

std::string sentence_of(const finding_t& finding) { return subject(finding) + ": " + finding.what; }

std::string too_many(std::size_t count, severity_t severity) {
    constexpr std::size_t few = 3;
    if (count <= few) return {};
    return tessel::format("{}; 'zarn check', or -v here, shows them", counted(count, severity_name(severity)));
}

std::vector<std::string> in_brief(std::span<const finding_t> findings, severity_t severity, bool all) {
    std::vector<std::string> lines;
    for (const finding_t& finding : findings)
        if (finding.severity == severity)
            lines.push_back(tessel::format("{} {} {}", severity_name(severity), finding.code, sentence_of(finding)));
    if (auto number = too_many(lines.size(), severity); !all && !number.empty()) lines = {std::move(number)};
    return lines;
}

std::string summary(std::span<const finding_t> findings) {
    const auto counts = count(findings);
    if (findings.empty()) return "no problem found";
    return counted(counts[2], "error") + ", " + counted(counts[1], "warning") + ", " + counted(counts[0], "note");
}

std::string to_json(const std::string& model, std::span<const finding_t> findings) {
    return dumped(object_of(model, findings));
}

std::string to_json(std::span<const checked_t> models) {
    std::array<std::size_t, 3> counts{};
    json list = json::array();
    for (const checked_t& checked : models) {
        const auto own = count(checked.findings);
        for (std::size_t i = 0; i < counts.size(); ++i) counts[i] += own[i];
        list.push_back(object_of(checked.model, checked.findings));
    }
    json whole = head_of(counts);
    whole["models"] = std::move(list);
    return dumped(whole);
}

std::string failure_json(tessel::result_t result, std::string_view why, std::span<const finding_t> findings,
                         std::string_view rest) {
    const auto text = [](const json& value) { return value.dump(-1, ' ', false, json::error_handler_t::replace); };
    return tessel::format("{{\"schema\": {}, \"result\": {}, \"error\": {}, \"findings\": {}{}}}\n", json_schema,
                          static_cast<int>(result), text(why), text(list_of(findings)), rest);
}

std::string to_sarif(std::span<const finding_t> findings, const std::string& version) {
    std::map<std::string, std::size_t> used;
    for (const finding_t& finding : findings) used.emplace(finding.code, 0);
    json rules = json::array();
    for (auto& [code, index] : used) {
        index = rules.size();
        if (const code_t* entry = find_code(code); entry != nullptr) rules.push_back(sarif_rule(*entry));
        else rules.push_back({{"id", code}});
    }
    json results = json::array();
    for (const finding_t& finding : findings) results.push_back(sarif_result(finding, used.at(finding.code)));
    json driver = {{"name", "zarn"}, {"semanticVersion", version}, {"rules", std::move(rules)}};
    return dumped(
        {{"$schema", "https://json.schemastore.org/sarif-2.1.0.json"},
         {"version", "2.1.0"},
         {"runs", json::array({{{"tool", {{"driver", std::move(driver)}}}, {"results", std::move(results)}}})}});
}

}  // namespace zarn
