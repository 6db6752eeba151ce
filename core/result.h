// Result codes of passes, blocks and exported functions.
#pragma once

#include <cstdint>

namespace tessel {

/// What an operation came to: 0 is success, anything else stops the caller. The numbers 5, 8, 12 and 13 are unused.
enum result_t : std::int8_t {
    result_ok = 0,
    result_types_unresolved = 1,  ///< a sweep of type propagation completed no further block
    result_cast_unresolved = 2,   ///< a `cast` without a link into it, or a link still touches a `cast`
    result_from_unresolved = 3,   ///< a `goto` without a link into it, or a link still touches a `from`
    result_goto_unresolved = 4,   ///< a link still touches a `goto`
    result_source_missing = 6,    ///< some input has no source
    result_goto_duplicated = 7,   ///< two `goto` blocks share one target
    result_table_mismatch = 9,    ///< breakpoints and table of a lookup block differ in their dimensions
    result_too_many_inputs = 10,  ///< a block has more than 8 inputs
    result_bad_parameter = 11,    ///< a parameter holds an unusable value, or a workspace variable is missing
    result_bad_step = 14,         ///< "ts" is not greater than 0
    result_bad_interval = 15,     ///< "ti" is not less than "tf"
    result_failure = -1,          ///< general failure
};

/// Enumerator's name ("result_ok"), null for a number that is no result code.
constexpr const char* result_name(result_t result) noexcept {
    switch (result) {
        case result_ok: return "result_ok";
        case result_types_unresolved: return "result_types_unresolved";
        case result_cast_unresolved: return "result_cast_unresolved";
        case result_from_unresolved: return "result_from_unresolved";
        case result_goto_unresolved: return "result_goto_unresolved";
        case result_source_missing: return "result_source_missing";
        case result_goto_duplicated: return "result_goto_duplicated";
        case result_table_mismatch: return "result_table_mismatch";
        case result_too_many_inputs: return "result_too_many_inputs";
        case result_bad_parameter: return "result_bad_parameter";
        case result_bad_step: return "result_bad_step";
        case result_bad_interval: return "result_bad_interval";
        case result_failure: return "result_failure";
        default: return nullptr;
    }
}

}  // namespace tessel
