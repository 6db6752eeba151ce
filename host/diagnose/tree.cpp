#include "host/diagnose/tree.h"

#include "core/str.h"

namespace zarn {
namespace {

/// A value for each level of the tree, worked out from that of the level around it. A parent that names no block
/// counts as the root; a ring of parents is cut where the walk up meets itself.
template <class Value, class Step>
class Levels {
public:
    Levels(const graph_t& graph, Value root, Step step) : graph_(graph), root_(std::move(root)), step_(step) {}

    const Value& inside(std::uint64_t id) {
        way_.clear();
        while (id != 0) {
            if (!values_.try_emplace(id, root_).second) break;  // known, or on this very way up
            const node_t* node = graph_.find(id);
            if (node == nullptr) break;
            way_.push_back(node);
            id = node->parent();
        }
        const Value* value = id == 0 ? &root_ : &values_.at(id);
        for (auto node = way_.rbegin(); node != way_.rend(); ++node) {
            Value& own = values_.at((*node)->id());
            own = step_(*value, **node);
            value = &own;
        }
        return *value;
    }

private:
    const graph_t& graph_;
    Value root_;
    Step step_;
    std::unordered_map<std::uint64_t, Value> values_;
    std::vector<const node_t*> way_;
};

}  // namespace

void name_paths(graph_t& graph) {
    // the path of the level inside a subsystem; "" for a level that does not hang under the root
    const auto append = [](const std::string& outer, const node_t& node) {
        return outer.empty() ? outer : outer + '.' + tessel::str::sanitize_identifier(node.properties->name);
    };
    const auto step = [&append](const std::string& outer, const node_t& node) {
        return append(node.parent() == 0 ? std::string("mainsys") : outer, node);
    };
    Levels<std::string, decltype(step)> levels(graph, {}, step);
    for (node_t& node : graph.nodes) {
        if (node.id() == 0) {
            node.path = node.properties->name;
            continue;
        }
        node.path = append(node.parent() == 0 ? std::string("mainsys") : levels.inside(node.parent()), node);
        node.hangs = !node.path.empty();
        if (!node.hangs) node.path = "?." + tessel::str::sanitize_identifier(node.properties->name);
        else node.block->set_path(node.path);
        if (node.hangs) node.block->set_python_path(tessel::str::sanitize_path(node.path));
    }
}

std::vector<std::int32_t> tiers_of(const graph_t& graph) {
    const auto deeper = [](std::int32_t outer, const node_t&) { return outer + 1; };
    Levels<std::int32_t, decltype(deeper)> depths(graph, 0, deeper);
    std::vector<std::int32_t> tiers;
    tiers.reserve(graph.nodes.size());
    for (const node_t& node : graph.nodes)
        tiers.push_back(depths.inside(node.parent()) - (node.is(hash_enable) ? 1 : 0));
    return tiers;
}

std::vector<gate_t> gates_of(const graph_t& graph) {
    std::unordered_map<std::uint64_t, std::uint64_t> own_enable{{0, 0}};  // an enable block of the root gates nothing
    for (const node_t& node : graph.nodes)
        if (node.is(hash_enable)) own_enable.try_emplace(node.parent(), node.id());
    const auto enable_in = [&own_enable](std::uint64_t parent) -> std::uint64_t {
        const auto found = parent != 0 ? own_enable.find(parent) : own_enable.end();
        return found != own_enable.end() ? found->second : 0;
    };
    const auto nearer = [&enable_in](std::uint64_t outer, const node_t& subsystem) {
        const std::uint64_t own = enable_in(subsystem.id());
        return own != 0 ? own : outer;
    };
    Levels<std::uint64_t, decltype(nearer)> nearest(graph, 0, nearer);

    std::unordered_map<std::uint64_t, gate_t> map;  // of blocks with one id the first decides
    std::vector<gate_t> gates;
    gates.reserve(graph.nodes.size());
    for (const node_t& node : graph.nodes) {
        std::uint64_t level = node.parent();
        if (node.is(hash_enable)) {  // gated from outside the subsystem that it gates
            const node_t* around = graph.find(level);
            level = around != nullptr ? around->parent() : 0;
        }
        gates.push_back(
            map.try_emplace(node.id(), gate_t{enable_in(node.parent()), nearest.inside(level)}).first->second);
    }
    return gates;
}

}  // namespace zarn
