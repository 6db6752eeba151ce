#include "host/diagnose/tree.h"

#include "core/str.h"
#include "host/diagnose/wiring.h"
#include "model/rules/tree.h"

namespace zarn {

void name_paths(graph_t& graph) {
    tessel::rules::walk_paths(line_up(graph), [&graph](std::size_t position, const std::string* path) {
        node_t& node = graph.nodes[position];
        node.hangs = path != nullptr;
        node.path = path != nullptr ? *path : "?." + tessel::str::sanitize_identifier(node.properties->name);
        if (path == nullptr) return;
        node.block->set_path(node.path);
        node.block->set_python_path(tessel::str::sanitize_path(node.path));
    });
}

}  // namespace zarn
