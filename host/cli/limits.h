// What would hang the library or exhaust the memory, found before the library meets it.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "IMetaModel.h"
#include "factory.h"

namespace zarn {

/// How much of a file's port counts is a problem: anything that makes no sense, only what would not fit in memory, or
/// nothing.
enum class strictness_t { sensible, loadable, readable };

/// Why a model with all that it refers to would not fit the memory, "" when it does.
std::string find_too_large(const std::filesystem::path& file);

/// Reads a model file, and the files that it refers to, for what must not be loaded. Answers the problem, "" for none;
/// a text that is not JSON is no problem here, for the loader says so itself.
std::string find_unloadable(const std::filesystem::path& file, strictness_t strictness);

/// Watches a compile for closed loops that no block of fixed zone cuts: without it the pass over the zones would never
/// end. `enter_zones` is called when that pass begins, with types and links in place. It finds such loops, calls
/// `on_loop`, and opens them, so that the pass ends; the model is of no further use then.
class LoopGuard {
public:
    void enter_zones(tessel::IMetaModel& model, const std::function<void()>& on_loop);
    /// Paths of the blocks of one such loop, each feeding the next; empty when there is none.
    const std::vector<std::string>& loop() const { return loop_; }

private:
    std::vector<std::string> loop_;
    std::unique_ptr<tessel::IMetaBlock> opener_;  // feeds inputs of opened loops
};

}  // namespace zarn
