// The end of an assembly: the order of the statements, what need not be kept, and names.

#include <algorithm>
#include <unordered_map>

#include "coder/exact/assembly.h"
#include "coder/exact/expression.h"
#include "core/format.h"

namespace tessel::exact {
namespace {

constexpr std::size_t nowhere = static_cast<std::size_t>(-1);

bool reads_last_output(const formula_t& formula) {
    return std::ranges::any_of(formula.values, [](const value_t& v) { return v.op == op_t::last_output; });
}

/// Calls `use` with each variable that a statement reads of others.
template <class Use>
void for_each_read(const statement_t& statement, const Use& use) {
    for (const cell_number source : statement.sources)
        if (source != no_cell) use(source);
    if (statement.gate != no_cell) use(statement.gate);
}

template <class T>
void reorder(std::vector<T>& values, const std::vector<std::size_t>& order) {
    std::vector<T> ordered;
    ordered.reserve(values.size());
    for (const std::size_t i : order) ordered.push_back(std::move(values[i]));
    values = std::move(ordered);
}

}  // namespace

// ---- order

/// For each statement those that must stand behind it: who reads what it writes in the same step, and who writes what
/// it reads of the step before.
std::vector<std::vector<std::size_t>> Assembly::edges() const {
    std::vector<std::size_t> statement_of(draft_.nodes.size(), nowhere);
    for (std::size_t k = 0; k < made_of_.size(); ++k) statement_of[static_cast<std::size_t>(made_of_[k])] = k;
    std::vector<std::vector<std::size_t>> edges(made_of_.size());
    for (std::size_t k = 0; k < made_of_.size(); ++k) {
        const node_number reader = made_of_[k];
        const auto add = [&](node_number source) {
            if (source == no_node || source == reader) return;
            const std::size_t writer = statement_of[static_cast<std::size_t>(source)];
            if (writer == nowhere) return;
            if (draft_t::in_same_step(source, reader)) edges[writer].push_back(k);
            else edges[k].push_back(writer);
        };
        if (!node(reader).inside) continue;
        if (entries_[static_cast<std::size_t>(reader)] == no_cell) std::ranges::for_each(node(reader).sources, add);
        add(node(reader).gate);
    }
    return edges;
}

void Assembly::put_in_order() {
    if (options_.in_order_of_run) return;
    std::vector<std::string> groups;
    for (const node_number i : made_of_) {
        const std::string& path = node(i).path;
        groups.push_back(tessel::format("{}/{}", path.substr(0, path.rfind('.')), node(i).gate));
    }
    const std::vector<std::size_t> order = schedule(edges(), groups);
    reorder(unit_.statements, order);
    reorder(made_of_, order);
}

// ---- what is kept

void Assembly::choose_locals(const std::unordered_set<std::uint64_t>& labelled) {
    constexpr std::size_t always = nowhere;
    std::vector<std::size_t> stretch_of(unit_.cells.size(), always);  // in which a variable is written
    std::vector<bool> kept(unit_.cells.size(), true);
    std::size_t stretch = 0;
    cell_number gate = no_cell;
    for (std::size_t k = 0; k < unit_.statements.size(); ++k) {
        const statement_t& statement = unit_.statements[k];
        stretch += gate_of(unit_, statement) != gate ? 1u : 0u;
        gate = gate_of(unit_, statement);
        for_each_read(statement, [&](cell_number source) {
            const auto at = static_cast<std::size_t>(source);
            // written under another condition
            if (stretch_of[at] != always && stretch_of[at] != stretch) kept[at] = true;
        });
        const auto target = static_cast<std::size_t>(statement.target);
        const cell_t& cell = unit_.cells[target];
        if (cell.role != role_t::signal) continue;
        kept[target] = options_.keep == keep_t::all ||
                       (options_.keep == keep_t::named && labelled.contains(cell.block)) || is_read_late(made_of_[k]) ||
                       reads_last_output(statement.formula);
        stretch_of[target] = gate == no_cell ? always : stretch;
    }
    for (std::size_t i = 0; i < kept.size(); ++i)
        if (unit_.cells[i].role == role_t::signal) unit_.cells[i].kept = kept[i];
    drop_unread();
}

/// Leaves out what nobody can see: flags that gate nothing and locals that nothing reads.
void Assembly::drop_unread() {
    std::vector<int> uses(unit_.cells.size());
    for (const statement_t& statement : unit_.statements)
        for_each_read(statement, [&](cell_number source) { ++uses[static_cast<std::size_t>(source)]; });
    std::vector<bool> dropped(unit_.statements.size());
    for (std::size_t k = unit_.statements.size(); k-- > 0;) {
        const statement_t& statement = unit_.statements[k];
        if (unit_.cell(statement.target).kept || uses[static_cast<std::size_t>(statement.target)] != 0) continue;
        if (!statement.states.empty()) {
            unit_.cell(statement.target).kept = true;
            continue;
        }
        for_each_read(statement, [&](cell_number source) { --uses[static_cast<std::size_t>(source)]; });
        dropped[k] = true;
    }
    std::size_t left = 0;
    for (std::size_t k = 0; k < dropped.size(); ++k) {
        if (dropped[k]) continue;
        if (left != k) {
            unit_.statements[left] = std::move(unit_.statements[k]);
            made_of_[left] = std::move(made_of_[k]);
        }
        ++left;
    }
    unit_.statements.resize(left);
    made_of_.resize(left);
}

// ---- names

namespace {

const char* structure_of(role_t role) {
    switch (role) {
        case role_t::input: return "inputs";
        case role_t::output: return "outputs";
        case role_t::parameter:
        case role_t::table: return "parameters";
        case role_t::state: return "states";
        default: return "signals";
    }
}

}  // namespace

void Assembly::name_cells() {
    std::unordered_map<node_number, int> parameters, states;
    for (std::size_t i = 0; i < unit_.cells.size(); ++i) {
        const role_t role = unit_.cells[i].role;
        if (role == role_t::parameter || role == role_t::table) ++parameters[origins_[i]];
        if (role == role_t::state) ++states[origins_[i]];
    }
    // what stands outside of the structure has its name to itself in the whole text
    std::unordered_set<std::string> taken{"m",
                                          "i",
                                          "steps",
                                          unit_.name + "_t",
                                          unit_.name + "_init",
                                          unit_.name + "_step",
                                          unit_.name + "_run",
                                          unit_.name + "_defaults"};
    for (std::string& function : library_functions()) taken.insert(std::move(function));
    for (std::size_t i = 0; i < unit_.cells.size(); ++i) {
        cell_t& cell = unit_.cells[i];
        std::vector<std::string> parts =
            names_.of(below_[static_cast<std::size_t>(origins_[i])], node(origins_[i]).block->class_name(), cell.block);
        const bool of_many = cell.role == role_t::state ? states[origins_[i]] > 1 : parameters[origins_[i]] > 1;
        if (!cell.key.empty() && of_many) parts.push_back(identifier(cell.key));
        if (cell.kept) {
            cell.access = tessel::format("{}.{}", structure_of(cell.role), join(parts, "."));
            continue;
        }
        if (cell.role == role_t::parameter || cell.role == role_t::table) parts.insert(parts.begin(), unit_.name);
        cell.access = join(parts, "_");
        if (!taken.insert(cell.access).second) {
            cell.access += tessel::format("_{}", cell.block);
            while (!taken.insert(cell.access).second) cell.access += '_';
        }
    }
}

}  // namespace tessel::exact
