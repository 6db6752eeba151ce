// The text of a model file cut where it is long, so that it need not be in memory as a whole document.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/export.h"

namespace tessel::json {

/// Bytes behind a text that are readable as well, so that its pieces can be parsed where they stand.
inline constexpr std::size_t padding = 64;

/// Where a file's lists are. Everything but the rest points into the file's text.
struct sections_t {
    std::vector<std::string_view> blocks;  ///< the elements
    std::vector<std::string_view> links;   ///< the elements
    std::string rest;                      ///< the document with both lists empty
};

/// Cuts a document that is an object with one list "blocks" and at most one list "links"; empty for any other. Whether
/// the pieces are JSON shows when they are parsed: the document is JSON when all of them are.
BLOCKS_API std::optional<sections_t> cut(std::string_view text);

}  // namespace tessel::json
