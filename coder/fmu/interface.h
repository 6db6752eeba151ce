// What an importer sees of a program: variables with names, types and start values, and what outputs depend on.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "coder/exact/unit.h"
#include "core/type.h"

namespace tessel::fmu {

/// The two versions of the interface.
enum class version_t : int { two = 2, three = 3 };

enum class causality_t : std::uint8_t { independent, input, output, parameter, local };

/// Position of a variable in its interface: its value reference, and one less than its index in version 2.
using variable_number = std::uint32_t;

struct variable_t {
    std::string name;
    causality_t causality = causality_t::local;
    type_t type = type_flt64;
    exact::cell_number cell = exact::no_cell;  ///< `no_cell` for the time
    std::string description;
    std::string unit;  ///< a name of `units`, "" where none is known
};

/// What the last value of a step depends on in the same step: inputs, parameters and time, rising.
struct dependencies_t {
    variable_number output = 0;
    std::vector<variable_number> on;
};

struct interface_t {
    version_t version = version_t::three;
    std::vector<variable_t> variables;         ///< time, inputs, outputs, parameters, then local ones
    std::vector<dependencies_t> dependencies;  ///< of each output, in the order of the variables
    std::vector<std::string> left_out;         ///< what the version has no type for, each one sentence
};

/// The interface of a program. `all_signals`: every kept signal is a local variable. In version 2 an input or output of
/// a type that no type of the interface holds exactly raises `exact::Refusal`; parameters and signals are left out.
interface_t make_interface(const exact::unit_t& unit, version_t version, bool all_signals);

/// For each cell of the outputs, which input, parameter and table cells its value after a step depends on in that step;
/// `exact::no_cell` stands for the time. Rising.
std::vector<std::vector<exact::cell_number>> dependencies_of(const exact::unit_t& unit,
                                                             const std::vector<exact::cell_number>& outputs);

/// How many values a variable of a cell has: the length of a table, else 1.
inline std::size_t count_of(const exact::cell_t& cell) {
    return cell.role == exact::role_t::table ? cell.values.size() : 1;
}

/// Numbers as XML schemas read them: the shortest text that reads back exactly; NaN, INF, -INF.
std::string number_text(double value);
std::string number_text(float value);
/// A value of a type, by its bytes; true and false.
std::string value_text(type_t type, std::uint64_t bits);

}  // namespace tessel::fmu
