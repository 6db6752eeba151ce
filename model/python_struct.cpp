// build_python_struct: the model's mirror in the interpreter.
//
// Needs   the subsystem tree whole, parents before their children
// Does    gives every block its dotted path, makes one Result object for each subsystem, writes the time settings
// Leaves  `path` and `python_path` of every block; a block with a parent that does not exist keeps its old ones
// Fails   never: what the interpreter answers is not looked at

#include <string>

#include "core/python.h"
#include "core/str.h"
#include "model/MetaModel.h"
#include "model/helpers.h"
#include "model/rules/tree.h"

namespace tessel {

result_t MetaModel::build_python_struct() noexcept {
    const PassLog pass("build_python_struct");
    auto& python = *python::wrap();
    rules::walk_paths(line_up(blocks), [&](std::size_t position, const std::string* path) {
        if (path == nullptr) return;
        IMetaBlock& block = *blocks[position];
        block.set_path(*path);
        const std::string scope = str::sanitize_path(*path);
        block.set_python_path(scope);
        if (is_subsystem(block)) python.assign(scope, "zarn.Result()");
    });
    for (const char* key : {"ti", "tf", "ts"}) python.set_attribute("mainsys", key, double(properties->get(key)));
    return result_ok;
}

}  // namespace tessel
