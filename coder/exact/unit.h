// A model as a program: what a run computes, as typed variables and assignments in an order that gives the run's
// values.
//
// Nothing here is spelt in a language but the names, which are identifiers of C and C++. Back ends (write_c.h, and what
// stands on it) read a unit and the formulas in it; they ask no block.
#pragma once

#include <cstdint>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "IExecModel.h"
#include "IMetaModel.h"
#include "PropertiesModel.h"
#include "core/type.h"
#include "formula/formula.h"

namespace tessel::exact {

/// Which signals the program keeps, so that they can be read between steps. What must live from step to step, and what
/// is an input or an output of the program, always is.
enum class keep_t : std::uint8_t {
    all,    ///< every output of every block
    named,  ///< those whose wire has a label
    ports   ///< none
};

struct options_t {
    std::string name;                ///< of the program: an identifier
    std::string subsystem = {};      ///< path of the part that becomes the program ("mainsys.controller"), "" for all
    bool inline_parameters = false;  ///< parameters are constants of the code
    keep_t keep = keep_t::all;
    bool series_as_inputs = false;  ///< `from_workspace` blocks are inputs of the program
    bool in_order_of_run = false;   ///< statements stand as the run has them, not by subsystem
    std::string model = {};         ///< file name of the model, for the banner; no folder
    std::string meaning = {};       ///< what the model computes, as a hash, for the banner
};

/// A model, or a wish, of which no program can be made: one line that begins with the path of the block at fault.
class Refusal : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

enum class role_t : std::uint8_t {
    input,      ///< written from outside before a step, read by it
    output,     ///< of a root outport, a `display`, a `to_workspace`, or what crosses the border of a part
    parameter,  ///< may be written from outside between steps; its first value is the model's
    table,      ///< a list of flt64; likewise, but for its length
    signal,     ///< an output of a block
    state,      ///< what a block keeps beside its output
    flag        ///< whether the blocks that an `enable` block gates run in this step
};

/// Number of a variable in its unit.
using cell_number = std::int32_t;
inline constexpr cell_number no_cell = -1;

/// A variable of the program.
struct cell_t {
    role_t role = role_t::signal;
    type_t type = type_unknown;
    /// Whether it is a member of the program's structure; else it is a local variable of a step, or a constant.
    bool kept = true;
    /// For a member its place in the structure ("signals.controller.error"), else its name.
    std::string access;
    std::uint64_t initial = 0;     ///< bytes of its value at the start of a run, or of an inlined parameter
    bool starts_as_time = false;   ///< at the start of a run it takes the time of the start: `initial` is that of ti
    std::vector<double> values{};  ///< of a table
    bool is_series = false;        ///< of a table: what `from_workspace` plays; its last value is read behind its end
    std::string path{};       ///< of its block ("mainsys.controller.error"), of an input across a border the source's
    std::uint64_t block = 0;  ///< id of its block
    std::int16_t port = -1;   ///< of a signal, an output: the block's port; -1 for others
    std::string key{};        ///< of a parameter, table or state: its name in the block
    /// Of an input of a part: what crosses the border depends on the part's own outputs in the same step, so that the
    /// value to be written is that of the step before (before the first step: `initial`).
    bool of_last_step = false;
};

/// What a block does in a step, for the types of its ports.
struct statement_t {
    std::uint64_t block = 0;
    std::string path;
    const char* class_name = "";
    formula_t formula;
    /// The variable behind each input of the formula, converted to the input's type when it is read; `no_cell` for an
    /// input that nothing feeds, which is 0.
    std::vector<cell_number> sources{};
    /// What the formula's output, or what it takes, is assigned to.
    cell_number target = no_cell;
    std::vector<cell_number> states{}, parameters{}, lists{};  ///< those of the formula, one by one
    cell_number gate = no_cell;                                ///< the flag under which it runs, `no_cell` for always
};

/// An output of a block, or the input of a block without outputs: what a probe of a run can record.
struct port_t {
    std::string path;
    std::uint64_t block = 0;
    std::int16_t port = 0;
    bool is_input = false;
    type_t type = type_unknown;
    cell_number cell = no_cell;  ///< where its value stands behind a step; `kept` tells whether it can be read there
};

struct unit_t {
    std::string name;
    std::string model;
    std::string meaning;
    std::string part;  ///< path of the subsystem that is the program, "" for a whole model
    double ti = 0.0, tf = 0.0, ts = 0.0;
    std::vector<cell_t> cells;
    /// In an order that gives the values of the run, blocks of one subsystem side by side where that leaves them so.
    std::vector<statement_t> statements;
    std::vector<port_t> ports;       ///< in the order of the run
    std::vector<std::string> notes;  ///< what a reader of the code should know, each one sentence

    const cell_t& cell(cell_number number) const { return cells[static_cast<std::size_t>(number)]; }
    cell_t& cell(cell_number number) { return cells[static_cast<std::size_t>(number)]; }
    /// The variables of a role, in the order of the structure.
    std::vector<cell_number> of(role_t role) const;
    /// Where the value of a port stands, null for none.
    const port_t* find(std::string_view path, std::int16_t port = 0) const;
    const port_t* find(std::uint64_t block, std::int16_t port = 0) const;
};

/// The flag around a statement. That of a flag itself is part of its value: a flag is false where its own is.
inline cell_number gate_of(const unit_t& unit, const statement_t& statement) {
    return unit.cell(statement.target).role == role_t::flag ? no_cell : statement.gate;
}

/// The program of a compiled model, of which `exec` was built and bound. Raises `Refusal`.
unit_t make_unit(IMetaModel& model, const PropertiesModel& properties, IExecModel& exec, const options_t& options);

}  // namespace tessel::exact
