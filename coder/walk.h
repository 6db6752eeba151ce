// What the two generators have in common: the target folder and the walks over a compiled model's blocks.
//
// Every walk takes the live blocks in list order and passes over null entries. A block that has no text for its
// parameters writes none and the walk goes on; what ends a walk is an exception, as a failed write raises it.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

#include "IMetaModel.h"
#include "core/file.h"

namespace tessel::coder {

/// How a language asks a block for its text, and what its regions look like.
struct language_t {
    const char* prefix;  ///< from a generated function to the state of the blocks
    std::string (IMetaBlock::*struct_name)() const;
    result_t (IMetaBlock::*code_comment)(sys::File& file, std::uint64_t indent);
    result_t (IMetaBlock::*code_struct)(sys::File& file);
    result_t (IMetaBlock::*code_init)(sys::File& file, const char* prefix);
    result_t (IMetaBlock::*code_step)(sys::File& file, const char* prefix);
    std::uint64_t indent;  ///< units at which the body of a generated function stands

    /// Writes what makes the block's state at the start of its initialisation; null when nothing does.
    void (*make_state)(sys::File& file, const IMetaBlock& block);
    /// Opens a region at the level; an empty condition means that it always runs.
    void (*open_region)(sys::File& file, std::int32_t level, const std::string& condition);
    /// Closes a region at the level; null when regions end by indentation.
    void (*close_region)(sys::File& file, std::int32_t level);
};

/// Writes `level` * 4 blanks.
void write_level(sys::File& file, std::int32_t level);

/// The folder `name` below `folder`, made with all that is missing around it. Raises `filesystem_error`.
std::filesystem::path make_target(std::string_view folder, std::string_view name);

/// Writes the definition of each structure once: the first block with a structure name stands for all.
void write_structures(IMetaModel& model, const language_t& language, sys::File& file);

/// Writes comment and initialisation of every block.
void write_inits(IMetaModel& model, const language_t& language, sys::File& file);

/// Writes comment and step of every block, the blocks of each subsystem in a region of their own.
void write_steps(IMetaModel& model, const language_t& language, sys::File& file);

}  // namespace tessel::coder
