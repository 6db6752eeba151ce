#include "host/native/groups.h"

#include <algorithm>

namespace zarn::native {
namespace {

using tessel::exact::cell_number;
using tessel::exact::no_cell;

class Shape {
public:
    void add(std::uint64_t number) {
        for (int i = 0; i < 8; ++i) text_ += static_cast<char>(number >> (8 * i) & 0xff);
    }
    template <class T>
    void add(T number) {
        add(static_cast<std::uint64_t>(number));
    }
    std::string take() { return std::move(text_); }

private:
    std::string text_;
};

void add_state(Shape& shape, const tessel::state_t& state) {
    shape.add(state.type);
    shape.add(state.next);
}

}  // namespace

std::vector<cell_number> variables_of(const tessel::exact::statement_t& statement) {
    std::vector<cell_number> all = statement.sources;
    all.push_back(statement.target);
    for (const auto* list : {&statement.states, &statement.parameters, &statement.lists})
        all.insert(all.end(), list->begin(), list->end());
    return all;
}

std::string shape_of(const tessel::exact::unit_t& unit, const tessel::exact::statement_t& statement) {
    Shape shape;
    const tessel::formula_t& formula = statement.formula;
    shape.add(statement.gate);
    shape.add(unit.cell(statement.target).role);
    for (const auto& input : formula.inputs) shape.add(input.type);
    for (const auto& value : formula.values) {
        shape.add(value.op);
        shape.add(value.type);
        shape.add(value.bits);
        shape.add(value.of.size());
        for (const std::int32_t operand : value.of) shape.add(operand);
    }
    for (const auto& state : formula.states) add_state(shape, state);
    add_state(shape, formula.output);
    shape.add(formula.taken);
    // which of the variables are one, what they are, and how long tables are
    const auto variables = variables_of(statement);
    for (std::size_t i = 0; i < variables.size(); ++i) {
        const auto first = std::ranges::find(variables, variables[i]);
        shape.add(first - variables.begin());
        if (variables[i] == no_cell) continue;
        const auto& cell = unit.cell(variables[i]);
        shape.add(cell.type);
        shape.add(cell.role == tessel::exact::role_t::flag);
        shape.add(cell.is_series);
        shape.add(cell.values.size());
    }
    return shape.take();
}

std::vector<group_t> groups_of(const tessel::exact::unit_t& unit) {
    std::vector<group_t> groups;
    std::string last;
    for (std::size_t i = 0; i < unit.statements.size(); ++i) {
        std::string shape = shape_of(unit, unit.statements[i]);
        const bool is_flag = unit.cell(unit.statements[i].target).role == tessel::exact::role_t::flag;
        if (groups.empty() || is_flag || shape != last) groups.push_back({i, i});
        groups.back().end = i + 1;
        last = std::move(shape);
    }
    return groups;
}

}  // namespace zarn::native
