// Neighbours that compute the same of different variables.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "coder/exact/unit.h"

namespace zarn::native {

/// What a statement computes, without saying of which variables: statements with equal texts differ in nothing but the
/// variables that they read and write and the values of their parameters and tables.
std::string shape_of(const tessel::exact::unit_t& unit, const tessel::exact::statement_t& statement);

/// Neighbouring statements of one shape: [begin, end).
struct group_t {
    std::size_t begin, end;
    std::size_t size() const { return end - begin; }
};
std::vector<group_t> groups_of(const tessel::exact::unit_t& unit);

/// The variables of a statement in a fixed order: sources, target, states, parameters, tables.
std::vector<tessel::exact::cell_number> variables_of(const tessel::exact::statement_t& statement);

}  // namespace zarn::native
