// The structure of a program: the variables that it keeps, nested as the model is.
#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "coder/exact/unit.h"

namespace tessel::exact {

/// A member of the structure: a variable, or members of its own.
struct member_t {
    std::string name;
    cell_number cell = no_cell;
    std::vector<std::unique_ptr<member_t>> members{};  ///< in the order of their first variable
    std::map<std::string, member_t*, std::less<>> by_name{};
};

/// The members of the whole structure, but for `time` and `tick`: inputs, outputs, parameters, signals, states.
member_t layout_of(const unit_t& unit);

/// How many elements a table has in the code. What is read behind a list's end is there; no array is empty.
std::size_t room_of(const unit_t& unit, cell_number table);
/// The element of a table as the code has it.
double element_of(const cell_t& table, std::size_t i);

/// "    double error;" and nested structures, for the members of one.
void write_members(std::string& text, const unit_t& unit, const member_t& structure, int level);
/// The initial values of the members in their order, with the names as comments.
void write_initial(std::string& text, const unit_t& unit, const member_t& structure, int level);
/// "{0.0, 0.5}", in several lines where it is long.
std::string table_text(const unit_t& unit, cell_number table, int level);

}  // namespace tessel::exact
