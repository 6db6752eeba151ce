// From a draft to a unit: what becomes of each node, and the variables around it.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_set>
#include <vector>

#include "coder/exact/draft.h"
#include "coder/exact/names.h"

namespace tessel::exact {

class Assembly {
public:
    Assembly(const draft_t& draft, const options_t& options) : draft_(draft), options_(options) {}

    /// Variables and statements of a unit that has its names and times. `labelled`: the blocks whose output has a wire
    /// with a label.
    unit_t take(unit_t head, const std::unordered_set<std::uint64_t>& labelled);

private:
    // ---- assembly.cpp: variables and statements
    std::string below_root(const node_t& node) const;
    bool is_direct(node_number i) const;
    bool is_entry(node_number i) const;
    bool is_held(node_number i) const;
    bool is_read_late(node_number i) const;
    void note_nodes();
    void add_node(node_number i);
    void add_foreign(node_number i);
    bool take_for(node_number i, cell_number other);
    std::uint64_t start_of(node_number i, type_t type) const;
    cell_number add_parameter(node_number i, const formula_parameter_t& parameter);
    cell_number add_target(node_number i);
    cell_number add_cell(role_t role, node_number i, type_t type, std::uint64_t initial);
    void add_statement(node_number i);
    void add_copy(node_number i, cell_number source);
    void add_members(statement_t& statement, node_number i);
    cell_number source_of(node_number reader, node_number source) const;
    void tell_ports();

    // ---- finish.cpp: their order, what need not be kept, and names
    void put_in_order();
    std::vector<std::vector<std::size_t>> edges() const;
    void choose_locals(const std::unordered_set<std::uint64_t>& labelled);
    void drop_unread();
    void name_cells();

    node_t const& node(node_number i) const { return draft_.at(i); }

    const draft_t& draft_;
    const options_t& options_;
    unit_t unit_;
    Names names_;
    std::vector<std::string> below_;                 // the path of each node below the program's root
    std::vector<std::vector<node_number>> readers_;  // of each node; inside nodes only
    std::vector<cell_number> values_;                // where readers find what a node puts out in this step,
    std::vector<cell_number> late_;                  // and in the step before
    std::vector<cell_number> entries_;               // the input of the program that a node reads
    std::vector<cell_number> constants_;             // the parameter that a node does nothing but put out
    std::vector<node_number> origins_;               // the node of each variable
    std::vector<node_number> made_of_;               // the node of each statement
};

}  // namespace tessel::exact
