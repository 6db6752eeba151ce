// What is known of the text that each class writes into generated programs.
//
// Those texts are kept as they are, since users have programs that build on them. Some do not compile or run, some
// compute other values than a run does. Each class says so beside its entry.
#pragma once

#include <cstdint>
#include <span>

#include "IMetaBlock.h"
#include "core/type.h"
#include "port.h"

namespace tessel {

/// The language of a generated program; a note can be on both.
enum class dialect_t : std::uint8_t { c, python, both };

/// What is the matter with a text.
inline constexpr const char* not_compiled = "does not compile";
inline constexpr const char* not_linked = "does not link";
inline constexpr const char* not_parsed = "does not parse";
inline constexpr const char* not_run = "does not run";
inline constexpr const char* differs = "differs";

/// To which blocks of a class a note applies, and that in words that follow the name of the class: "of flt32".
struct occasion_t {
    bool (*holds)(const IMetaBlock& block);
    const char* words;
};

/// One note: in a language the text of the class is so, on the occasion, null for always.
struct text_note_t {
    dialect_t dialect;
    const char* what;
    const occasion_t* occasion;
    const char* sentence;
};

/// The text of a class, as far as it is not like any other.
struct text_traits_t {
    bool silent = false;            ///< whether it writes a comment alone into `step`
    bool quotes_name = false;       ///< whether the block's name stands between double quotes
    bool prints_name = false;       ///< whether the name is part of a format of printf in C
    bool tests_truth = false;       ///< whether it tests variables for 0, as a run does with its bool inputs
    bool converts_in_c = false;     ///< whether the C text brings its input to the type of a run
    bool integer_quotient = false;  ///< whether integers in place of floats change what it computes
    std::span<const text_note_t> notes = {};
};

constexpr bool is_float_type(type_t type) noexcept { return type == type_flt32 || type == type_flt64; }

/// The type of the variable that generated code reads for an input: that of the source, whatever the input's own is.
inline type_t variable_type(const IMetaBlock& block, std::uint64_t index) {
    if (index >= block.input_count()) return type_unknown;
    const port_t* source = block.input(static_cast<std::int16_t>(index))->source_port();
    return source != nullptr ? source->type() : type_unknown;
}

}  // namespace tessel
