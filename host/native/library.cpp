#include "host/native/library.h"

#include <dlfcn.h>

#include <sstream>
#include <vector>

#define XXH_INLINE_ALL
#include <xxhash.h>

#include "coder/exact/write_c.h"
#include "core/format.h"
#include "host/session/error.h"
#include "host/toolchain/process.h"
#include "host/toolchain/temporary_folder.h"

namespace zarn::native {
namespace {

using tessel::exact::compiler_flags;

/// What speeds code up and changes no value, beside what the text needs (see `compiler_flags`): no program looks at
/// errno or at the flags of floating point exceptions. Pairs of values in one register slow the chain of a small loop.
constexpr const char* quick =
    "-O3 -fPIC -shared -fvisibility=hidden -fno-math-errno -fno-trapping-math -fno-tree-slp-vectorize -w";

std::vector<std::string> words_of(const std::string& text) {
    std::vector<std::string> words;
    std::istringstream stream(text);
    for (std::string word; stream >> word;) words.push_back(word);
    return words;
}

std::string key_of(const std::string& source, const compiler_t& compiler) {
    const std::string all = compiler.identity + "\n" + compiler.options + "\n" + source;
    const XXH128_hash_t hash = XXH3_128bits(all.data(), all.size());
    return tessel::format("{:016x}{:016x}", hash.high64, hash.low64);
}

}  // namespace

compiler_t find_compiler() {
    const auto file = find_c_compiler();
    if (!file) throw Unavailable("there is no C compiler ($CC, else cc, gcc or clang)");
    std::error_code error;
    const auto real = std::filesystem::canonical(*file, error);
    const auto bytes = std::filesystem::file_size(*file, error);
    const auto written = std::filesystem::last_write_time(*file, error).time_since_epoch().count();
    return {*file, tessel::format("{} {}", quick, compiler_flags),
            tessel::format("{} {} {}", real.string(), bytes, written)};
}

Library::Library(const std::string& source, Cache& cache, const compiler_t& compiler,
                 const std::function<bool()>& interrupted) {
    try {
        const auto file = cache.get(key_of(source, compiler), [&](const std::filesystem::path& making) {
            compile(source, compiler, making, interrupted);
        });
        void* const handle = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
        if (handle == nullptr) throw std::runtime_error(dlerror());
        handle_ = std::shared_ptr<void>(handle, dlclose);
    } catch (const SessionError&) {
        throw;
    } catch (const std::runtime_error& error) {
        throw Unavailable(error.what());
    }
    run_ = reinterpret_cast<decltype(run_)>(dlsym(handle_.get(), "zarn_run"));
    if (run_ == nullptr) throw Unavailable("the compiled program has no zarn_run");
}

void Library::compile(const std::string& source, const compiler_t& compiler, const std::filesystem::path& file,
                      const std::function<bool()>& interrupted) {
    const TemporaryFolder folder;
    folder.write("model.c", source);
    std::vector<std::string> words{compiler.file.string(), "-std=c99"};
    for (const auto& word : words_of(compiler.options)) words.push_back(word);
    for (const auto& word : {std::string("-o"), file.string(), std::string("model.c"), std::string("-lm")})
        words.push_back(word);
    const outcome_t outcome = run_program(words, folder.path(), interrupted);
    if (interrupted && interrupted()) throw SessionError(problem_t::interrupted, "interrupted");
    if (!outcome.is_good()) {
        std::string said = outcome.said.substr(0, 300);
        while (!said.empty() && said.back() == '\n') said.pop_back();
        throw Unavailable(tessel::format("{} ended with status {}: {}", compiler.file.string(), outcome.status, said));
    }
    was_compiled_ = true;
}

}  // namespace zarn::native
