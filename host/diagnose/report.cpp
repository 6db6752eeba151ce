#include "host/diagnose/report.h"

#include <algorithm>
#include <array>
#include <numeric>
#include <tuple>
#include <unordered_map>

#include "host/diagnose/classes.h"
#include "host/diagnose/source.h"

namespace zarn {

finding_id Report::at_place(const char* code, severity_t severity, std::size_t file, std::string pointer,
                            std::string what, std::string mend) {
    finding_t finding;
    finding.code = code;
    finding.severity = severity;
    finding.pointer = std::move(pointer);
    finding.what = std::move(what);
    finding.mend = std::move(mend);
    if (file < graph_.files.size()) finding.file = graph_.files[file].source->shown();
    findings_.push_back(std::move(finding));
    files_.push_back(file);
    return findings_.size() - 1;
}

finding_id Report::follow(finding_id cause, severity_t severity, std::string_view what) {
    finding_t& finding = findings_[cause];
    if (severity != severity_t::error) return cause;
    constexpr std::string_view starving = " stays without a source";
    if (finding.severity != severity_t::error && what.ends_with(starving))
        finding.what += what.substr(std::min(what.rfind("; "), what.size()));
    finding.severity = severity_t::error;
    return cause;
}

finding_id Report::omission_at(const char* code, const node_t& node) const {
    constexpr std::array<std::string_view, 5> due{"Z201", "Z301", "Z302", "Z303", "Z304"};
    const auto found = uncounted_.find(node.id());
    return found != uncounted_.end() && std::ranges::find(due, code) != due.end() ? found->second.finding : none;
}

finding_id Report::count_missing(const edge_t& edge, const node_t& node) {
    uncounted_t& known = uncounted_[node.id()];
    if (known.finding == none) known.finding = at_block("Z123", severity_t::warning, node, "", "");
    finding_t& finding = findings_[known.finding];
    known.needed = std::max(known.needed, static_cast<std::size_t>(edge.dst_port) + 1);
    finding.steps.push_back(edge.place());
    finding.what = tessel::format("\"inportCount\" is missing, so the block has {} inputs, and {} into it {} nowhere",
                                  node.inputs(), counted(finding.steps.size(), "link"),
                                  finding.steps.size() == 1 ? "leads" : "lead");
    finding.mend = tessel::format("write \"inportCount\": {}", known.needed);
    return known.finding;
}

finding_id Report::at_block(const char* code, severity_t severity, const node_t& node, std::string what,
                            std::string mend) {
    if (const finding_id omission = omission_at(code, node); omission != none) return follow(omission, severity, what);
    if (node.reference != none && graph_.references[node.reference].garbled) {
        const finding_id cause = graph_.references[node.reference].finding;
        if (severity == severity_t::error) findings_[cause].severity = severity_t::error;
        return cause;
    }
    const finding_id id = at_place(code, severity, node.file, node.place(), std::move(what), std::move(mend));
    findings_[id].path = node.path();
    findings_[id].block_class = node.class_name();
    return id;
}

finding_id Report::at_link(const char* code, severity_t severity, const edge_t& edge, const node_t* node,
                           std::string what, std::string mend) {
    if (edge.finding != none) return follow(edge.finding, severity, what);
    if (node != nullptr && std::string_view(code) == "Z203" && edge.dst == node->id() && node->row != nullptr &&
        node->row->traits().input_count < 0 && node->properties->inportCount == 0 && edge.dst_port >= 0)
        return follow(count_missing(edge, *node), severity, what);
    if (node == nullptr) return at_place(code, severity, edge.file, edge.place(), std::move(what), std::move(mend));
    const finding_id id = at_block(code, severity, *node, std::move(what), std::move(mend));
    if (findings_[id].code != code) return id;  // told of the reference instead
    findings_[id].pointer = edge.place();
    findings_[id].file = graph_.files[edge.file].source->shown();
    files_[id] = edge.file;
    return id;
}

std::size_t Report::cause_at(const node_t& node) const {
    if (node.reference != none && graph_.references[node.reference].finding != none)
        return graph_.references[node.reference].finding;
    if (node.is(hash_refsys))
        for (const reference_t& reference : graph_.references)
            if (reference.id == node.id() && reference.finding != none) return reference.finding;
    return none;
}

bool Report::is_broken_reference(const node_t& node) const { return node.is(hash_refsys) && cause_at(node) != none; }

bool Report::blame_reference(const node_t& node, const std::string& input) {
    const std::size_t cause = cause_at(node);
    if (cause == none) return false;
    finding_t& finding = findings_[cause];
    if (finding.severity != severity_t::error) finding.what += "; " + input + " stays without a source";
    finding.severity = severity_t::error;
    return true;
}

void Report::name_blocks() {
    if (findings_.empty()) return;
    const auto key_of = [](std::size_t file, std::string_view pointer) {
        // "/blocks/3/add/name": the block's object is three levels deep
        std::size_t end = 0;
        for (int level = 0; level < 3 && end != std::string::npos; ++level) end = pointer.find('/', end + 1);
        return std::to_string(file) + std::string(pointer.substr(0, end));
    };
    std::unordered_map<std::string, const node_t*> blocks;
    for (std::size_t i = 0; i < findings_.size(); ++i)
        if (!findings_[i].pointer.empty()) blocks.emplace(key_of(files_[i], findings_[i].pointer), nullptr);
    for (const node_t& node : graph_.nodes) {
        if (blocks.empty()) break;
        if (const auto found = blocks.find(std::to_string(std::size_t(node.file)) + node.place());
            found != blocks.end() && found->second == nullptr)
            found->second = &node;
    }
    for (std::size_t i = 0; i < findings_.size(); ++i) {
        const std::string& pointer = findings_[i].pointer;
        if (findings_[i].code == "Z113") {  // of blocks whose names and ids are not those of the file
            const auto reference = std::ranges::find(graph_.references, files_[i], &reference_t::file);
            const node_t* refsys = reference != graph_.references.end() ? graph_.find(reference->id) : nullptr;
            if (refsys == nullptr) continue;
            findings_[i].path = refsys->path();
            findings_[i].block_class = refsys->class_name();
            continue;
        }
        const auto found = blocks.find(key_of(files_[i], pointer));
        if (found == blocks.end() || found->second == nullptr || pointer.empty()) continue;
        findings_[i].path = found->second->path();
        findings_[i].block_class = found->second->class_name();
    }
}

void Report::place_all(std::size_t file) {
    std::vector<std::size_t> open;  // findings without a line
    for (std::size_t i = 0; i < findings_.size(); ++i)
        if (files_[i] == file && findings_[i].line == 0 && !findings_[i].pointer.empty()) open.push_back(i);
    std::vector<std::string> at(open.size());
    for (std::size_t k = 0; k < open.size(); ++k) at[k] = findings_[open[k]].pointer;
    while (!open.empty()) {
        const auto places = graph_.files[file].source->places(at);
        std::size_t kept = 0;
        for (std::size_t k = 0; k < open.size(); ++k) {
            finding_t& finding = findings_[open[k]];
            if (const auto found = places.find(at[k]); found != places.end()) {
                finding.pointer = at[k];
                finding.line = found->second.line;
                finding.column = found->second.column;
                continue;
            }
            // a key that the file leaves out is told at the object that it belongs to
            at[k].erase(at[k].rfind('/'));
            if (at[k].empty()) continue;
            std::swap(at[kept], at[k]);
            open[kept++] = open[k];
        }
        open.resize(kept);
        at.resize(kept);
    }
}

std::vector<finding_t> Report::take() {
    for (std::size_t file = 0; file < graph_.files.size(); ++file) place_all(file);
    std::vector<std::size_t> order(findings_.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::ranges::stable_sort(order, {}, [this](std::size_t i) {
        return std::tuple(files_[i], findings_[i].line, findings_[i].column, findings_[i].code);
    });
    std::vector<finding_t> sorted;
    sorted.reserve(order.size());
    for (const std::size_t i : order) sorted.push_back(std::move(findings_[i]));
    findings_.clear();
    files_.clear();
    return sorted;
}

}  // namespace zarn
