// What the library alone makes of a model file, without a check before it: the judge of what the command says.
//
//   bare_host MODEL [TI TF TS]
//
// Prints "runs", or what the model comes to instead: "load N", "compile N", "no runnable form". Uses exported headers
// only. A closed loop without memory keeps it busy for ever, and a divide fault ends it: who calls it sets the limits.

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string_view>

#include "ExecBlock.h"
#include "IExecModel.h"
#include "IMetaModel.h"
#include "PropertiesModel.h"
#include "core/hash.h"
#include "core/python.h"
#include "json.h"

namespace {

int tell(const char* stage, int result) {
    std::printf("%s %d\n", stage, result);
    return 1;
}

/// A block that a run passes over by design: subsystems of a model without links.
bool is_drawing_device(std::uint32_t class_hash) {
    return class_hash == tessel::class_hash_of("subsys") || class_hash == tessel::class_hash_of("refsys");
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2 && argc != 5) return 2;
    python::set_console([](std::string_view) {});
    const std::filesystem::path file(argv[1]);
    if (file.has_parent_path()) std::filesystem::current_path(file.parent_path());
    const auto model = tessel::create_empty_meta_model();
    const auto properties = std::make_shared<tessel::PropertiesModel>();
    model->set_properties(properties);
    if (const auto result = tessel::json::load(model.get(), file.filename().string()); result != 0)
        return tell("load", result);
    if (argc == 5) {
        const char* const keys[] = {"ti", "tf", "ts"};
        for (int i = 0; i < 3; ++i) properties->set(keys[i], tessel::var_t(std::atof(argv[2 + i])));
    }
    if (const auto result = model->compile(); result != 0) return tell("compile", result);
    const auto exec = tessel::create_empty_exec_model();
    model->build_exec(exec.get());
    auto object = exec->begin();
    for (const auto& block : *model) {
        const bool empty = *object++ == nullptr;
        if (empty && block != nullptr && !is_drawing_device(block->class_hash())) return tell("no runnable form", 0);
    }
    exec->run();
    std::puts("runs");
    return 0;
}
