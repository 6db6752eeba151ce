// The block classes in words: what `zarn blocks` and the pages under docs/ show of each. All of it is made of the heads
// of the block files and the facts beside their entries.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "framework/classes.h"

namespace zarn {

using class_row_t = tessel::class_row_t;

/// The head comment of the file that the class is made in.
std::string_view head_of(const class_row_t& row);

/// Its first sentence, without the name.
std::string summary_of(const class_row_t& row);

/// All combinations of types that can run, "int8;flt64 -> flt64".
std::vector<std::string> combinations_of(const class_row_t& row);

/// The same in words, for each input and then each output: "u: any type", "y: type of u". Empty for a class that never
/// runs.
std::vector<std::string> types_in_words(const class_row_t& row);

/// What a block of the class computes, as it is reckoned in a run: of flt64 where it can be, with as few inputs as it has
/// and with the parameters that stand in for missing ones. Empty for a class that computes nothing.
std::vector<std::string> formula_of(const class_row_t& row);

/// "2 or 3": the number of inputs that a block can have; "as drawn" where the drawing decides.
std::string inputs_in_words(const class_row_t& row);

/// The fewest inputs that a block can have, and the outputs of a new one; 0 where the drawing decides.
int fewest_inputs(const class_row_t& row);
int usual_outputs(const class_row_t& row);

/// "rise [sec]": the key and the unit.
std::string key_with_unit(const tessel::parameter_traits_t& parameter);

/// "number or expression, in seconds; 0 or above".
std::string content_in_words(const tessel::parameter_traits_t& parameter);

/// What a block does to the order of a step: through which inputs a value passes at once.
std::string order_in_words(const class_row_t& row);

/// When a step ends the process, "" for never.
std::string_view fault_in_words(const class_row_t& row);

/// "saturation, saturate, limit".
std::string everyday_names(const class_row_t& row);

/// The classes that people call so, by name. Capitals, blanks, hyphens and underscores do not matter.
std::vector<const class_row_t*> classes_called(std::string_view word);

/// docs/blocks.md.
std::string blocks_page();

/// The table of docs/generated-code.md: what generated code does otherwise than a run, each note once.
std::string code_notes_table();

}  // namespace zarn
