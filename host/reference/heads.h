// The head comments of the block files, as they were when the command was built.
#pragma once

#include <span>
#include <string_view>

namespace zarn {

struct head_t {
    std::string_view name;  ///< of the file, without its ending
    std::string_view text;  ///< the comment without its marks
};

/// Sorted by name.
std::span<const head_t> block_heads();

}  // namespace zarn
