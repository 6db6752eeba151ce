// Loads models whose files somebody else has read.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "IMetaModel.h"
#include "core/export.h"
#include "core/result.h"
#include "files/sections.h"

namespace tessel::json {

/// The text of a file with `padding` blanks behind it. Raises `std::system_error`.
BLOCKS_API std::string read_padded(std::string_view path);

/// What a load asks of the one who owns the files.
class BLOCKS_API Source {
public:
    virtual ~Source();
    /// The text of a referenced file, with `padding` readable bytes behind it, until the next is asked for. What it
    /// raises is told on the console as the reference's failure; the load goes on.
    virtual std::string_view reference(std::string_view path) = 0;
    /// Ids for the blocks of a referenced file in place of theirs, one for each, in order; none may be that of another
    /// block of the model. By default those of `num::create_id` that hold none of the old ids as text.
    virtual std::vector<std::uint64_t> fresh_ids(std::string_view path, std::span<const std::uint64_t> old_ids);
};

/// What `load` of a main file does, once that is read. `text` has `padding` readable bytes behind it. `cut` are the
/// text's sections, of one who has cut it already and found some.
BLOCKS_API result_t load_text(IMetaModel& model, std::string_view text, Source& source,
                              const sections_t* cut = nullptr);

}  // namespace tessel::json
