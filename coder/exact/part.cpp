// A part of a model as a program: what crosses its border.

#include <algorithm>
#include <queue>

#include "coder/exact/draft.h"
#include "core/format.h"
#include "framework/structure.h"

namespace tessel::exact {
namespace {

/// The path of a subsystem as the model has it: the name of the root may be left out. Empty where no block is inside.
std::string whole_path(const draft_t& draft, const std::string& part) {
    const auto has_blocks = [&](const std::string& path) {
        return std::ranges::any_of(draft.nodes, [&](const node_t& node) { return node.path.starts_with(path + "."); });
    };
    if (has_blocks(part)) return part;
    const std::string& first = draft.nodes.front().path;
    const std::string below_root = first.substr(0, first.find('.')) + "." + part;
    return has_blocks(below_root) ? below_root : std::string();
}

/// The wires and flags by which a node depends on others.
template <class Use>
void for_each_need(const node_t& node, const Use& use) {
    for (const node_number source : node.sources)
        if (source != no_node) use(source);
    if (node.gate != no_node) use(node.gate);
}

/// Which nodes outside depend on what the part puts out in the same step.
std::vector<bool> behind_part(const draft_t& draft) {
    std::vector<bool> behind(draft.nodes.size());
    for (std::size_t i = 0; i < draft.nodes.size(); ++i) {
        const node_t& node = draft.nodes[i];
        if (node.inside || !draft.runs(static_cast<node_number>(i))) continue;
        for_each_need(node, [&](node_number need) {
            if (draft_t::in_same_step(need, static_cast<node_number>(i)) &&
                (draft.at(need).inside || behind[static_cast<std::size_t>(need)]))
                behind[i] = true;
        });
    }
    return behind;
}

}  // namespace

void cut_out(draft_t& draft, const std::string& part) {
    draft.part = whole_path(draft, part);
    if (draft.part.empty())
        throw Refusal(tessel::format("{}: there is no subsystem with blocks under that path", part));
    const std::string within = draft.part + ".";
    for (node_t& node : draft.nodes) node.inside = node.path.starts_with(within);
    const std::vector<bool> behind = behind_part(draft);
    for (std::size_t i = 0; i < draft.nodes.size(); ++i) {
        const auto number = static_cast<node_number>(i);
        const bool inside = draft.nodes[i].inside;
        for_each_need(draft.nodes[i], [&](node_number need) {
            node_t& source = draft.at(need);
            if (source.inside == inside) return;
            if (source.inside) {
                source.is_border_output = true;
                return;
            }
            source.is_border_input = true;
            if (draft_t::in_same_step(need, number) && behind[static_cast<std::size_t>(need)] && draft.runs(number))
                throw Refusal(tessel::format(
                    "{}: it reads {}, which depends in the same step on what {} puts out; choose the subsystem around "
                    "both, or put a memory block between them",
                    draft.nodes[i].path, source.path, draft.part));
        });
    }
}

}  // namespace tessel::exact
