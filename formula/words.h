// A formula as a reader knows it.
#pragma once

#include <string>
#include <vector>

#include "core/export.h"
#include "formula/formula.h"

namespace tessel {

/// One line for each shared value that has a name, for each state and for the output: "y = u > high ? high : u". The
/// spelling is that of C; a conversion is the type's name as a function, and is left out where it changes no value.
/// What a state becomes in the step is written with a prime.
BLOCKS_API std::vector<std::string> lines_of(const formula_t& formula);

/// "off = 0.2", one for each parameter, and "bp = [0, 1, 2]" for each list, cut where it is long.
BLOCKS_API std::vector<std::string> parameters_of(const formula_t& formula);

}  // namespace tessel
