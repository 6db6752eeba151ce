// Names: what blocks are called in the workspace and in generated code.

#include <algorithm>
#include <string_view>
#include <unordered_map>

#include "core/str.h"
#include "host/diagnose/analysis.h"
#include "host/diagnose/source.h"

namespace zarn {
namespace {

/// Whether the workspace holds an object under the block's path.
bool in_workspace(const node_t& node) { return is_subsystem(node) || node.is(hash_to_workspace); }

void check_paths(const graph_t& graph, Report& report) {
    std::unordered_map<std::string_view, const node_t*> first_object;
    for (const node_t& node : graph.nodes) {
        if (!node.hangs) continue;
        const bool object = in_workspace(node);
        const node_t* object_before = nullptr;
        if (object) {
            const auto [other, alone] = first_object.try_emplace(node.block->path(), &node);
            if (!alone) object_before = other->second;
        }
        if (object_before != nullptr && (node.is(hash_to_workspace) || object_before->is(hash_to_workspace)))
            report.at_block(
                "Z504", severity_t::warning, node,
                tessel::format("the workspace keeps one object under {}, and a {} of that name stands there "
                               "already",
                               node.path(), object_before->class_name()),
                "give it a name of its own");
        else if (node.same_path && node.id() != 0)
            report.at_block(
                "Z502", object_before != nullptr ? severity_t::warning : severity_t::note, node,
                tessel::format("another block has the path {}{}", node.path(),
                               object_before != nullptr ? ", and both subsystems are one object in the workspace" : ""),
                "give it a name of its own");
        if (node.properties->name.empty() && node.id() != 0)
            report.at_block("Z503", object ? severity_t::warning : severity_t::note, node,
                            "the block has no name, and is called \"_\" in the workspace", "give it a name");
    }
}

void check_series_names(const graph_t& graph, Report& report) {
    for (const node_t& node : graph.nodes) {
        if (!node.is(hash_to_workspace)) continue;
        if (node.parent() == 0)
            for (const char* key : {"ti", "tf", "ts"})
                if (node.path() == std::string("mainsys.") + key)
                    report.at_block(
                        "Z504", severity_t::warning, node,
                        tessel::format("its series takes the place of the setting {} in the workspace", node.path()),
                        "give it another name");
    }
}

/// Objects of subsystems are made in the order of the file, inside the one of the subsystem around them.
void check_object_order(const graph_t& graph, Report& report) {
    for (const node_t& node : graph.nodes) {
        if (!node.is(hash_to_workspace) || !node.hangs) continue;
        const node_t* inner = graph.find(node.parent());
        while (inner != nullptr && inner->parent() != 0) {
            const node_t* outer = graph.find(inner->parent());
            if (outer == nullptr) break;
            if (outer > inner) {
                report.at_block("Z222", severity_t::warning, node,
                                tessel::format("its series is lost: {} stands before {} in the list of blocks, so its "
                                               "object in the workspace is made before the one that should hold it",
                                               inner->path(), outer->path()),
                                inner->reference != none
                                    ? "record the signal outside the subsystems of the referenced file"
                                    : "list the outer subsystem first");
                break;
            }
            inner = outer;
        }
    }
}

bool identifier_byte(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
}

void check_identifier(const node_t& node, Report& report) {
    const std::string& name = node.properties->name;
    std::string odd;
    bool foreign = false;
    for (const char c : name) {
        if (static_cast<unsigned char>(c) >= 0x80u) foreign = true;
        else if (!identifier_byte(c) && odd.find(c) == std::string::npos) odd += c;
    }
    const bool digit = !name.empty() && name.front() >= '0' && name.front() <= '9';
    if (!odd.empty() || digit)
        report.at_block(
            "Z501", severity_t::warning, node,
            tessel::format("the name {} is no identifier: {}, and it becomes a part of generated code as it is",
                           in_quotes(name),
                           digit ? std::string("it begins with a digit") : "it holds " + in_quotes(odd)),
            "use letters, digits and _, with no digit first");
    else if (foreign)
        report.at_block("Z501", severity_t::note, node,
                        tessel::format("the name {} is an identifier to some compilers only", in_quotes(name)),
                        "use letters from a to z, digits and _");
}

/// A display's name stands inside a text of the generated code.
void check_text(const node_t& node, Report& report) {
    const std::string& name = node.properties->name;
    const auto odd = std::ranges::find_if(
        name, [](char c) { return c == '"' || c == '\\' || c == '%' || static_cast<unsigned char>(c) < ' '; });
    if (odd == name.end()) return;
    report.at_block("Z501", severity_t::warning, node,
                    tessel::format("the name {} breaks the text that generated code prints", in_quotes(name)),
                    "leave out quotes, backslashes, percent signs and line ends");
}

}  // namespace

void check_names(const analysis_t& analysis, Report& report) {
    check_paths(analysis.graph, report);
    check_series_names(analysis.graph, report);
    check_object_order(analysis.graph, report);
    for (const std::size_t position : analysis.wiring.live) {
        const node_t& node = analysis.graph.nodes[position];
        if (is_subsystem(node)) continue;
        if (node.outputs() > 0) check_identifier(node, report);
        else if (node.row->traits().text.prints_name) check_text(node, report);
    }
}

}  // namespace zarn
