// The table of all codes: what `--explain` shows and what docs/checks.md holds.
#pragma once

#include <span>
#include <string_view>

namespace zarn {

/// One code. `weight` says in words which severity it has and when.
struct code_t {
    std::string_view code;
    std::string_view name;   ///< slug for tools, such as "input-without-source"
    std::string_view title;  ///< one line
    std::string_view weight;
    std::string_view meaning;
    std::string_view mend;
};

/// All codes, sorted.
std::span<const code_t> all_codes() noexcept;

/// The entry of a code, null when there is none.
const code_t* find_code(std::string_view code) noexcept;

}  // namespace zarn
