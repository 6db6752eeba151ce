// A unit as C99 that C++17 takes as well.
#pragma once

#include <string>
#include <vector>

#include "coder/exact/unit.h"

namespace tessel::exact {

/// What a compiler must be told so that it computes what is written: products and sums are rounded one by one, and
/// calls of the library of mathematics are left to the library, which rounds otherwise than a compiler that folds them.
inline constexpr const char* compiler_flags =
    "-ffp-contract=off -fno-builtin-sin -fno-builtin-cos -fno-builtin-tan -fno-builtin-asin -fno-builtin-acos "
    "-fno-builtin-atan -fno-builtin-log -fno-builtin-pow -fno-builtin-sinf -fno-builtin-cosf -fno-builtin-tanf "
    "-fno-builtin-asinf -fno-builtin-acosf -fno-builtin-atanf -fno-builtin-logf -fno-builtin-powf";

struct text_file_t {
    std::string name;
    std::string text;
};

/// `N.h`: the structure `N_t`, whose members `cell_t::access` names, and N_init(N_t*), N_step(N_t*), N_run(N_t*, n).
/// Before the first step N_init sets every member; `time` (double) is that of the next step, `tick` (uint64_t) counts.
text_file_t write_header(const unit_t& unit);
/// `N.c`, which includes `N.h` and needs nothing else. `lines` gets the line of each statement, counted from 1.
text_file_t write_source(const unit_t& unit, std::vector<std::size_t>* lines = nullptr);
/// `N_symbols.c`, which includes `N.h`: `const N_symbol_t N_symbols[]` { access, path, port, role, type, offset, size }
/// of every member and `const uint32_t N_symbol_count`, for programs that look members up by name.
text_file_t write_symbols(const unit_t& unit);
/// `N_main.c`: N_main [IN.csv] > OUT.csv runs the program as long as the model runs.
text_file_t write_main(const unit_t& unit);
/// Header and source.
std::vector<text_file_t> write_c(const unit_t& unit);

/// A value of a type as a constant of C.
std::string constant_text(type_t type, std::uint64_t bits);
/// The type's name in C ("int8_t", "double").
const char* type_text(type_t type);

}  // namespace tessel::exact
