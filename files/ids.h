// Ids for the blocks of referenced files.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "core/export.h"

namespace tessel::json {

/// The ids that are exchanged in a file's text, one after the other. A fresh one that holds a later one's digits would
/// be changed in its turn.
class OldIds {
public:
    explicit OldIds(std::span<const std::uint64_t> ids);
    /// Whether the last digits of a number are one of the ids.
    bool end(std::uint64_t number) const;
    /// Whether any digits of a number are.
    bool are_in(std::uint64_t number) const;

private:
    struct length_t {
        std::uint64_t power;  // of ten: one more than the highest number of as many digits
        std::unordered_set<std::uint64_t> ids;
    };
    std::vector<length_t> lengths_;
};

/// As many of `num::create_id` as there are old ids. None holds an old id as text, unless short ones leave no choice.
std::vector<std::uint64_t> create_ids(std::span<const std::uint64_t> old_ids);

/// Fresh ids that are the same in every process: 16 digits, below 2^53, made of a file's path and the old id. None
/// holds an old id of the file as text, unless these leave no digit to choose.
class BLOCKS_API PathIds {
public:
    /// Keeps the id of a block from being given.
    void take(std::uint64_t id) { taken_.insert(id); }
    /// For the blocks of a file, in order. None is given twice, also where a file is referred to again.
    std::vector<std::uint64_t> ids_from_path(std::string_view path, std::span<const std::uint64_t> old_ids);

private:
    std::unordered_set<std::uint64_t> taken_;
};

}  // namespace tessel::json
