// What would hang the library, found before the library meets it.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "IMetaModel.h"
#include "factory.h"

namespace zarn {

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
