// The smallest host: loads a model file, compiles and runs it, and prints what its display shows.
#include <cstdio>

#include "ExecBlock.h"
#include "IExecModel.h"
#include "IMetaModel.h"
#include "PropertiesModel.h"
#include "core/hash.h"
#include "core/python.h"
#include "json.h"

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("usage: host MODEL\n", stderr);
        return 2;
    }
    python::set_console(
        [](std::string_view text) { std::printf("%.*s\n", static_cast<int>(text.size()), text.data()); });

    const auto model = tessel::create_empty_meta_model();
    model->set_properties(std::make_shared<tessel::PropertiesModel>());
    if (tessel::json::load(model.get(), argv[1]) != tessel::result_ok) return 1;
    if (const tessel::result_t result = model->compile(); result != tessel::result_ok) {
        std::printf("compile: %s\n", tessel::result_name(result));
        return 1;
    }

    const auto exec = tessel::create_empty_exec_model();
    model->build_exec(exec.get());
    exec->run();

    for (auto block = model->begin(); block != model->end(); ++block) {
        if ((*block)->class_hash() != tessel::class_hash_of("display")) continue;
        double value = 0.0;
        exec->find_block((*block)->id())->input(0)->to_flt64(&value);
        std::printf("%s = %g\n", std::string((*block)->name()).c_str(), value);
    }
    return 0;
}
