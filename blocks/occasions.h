// On which occasions the generated text of a class is not like a run, and the sentences that several classes share.
#pragma once

#include "framework/generated_text.h"

namespace tessel {

extern const occasion_t of_bool;              ///< the output is bool
extern const occasion_t of_float;             ///< the output is flt32 or flt64
extern const occasion_t of_flt32;             ///< the output is flt32
extern const occasion_t of_integers;          ///< the output is an integer or bool
extern const occasion_t of_three;             ///< more than two inputs
extern const occasion_t of_three_floats;      ///< more than two inputs, the output is flt32 or flt64
extern const occasion_t of_mixed_types;       ///< the inputs have different types
extern const occasion_t of_bool_input;        ///< input 0 is bool
extern const occasion_t behind_float;         ///< a source is flt32 or flt64
extern const occasion_t integers_of_floats;   ///< the output is an integer, a source is not
extern const occasion_t behind_wide_integer;  ///< the source is int64 or uint64
extern const occasion_t behind_float_cast;    ///< a cast has made an integer of a float or a float of an integer
extern const occasion_t by_wide_selector;     ///< input 0 is fed with more than an int8 holds
extern const occasion_t of_two_or_more;       ///< any number of inputs but one
extern const occasion_t inside_subsystem;     ///< the block has a subsystem around it
extern const occasion_t behind_zone_0;        ///< the source writes step code and stands in zone 0

inline constexpr const char* domain_raises =
    "outside its domain it ends the program with an exception; a run gives not-a-number";
inline constexpr const char* infinity_raises =
    "an infinite argument ends the program with an exception; a run gives not-a-number";
inline constexpr const char* in_double = "it is computed in double and rounded; a run computes it in flt32";
inline constexpr const char* number_not_truth = "a bool holds the number, cut to a byte; a run holds whether it is 0";
inline constexpr const char* from_the_left =
    "it is computed from the left, a run computes from the right: rounding may differ";
inline constexpr const char* zero_faults = "a divisor of 0 ends the program; a run gives 0";
inline constexpr const char* zero_raises = "a divisor of 0 ends the program with an exception";
inline constexpr const char* no_colon = "its condition is not followed by a colon";
inline constexpr const char* no_true = "its start value is spelt 'true', which C does not have";
inline constexpr const char* reads_by_name = "it reads the data file by its name; what feeds it is not used";

}  // namespace tessel
