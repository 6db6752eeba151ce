#include "host/diagnose/tree.h"

#include <bit>
#include <functional>
#include <string_view>

#include "core/str.h"
#include "host/diagnose/wiring.h"
#include "model/rules/tree.h"

namespace zarn {
namespace {

/// Tells which paths came before. Holds places of blocks by the hashes of their paths, since a model has millions.
class Paths {
public:
    explicit Paths(const graph_t& graph) : graph_(graph), slots_(std::bit_ceil(2 * graph.nodes.size() + 1)) {}

    /// Adds the path of a block. Returns whether it is new.
    bool add(std::size_t position, std::string_view path) {
        std::size_t slot = std::hash<std::string_view>()(path) & (slots_.size() - 1);
        for (; slots_[slot] != none; slot = (slot + 1) & (slots_.size() - 1))
            if (path_at(slots_[slot]) == path) return false;
        slots_[slot] = position;
        return true;
    }

private:
    std::string_view path_at(std::size_t position) const { return graph_.nodes[position].block->path(); }

    const graph_t& graph_;
    tessel::large_array<place_in_list_t> slots_;  // a power of two, half of them free at least
};

}  // namespace

void name_paths(graph_t& graph) {
    Paths paths(graph);
    tessel::rules::walk_paths(line_up(graph), [&](std::size_t position, const std::string* path) {
        node_t& node = graph.nodes[position];
        node.hangs = path != nullptr;
        if (path == nullptr) return;
        node.same_path = !paths.add(position, *path);
        node.block->set_path(*path);
        node.block->set_python_path(tessel::str::sanitize_path(*path));
    });
}

std::string node_t::path() const {
    return hangs ? std::string(block->path()) : "?." + tessel::str::sanitize_identifier(properties->name);
}

}  // namespace zarn
