// build_python_struct: the model's mirror in the interpreter.
//
// Needs   the subsystem tree whole, parents before their children
// Does    gives every block its dotted path, makes one Result object for each subsystem, writes the time settings
// Leaves  `path` and `python_path` of every block; a block with a parent that does not exist keeps its old ones
// Fails   never: what the interpreter answers is not looked at

#include <optional>
#include <string>

#include "core/python.h"
#include "core/str.h"
#include "model/MetaModel.h"
#include "model/helpers.h"

namespace tessel {

result_t MetaModel::build_python_struct() noexcept {
    const PassLog pass("build_python_struct");
    auto& python = *python::wrap();
    const BlockIndex index(blocks);
    // Path of the level inside a subsystem; nothing for a level that does not hang under the root.
    using path_t = std::optional<std::string>;
    const IMetaBlock* root = find_block(0);
    const auto append = [](const path_t& outer, const IMetaBlock& block) {
        return outer ? path_t(*outer + '.' + str::sanitize_identifier(block.name())) : path_t();
    };
    Levels<path_t> levels(index, root != nullptr ? path_t(root->name()) : path_t(), path_t());
    const auto path_of = [&](const IMetaBlock& block) {
        if (block.id() == 0) return path_t(block.name());
        const auto inner = [&append](const path_t& outer, std::uint64_t, const IMetaBlock* subsystem) {
            return subsystem != nullptr ? append(outer, *subsystem) : path_t();
        };
        return append(levels.inside(block.parent_id(), inner), block);
    };
    for (const auto& block : blocks) {
        if (block == nullptr) continue;
        const path_t path = path_of(*block);
        if (!path) continue;
        block->set_path(*path);
        const std::string scope = str::sanitize_path(*path);
        block->set_python_path(scope);
        if (is_subsystem(*block)) python.assign(scope, "zarn.Result()");
    }
    for (const char* key : {"ti", "tf", "ts"}) python.set_attribute("mainsys", key, double(properties->get(key)));
    return result_ok;
}

}  // namespace tessel
