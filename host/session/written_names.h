// Paths of blocks with the letters that people write.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>

#include "IMetaModel.h"

namespace zarn {

/// The names of a model whose paths are not all ASCII. A path has a mark for each byte of a letter beyond that, and the
/// subsystems on the way are gone in a compiled model: so names are noted before.
class WrittenNames {
public:
    /// Notes the names of a loaded model in place of those before.
    void note(tessel::IMetaModel& model);
    /// The path of a block of the compiled model with its letters beyond ASCII.
    std::string path_of(const tessel::IMetaBlock& block) const;

private:
    struct place_t {
        std::string name;
        std::uint64_t parent;
    };
    std::unordered_map<std::uint64_t, place_t> places_;  // empty where all names are ASCII
};

/// The text with the mark that paths have for each byte beyond ASCII.
std::string with_marks(std::string_view text);

}  // namespace zarn
