// One statement of a unit in C.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_set>
#include <vector>

#include "coder/exact/rules.h"
#include "coder/exact/unit.h"

namespace tessel::exact {

/// What the statements of a program share while they are written.
struct program_t {
    const unit_t& unit;
    Rules rules;
    std::unordered_set<std::string> names;        ///< of local variables and constants
    std::unordered_set<cell_number> constants{};  ///< the parameters and tables outside of the structure that are read
    bool math = false;

    explicit program_t(const unit_t& of);
    /// A variable as an expression.
    std::string at(cell_number number) const;
    /// A name that no other local variable has.
    std::string fresh(std::string name);
};

/// The lines of a statement, without indent.
struct lines_t {
    std::vector<std::string> lines;
    bool simple = true;  ///< one assignment without a choice and without a function
};
lines_t write_statement(program_t& program, const statement_t& statement);

}  // namespace tessel::exact
