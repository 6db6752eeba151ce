#include "coder/exact/assembly.h"

#include <algorithm>

#include "core/convert.h"
#include "core/format.h"
#include "formula/evaluate.h"
#include "framework/structure.h"

namespace tessel::exact {
namespace {

constexpr std::uint32_t hash_display = class_hash_of("display");

bool is_sink(const node_t& node) { return node.class_hash == hash_display || node.class_hash == hash_to_workspace; }

/// What a value of a formula is at the head of a run.
std::uint64_t value_at_start(const formula_t& formula, std::int32_t number, double t) {
    formula_t asked = formula;
    asked.output.next = asked.taken = number;
    const std::vector<std::uint64_t> nothing(formula.inputs.size());
    return evaluator(asked).step(nothing, t);
}

/// A state, or an output, as a run begins with it.
void set_start(cell_t& cell, const formula_t& formula, const state_t& state, double t) {
    cell.initial = state.started < 0 ? state.initial : value_at_start(formula, state.started, t);
    cell.starts_as_time = state.started >= 0 && formula.at(state.started).op == op_t::time;
}

std::uint64_t converted(type_t from, type_t to, std::uint64_t bits) {
    std::uint64_t out = 0;
    with_type(from, [&]<class From>(From) {
        with_type(to, [&]<class To>(To) { out = bits_of(convert<To>(from_bits<From>(bits))); });
    });
    return out;
}

/// y = u
formula_t copy_of(type_t type) {
    formula_t formula;
    formula.inputs.push_back({"u", type});
    formula.values.push_back({op_t::input, type});
    formula.output = {"y", type, 0, -1, 0};
    return formula;
}

}  // namespace

// ---- what becomes of a node

std::string Assembly::below_root(const node_t& node) const {
    const std::string& path = node.path;
    if (node.inside && !draft_.part.empty()) return path.substr(draft_.part.size() + 1);
    const auto dot = path.find('.');
    std::string below = dot != std::string::npos ? path.substr(dot + 1) : path;
    if (below.empty()) below = tessel::format("block_{}", node.block->id());
    if (!node.inside) std::ranges::replace(below, '.', '_');  // an input of the part
    return below;
}

bool Assembly::is_direct(node_number i) const {
    return below_[static_cast<std::size_t>(i)].find('.') == std::string::npos;
}

/// Whether a node inside is itself an input of the program.
bool Assembly::is_entry(node_number i) const {
    const node_t& own = node(i);
    if (own.class_hash == hash_from_workspace) return options_.series_as_inputs;
    if (own.class_hash != hash_inport && own.class_hash != hash_enable) return false;
    const node_number source = own.sources[0];
    if (source == no_node) return own.class_hash == hash_inport;
    return is_direct(i) && !node(source).inside;
}

/// Whether the output is nothing but a parameter.
bool Assembly::is_held(node_number i) const {
    const formula_t& formula = node(i).formula;
    return formula.has_output() && formula.states.empty() && formula.at(formula.output.next).op == op_t::parameter;
}

bool Assembly::is_read_late(node_number i) const {
    return std::ranges::any_of(readers_[static_cast<std::size_t>(i)],
                               [i](node_number reader) { return !draft_t::in_same_step(i, reader); });
}

cell_number Assembly::source_of(node_number reader, node_number source) const {
    return (draft_t::in_same_step(source, reader) ? values_ : late_)[static_cast<std::size_t>(source)];
}

/// What a node puts out before the first step, as a type.
std::uint64_t Assembly::start_of(node_number i, type_t type) const {
    cell_t cell;
    const formula_t& formula = node(i).formula;
    set_start(cell, formula, formula.output, unit_.ti);
    return converted(formula.output.type, type, cell.initial);
}

// ---- variables

cell_number Assembly::add_cell(role_t role, node_number i, type_t type, std::uint64_t initial) {
    cell_t& cell = unit_.cells.emplace_back();
    cell.role = role;
    cell.type = type;
    cell.initial = initial;
    cell.path = node(i).path;
    cell.block = node(i).block->id();
    origins_.push_back(i);
    return static_cast<cell_number>(unit_.cells.size() - 1);
}

cell_number Assembly::add_parameter(node_number i, const formula_parameter_t& parameter) {
    const cell_number number = add_cell(role_t::parameter, i, parameter.type, parameter.value);
    unit_.cell(number).key = parameter.name;
    unit_.cell(number).kept = !options_.inline_parameters;
    return number;
}

/// What a node's result is assigned to.
cell_number Assembly::add_target(node_number i) {
    const node_t& own = node(i);
    const formula_t& formula = own.formula;
    if (own.class_hash == hash_enable) {
        const cell_number flag = add_cell(role_t::flag, i, type_bool, 0);
        unit_.cell(flag).kept = false;
        return flag;
    }
    const bool shows = own.is_border_output || is_sink(own) || (own.class_hash == hash_outport && is_direct(i));
    // what a sink takes is what it samples: the workspace's own type is no affair of a program
    const type_t type = formula.has_output() ? formula.output.type : formula.inputs[0].type;
    const cell_number number = add_cell(shows ? role_t::output : role_t::signal, i, type, 0);
    cell_t& cell = unit_.cell(number);
    cell.port = 0;
    if (formula.has_output()) set_start(cell, formula, formula.output, unit_.ti);
    return number;
}

/// Whether readers of a node can read another variable in its place.
bool Assembly::take_for(node_number i, cell_number other) {
    const node_t& own = node(i);
    if (own.gate != no_node || own.is_border_output || is_read_late(i)) return false;
    if (unit_.cell(other).type != own.formula.output.type || !own.formula.has_output()) return false;
    if (own.class_hash == hash_outport && is_direct(i)) return false;
    values_[static_cast<std::size_t>(i)] = late_[static_cast<std::size_t>(i)] = other;
    return true;
}

void Assembly::add_node(node_number i) {
    const auto at = static_cast<std::size_t>(i);
    const node_t& own = node(i);
    if (is_entry(i)) {
        const bool series = own.class_hash == hash_from_workspace;
        const type_t type = series ? own.formula.output.type : own.formula.inputs[0].type;
        entries_[at] = add_cell(role_t::input, i, type, 0);
        const node_number source = series ? no_node : own.sources[0];
        if (source != no_node && !draft_t::in_same_step(source, i)) {
            unit_.cell(entries_[at]).of_last_step = true;
            unit_.cell(entries_[at]).initial = start_of(source, type);
        }
        if (take_for(i, entries_[at])) return;
    }
    if (is_held(i)) {
        constants_[at] = add_parameter(i, own.formula.parameters[0]);
        if (take_for(i, constants_[at])) return;
    }
    values_[at] = late_[at] = add_target(i);
}

/// A node outside that the program reads.
void Assembly::add_foreign(node_number i) {
    const auto at = static_cast<std::size_t>(i);
    std::vector<node_number> direct;
    for (const node_number reader : readers_[at])
        if (draft_.runs(reader) && (!is_entry(reader) || node(reader).gate == i)) direct.push_back(reader);
    if (direct.empty()) return;
    const node_t& own = node(i);
    names_.note(below_[at], own.block->class_name());
    const bool is_flag = own.class_hash == hash_enable;
    const type_t type = is_flag ? type_bool : own.formula.output.type;
    const std::uint64_t initial = is_flag ? 0 : start_of(i, type);
    const cell_number input = add_cell(role_t::input, i, type, initial);
    values_[at] = late_[at] = input;
    const auto late = static_cast<std::size_t>(
        std::ranges::count_if(direct, [i](node_number reader) { return !draft_t::in_same_step(i, reader); }));
    unit_.cell(input).of_last_step = late == direct.size();
    if (late != direct.size()) unit_.cell(input).initial = 0;
    if (late == 0 || late == direct.size()) return;
    values_[at] = late_[at] = add_cell(role_t::signal, i, type, initial);
    unit_.cell(values_[at]).port = 0;
    add_copy(i, input);
}

// ---- statements

void Assembly::add_copy(node_number i, cell_number source) {
    statement_t statement;
    statement.block = node(i).block->id();
    statement.path = node(i).path;
    statement.class_name = node(i).block->class_name();
    statement.target = values_[static_cast<std::size_t>(i)];
    statement.formula = copy_of(unit_.cell(statement.target).type);
    statement.sources = {source};
    made_of_.push_back(i);
    unit_.statements.push_back(std::move(statement));
}

void Assembly::add_members(statement_t& statement, node_number i) {
    const formula_t& formula = statement.formula;
    for (const formula_parameter_t& parameter : formula.parameters)
        statement.parameters.push_back(is_held(i) ? constants_[static_cast<std::size_t>(i)]
                                                  : add_parameter(i, parameter));
    for (const list_t& list : formula.lists) {
        const cell_number number = add_cell(role_t::table, i, type_flt64, 0);
        cell_t& cell = unit_.cell(number);
        cell.key = list.name;
        cell.values = list.values;
        // a series is as long as somebody has recorded: it stays in the code
        cell.is_series = node(i).class_hash == hash_from_workspace;
        cell.kept = !options_.inline_parameters && !cell.is_series;
        statement.lists.push_back(number);
    }
    for (const state_t& state : formula.states) {
        const cell_number number = add_cell(role_t::state, i, state.type, 0);
        set_start(unit_.cell(number), formula, state, unit_.ti);
        unit_.cell(number).key = state.name;
        statement.states.push_back(number);
    }
}

void Assembly::add_statement(node_number i) {
    const auto at = static_cast<std::size_t>(i);
    const node_t& own = node(i);
    if (values_[at] == entries_[at] && entries_[at] != no_cell) return;
    if (!draft_.runs(i)) {
        if (own.class_hash != hash_enable)
            unit_.notes.push_back(tessel::format("{} never runs: its enable block comes behind it", own.path));
        return;
    }
    if (entries_[at] != no_cell && own.class_hash == hash_from_workspace) return add_copy(i, entries_[at]);
    // the start of a run has put an inlined value in its place
    if (constants_[at] != no_cell && (values_[at] == constants_[at] || options_.inline_parameters)) return;
    statement_t statement;
    statement.block = own.block->id();
    statement.path = own.path;
    statement.class_name = own.block->class_name();
    statement.formula = own.formula;
    statement.target = values_[at];
    add_members(statement, i);
    if (is_sink(own)) {
        const auto& values = statement.formula.values;
        const auto taken = std::ranges::find(values, op_t::input, &value_t::op);
        statement.formula.taken = static_cast<std::int32_t>(taken - values.begin());
    }
    made_of_.push_back(i);
    unit_.statements.push_back(std::move(statement));
}

// ---- all of them

void Assembly::note_nodes() {
    const std::size_t count = draft_.nodes.size();
    readers_.resize(count);
    for (auto* cells : {&values_, &late_, &entries_, &constants_}) cells->assign(count, no_cell);
    for (std::size_t i = 0; i < count; ++i) {
        const node_t& own = draft_.nodes[i];
        below_.push_back(below_root(own));
        if (!own.inside) continue;
        names_.note(below_.back(), own.block->class_name());
        for (const node_number source : own.sources)
            if (source != no_node) readers_[static_cast<std::size_t>(source)].push_back(static_cast<node_number>(i));
        if (own.gate != no_node) readers_[static_cast<std::size_t>(own.gate)].push_back(static_cast<node_number>(i));
    }
}

void Assembly::tell_ports() {
    for (std::size_t i = 0; i < draft_.nodes.size(); ++i) {
        const node_t& own = draft_.nodes[i];
        if (!own.inside || values_[i] == no_cell) continue;
        const formula_t& formula = own.formula;
        unit_.ports.push_back({own.path, own.block->id(), 0, !formula.has_output(),
                               formula.has_output() ? formula.output.type : formula.inputs[0].type, values_[i]});
    }
}

unit_t Assembly::take(unit_t head, const std::unordered_set<std::uint64_t>& labelled) {
    unit_ = std::move(head);
    note_nodes();
    const auto count = static_cast<node_number>(draft_.nodes.size());
    for (node_number i = 0; i < count; ++i) {
        if (node(i).inside) add_node(i);
        else if (node(i).is_border_input) add_foreign(i);
    }
    for (node_number i = 0; i < count; ++i)
        if (node(i).inside) add_statement(i);
    for (std::size_t k = 0; k < unit_.statements.size(); ++k) {
        statement_t& statement = unit_.statements[k];
        const node_number i = made_of_[k];
        if (node(i).inside && node(i).gate != no_node) statement.gate = source_of(i, node(i).gate);
        if (!statement.sources.empty()) continue;
        const cell_number entry = entries_[static_cast<std::size_t>(i)];
        for (const node_number source : node(i).sources)
            statement.sources.push_back(entry != no_cell ? entry : source == no_node ? no_cell : source_of(i, source));
    }
    tell_ports();
    put_in_order();
    choose_locals(labelled);
    name_cells();
    return std::move(unit_);
}

}  // namespace tessel::exact
