// Statements that compute the same of different variables, and those that can share a loop.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "coder/exact/unit.h"

namespace zarn::native {

/// The variables of a statement in a fixed order: sources, target, states, parameters, tables.
std::vector<tessel::exact::cell_number> variables_of(const tessel::exact::statement_t& statement);

/// What a statement computes, without saying of which variables: statements with equal texts differ in nothing but the
/// variables that they read and write and the values of their parameters and tables.
std::string shape_of(const tessel::exact::unit_t& unit, const tessel::exact::statement_t& statement);

/// Statements of one shape, by number, that stand for the rounds of a loop.
using row_t = std::vector<std::size_t>;

/// Neighbours in the order of the unit as rows. Where the sources of a row come from several rows by turns, as those of
/// the two sums in each of many equal chains do, it is taken apart and put in order, so that each row reads along
/// others.
std::vector<row_t> rows_of(const tessel::exact::unit_t& unit);

/// Rows of one length under one gate whose rounds can be done one by one, row after row within a round: what a round
/// reads is written in the same or an earlier round, or not in this loop at all.
using loop_t = std::vector<row_t>;
std::vector<loop_t> loops_of(const tessel::exact::unit_t& unit, std::vector<row_t> rows);

}  // namespace zarn::native
