// The library alone, as a host that does nothing else: what the command's figures are measured against.
//
//   bench_library write CHAINS STEPS FILE    a model file of so many chains of 8 blocks
//   bench_library run FILE                   loads, compiles and runs it
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>

#include "IExecModel.h"
#include "IMetaModel.h"
#include "PropertiesModel.h"
#include "bench/models.h"
#include "core/result.h"
#include "json.h"

namespace {

int write(const char* chains, const char* steps, const char* path) {
    std::ofstream file(path, std::ios::binary);
    file << bench::chain_farm(std::strtoull(chains, nullptr, 10), std::strtoull(steps, nullptr, 10));
    return file.flush() ? 0 : 1;
}

int run(const char* path) {
    const auto model = tessel::create_empty_meta_model();
    model->set_properties(std::make_shared<tessel::PropertiesModel>());
    if (tessel::json::load(model.get(), path) != tessel::result_ok) return 1;
    if (model->compile() != tessel::result_ok) return 1;
    const auto exec = tessel::create_empty_exec_model();
    model->build_exec(exec.get());
    exec->run();
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 5 && std::strcmp(argv[1], "write") == 0) return write(argv[2], argv[3], argv[4]);
    if (argc == 3 && std::strcmp(argv[1], "run") == 0) return run(argv[2]);
    std::fputs("usage: bench_library write CHAINS STEPS FILE | run FILE\n", stderr);
    return 2;
}
