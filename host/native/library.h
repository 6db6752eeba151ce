// A compiled program, loaded.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>

#include "host/native/cache.h"

namespace zarn::native {

/// Why a model cannot be compiled here: one line.
class Unavailable : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The compiler of this machine: $CC, cc, gcc or clang, and how it is called.
struct compiler_t {
    std::filesystem::path file;
    std::string options;
    std::string identity;  ///< changes with the compiler
};
/// Raises `Unavailable` where there is none.
compiler_t find_compiler();

/// The machine code of a text.
class Library {
public:
    /// Takes it from the cache, or compiles it into that. Raises `Unavailable`.
    Library(const std::string& source, Cache& cache, const compiler_t& compiler,
            const std::function<bool()>& interrupted = {});

    /// See `text_t::source`.
    std::uint64_t run(void* structure, std::uint64_t steps, double end) const { return run_(structure, steps, end); }
    bool was_compiled() const { return was_compiled_; }

private:
    void compile(const std::string& source, const compiler_t& compiler, const std::filesystem::path& file,
                 const std::function<bool()>& interrupted);

    std::shared_ptr<void> handle_;
    std::uint64_t (*run_)(void*, std::uint64_t, double) = nullptr;
    bool was_compiled_ = false;
};

}  // namespace zarn::native
