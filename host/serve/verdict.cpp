#include "host/serve/verdict.h"

#include <array>
#include <stdexcept>
#include <utility>

#include "host/diagnose/analysis.h"
#include "host/document/limits.h"
#include "host/draw/checked.h"
#include "host/session/session.h"

namespace zarn::serve {
namespace {

severity_t severity_of(const std::string& name) {
    for (const severity_t severity : {severity_t::note, severity_t::warning})
        if (name == severity_name(severity)) return severity;
    return severity_t::error;
}

/// Everything that the checks tell of the drawing.
void take(verdict_t& verdict, draw::Diagram& diagram, const analysis_t& analysis, std::vector<finding_t> findings) {
    draw::take_checks(diagram, analysis, findings);
    draw::take_order(diagram, analysis);
    const auto places = draw::places_of(diagram, analysis, findings);
    const Handles handles(diagram);
    for (std::size_t i = 0; i < diagram.links.size(); ++i) {
        const draw::Link& link = diagram.links[i];
        if (!link.type.empty()) verdict.types.emplace(handles.of_link(i), link.type);
        if (link.late) verdict.late.insert(handles.of_link(i));
        if (link.failed) verdict.broken.insert(handles.of_link(i));
    }
    for (std::size_t i = 1; i < diagram.blocks.size(); ++i) {
        if (diagram.blocks[i].idle) verdict.idle.insert(handles.of_block(i));
        if (diagram.blocks[i].failed) verdict.problems.emplace(handles.of_block(i), severity_t::error);
    }
    for (std::size_t i = 0; i < findings.size(); ++i) {
        found_t& found = verdict.findings.emplace_back();
        std::size_t block = places[i].block;
        if (places[i].link != draw::none) {
            const draw::Link& link = diagram.links[places[i].link];
            found.wire = handles.of_link(places[i].link);
            if (block == draw::none) block = link.target != draw::none ? link.target : link.source;
        } else if (block != draw::none) {
            found.block = handles.of_block(block);
            if (findings[i].severity != severity_t::note) {
                severity_t& gravest = verdict.problems[found.block];
                gravest = std::max(gravest, findings[i].severity);
            }
        }
        if (block != draw::none) found.level = handles.of_block(diagram.blocks[block].parent);
        found.finding = std::move(findings[i]);
    }
    verdict.remarks = diagram.remarks;
}

/// What the checks say of expressions in the words of the command, without the options that only that has.
void speak_of_evaluating(verdict_t& verdict) {
    constexpr std::string_view option = ": -w FILE.py";
    for (found_t& found : verdict.findings) {
        finding_t& f = found.finding;
        if (f.code != "Z402") continue;
        if (f.what.ends_with(option)) f.what.resize(f.what.size() - option.size());
        f.mend = "agree to evaluating the expressions";
    }
    for (std::string& remark : verdict.remarks)
        if (const auto at = remark.find(": -w FILE.py"); at != std::string::npos) remark.resize(at);
}

/// A finding about the file as a whole.
found_t about_file(const std::string& shown, const std::string& what) {
    found_t found;
    found.finding.severity = severity_t::error;
    found.finding.file = shown;
    found.finding.what = what;
    return found;
}

}  // namespace

verdict_t judge(const sheet_t& sheet, std::shared_ptr<python::IPythonWrap> bridge) {
    verdict_t verdict;
    verdict.revision = sheet.revision;
    verdict.evaluated = bridge != nullptr;
    session_setup_t setup;
    setup.model = sheet.file.string();
    setup.folder = sheet.folder;
    setup.bridge = std::move(bridge);
    Session session(std::move(setup), sheet.text);
    Document& document = session.document();
    if (auto problem = find_unloadable(document); !problem.empty()) {
        verdict.findings.push_back(about_file(sheet.shown, problem));
        return verdict;
    }
    draw::Diagram diagram;
    try {
        diagram = draw::read_diagram(document);
    } catch (const std::exception&) {  // of which the checks tell more
    }
    const Session::Active active(session);
    analysis_t analysis;
    Report report(analysis.graph);
    check_options_t options;
    options.final_bridge = verdict.evaluated;
    analyse(analysis, report, document, options);
    auto findings = report.take();
    for (finding_t& finding : findings)
        if (finding.file == document.main().shown()) finding.file = sheet.shown;
    if (diagram.blocks.empty()) {
        for (finding_t& finding : findings) verdict.findings.push_back({std::move(finding), {}, {}, {}});
        return verdict;
    }
    // the drawing looks files up by the name that the document knows them by
    for (finding_t& finding : findings)
        if (finding.file == sheet.shown) finding.file = document.main().shown();
    take(verdict, diagram, analysis, std::move(findings));
    for (found_t& found : verdict.findings)
        if (found.finding.file == document.main().shown()) found.finding.file = sheet.shown;
    if (!verdict.evaluated) speak_of_evaluating(verdict);
    return verdict;
}

void mark(draw::Diagram& diagram, const Handles& handles, const verdict_t& verdict) {
    for (std::size_t i = 1; i < diagram.blocks.size(); ++i) {
        const auto problem = verdict.problems.find(handles.of_block(i));
        diagram.blocks[i].failed = problem != verdict.problems.end() && problem->second == severity_t::error;
        diagram.blocks[i].idle = verdict.idle.contains(handles.of_block(i));
    }
    for (std::size_t i = 0; i < diagram.links.size(); ++i) {
        const std::string& handle = handles.of_link(i);
        const auto type = verdict.types.find(handle);
        diagram.links[i].type = type != verdict.types.end() ? type->second : "";
        diagram.links[i].late = verdict.late.contains(handle);
        diagram.links[i].failed = verdict.broken.contains(handle);
    }
    diagram.remarks = verdict.remarks;
}

json_t counts_of(const verdict_t& verdict) {
    std::array<std::size_t, 3> counts{};
    for (const found_t& found : verdict.findings) ++counts[static_cast<std::size_t>(found.finding.severity)];
    return {{"error", counts[2]}, {"warning", counts[1]}, {"note", counts[0]}};
}

json_t json_of(const found_t& found) {
    const finding_t& f = found.finding;
    const auto or_null = [](const std::string& text) { return text.empty() ? json_t() : json_t(text); };
    return {{"code", or_null(f.code)},
            {"severity", severity_name(f.severity)},
            {"path", or_null(f.path)},
            {"class", or_null(f.block_class)},
            {"block", or_null(found.block)},
            {"wire", or_null(found.wire)},
            {"level", or_null(found.level)},
            {"what", f.what},
            {"mend", f.mend},
            {"steps", f.steps},
            {"file", f.file},
            {"pointer", f.pointer},
            {"line", f.line == 0 ? json_t() : json_t(f.line)},
            {"column", f.line == 0 ? json_t() : json_t(f.column)}};
}

json_t packed(const verdict_t& verdict) {
    json_t findings = json_t::array(), types = json_t::array(), problems = json_t::array();
    for (const found_t& found : verdict.findings) findings.push_back(json_of(found));
    for (const auto& [wire, type] : verdict.types) types.push_back({wire, type});
    for (const auto& [block, severity] : verdict.problems) problems.push_back({block, severity_name(severity)});
    return {{"revision", verdict.revision},    {"evaluated", verdict.evaluated},
            {"findings", std::move(findings)}, {"types", std::move(types)},
            {"problems", std::move(problems)}, {"late", verdict.late},
            {"broken", verdict.broken},        {"idle", verdict.idle},
            {"remarks", verdict.remarks}};
}

verdict_t unpacked(const json_t& packed) {
    verdict_t verdict;
    verdict.revision = packed.at("revision");
    verdict.evaluated = packed.at("evaluated");
    const auto text = [](const json_t& object, const char* key) {
        return object.at(key).is_string() ? object.at(key).get<std::string>() : std::string();
    };
    for (const json_t& one : packed.at("findings")) {
        found_t& found = verdict.findings.emplace_back();
        found.block = text(one, "block");
        found.wire = text(one, "wire");
        found.level = text(one, "level");
        finding_t& f = found.finding;
        f.code = text(one, "code");
        f.severity = severity_of(text(one, "severity"));
        f.path = text(one, "path");
        f.block_class = text(one, "class");
        f.what = text(one, "what");
        f.mend = text(one, "mend");
        f.steps = one.at("steps").get<std::vector<std::string>>();
        f.file = text(one, "file");
        f.pointer = text(one, "pointer");
        if (one.at("line").is_number()) f.line = one.at("line");
        if (one.at("column").is_number()) f.column = one.at("column");
    }
    for (const json_t& one : packed.at("types")) verdict.types.emplace(one.at(0), one.at(1));
    for (const json_t& one : packed.at("problems")) verdict.problems.emplace(one.at(0), severity_of(one.at(1)));
    verdict.late = packed.at("late").get<std::unordered_set<std::string>>();
    verdict.broken = packed.at("broken").get<std::unordered_set<std::string>>();
    verdict.idle = packed.at("idle").get<std::unordered_set<std::string>>();
    verdict.remarks = packed.at("remarks").get<std::vector<std::string>>();
    return verdict;
}

}  // namespace zarn::serve
