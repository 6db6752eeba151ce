#include "host/diagnose/tree.h"

#include "core/str.h"
#include "host/diagnose/wiring.h"
#include "model/rules/tree.h"

namespace zarn {

void name_paths(graph_t& graph) {
    tessel::rules::walk_paths(line_up(graph), [&graph](std::size_t position, const std::string* path) {
        node_t& node = graph.nodes[position];
        node.hangs = path != nullptr;
        if (path == nullptr) return;
        node.block->set_path(*path);
        node.block->set_python_path(tessel::str::sanitize_path(*path));
    });
}

std::string node_t::path() const {
    return hangs ? std::string(block->path()) : "?." + tessel::str::sanitize_identifier(properties->name);
}

}  // namespace zarn
