// A program as C for the machine at hand: not to be read, but quick to compile and quick to run.
//
// The statements are those of the exported C (coder/exact), written by the same writer. What differs is where variables
// are: equal neighbours in stepping order have theirs side by side and are one loop.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "coder/exact/unit.h"
#include "host/native/layout.h"

namespace zarn::native {

/// A value that the structure has before the first step; all else in it is 0.
struct initial_t {
    place_t place;
    std::uint64_t bits = 0;
};

struct text_t {
    std::string source;  ///< exports `uint64_t zarn_run(void* structure, uint64_t steps, double end)`
    Layout layout;
    std::vector<place_t> places;  ///< of the unit's variables, by number; unknown for what no statement names
    std::vector<initial_t> initial;
    std::size_t loops = 0;  ///< that stand for several statements
};

/// The text of a unit whose statements stand in the order of the run. The source depends on nothing but the unit.
text_t write_text(const tessel::exact::unit_t& unit);

}  // namespace zarn::native
