// What an output depends on within a step: the wires that are followed back from it, through the formulas of the
// blocks, as far as a value of the same step is read.
#include <algorithm>
#include <cstddef>

#include "coder/fmu/interface.h"

namespace tessel::fmu {
namespace {

using exact::cell_number;
using exact::no_cell;
using exact::role_t;
using exact::statement_t;

/// Leaves of a formula that one of its values is made of.
class Leaves {
public:
    /// Calls `see` with each leaf once.
    template <class See>
    void visit(const formula_t& formula, std::int32_t value, See see) {
        seen_.assign(formula.values.size(), false);
        waiting_.assign(1, value);
        while (!waiting_.empty()) {
            const std::int32_t number = waiting_.back();
            waiting_.pop_back();
            if (number < 0 || seen_[static_cast<std::size_t>(number)]) continue;
            seen_[static_cast<std::size_t>(number)] = true;
            const value_t& v = formula.at(number);
            if (v.of.empty()) see(v);
            waiting_.insert(waiting_.end(), v.of.begin(), v.of.end());
        }
    }

private:
    std::vector<bool> seen_;
    std::vector<std::int32_t> waiting_;
};

/// What the value that a statement assigns is made of, within the step.
struct parts_t {
    std::vector<cell_number> known;       ///< inputs, parameters, tables; `no_cell` for the time
    std::vector<std::size_t> statements;  ///< that come before it and whose values it takes
};

class Walk {
public:
    explicit Walk(const exact::unit_t& unit)
        : unit_(unit), writer_(unit.cells.size(), none), parts_(unit.statements.size()) {
        for (std::size_t i = 0; i < unit.statements.size(); ++i) {
            note(i);
            // only now: a statement that reads its own value reads that of the last step
            if (unit.statements[i].target != no_cell) writer_[at(unit.statements[i].target)] = i;
        }
        visited_.assign(unit.statements.size(), 0);
    }

    std::vector<cell_number> back_from(cell_number output) {
        std::vector<cell_number> found;
        const std::size_t writer = writer_[at(output)];
        if (writer == none) return found;
        ++round_;
        visited_[writer] = round_;
        std::vector<std::size_t> waiting{writer};
        while (!waiting.empty()) {
            const parts_t& parts = parts_[waiting.back()];
            waiting.pop_back();
            found.insert(found.end(), parts.known.begin(), parts.known.end());
            for (const std::size_t next : parts.statements)
                if (visited_[next] != round_) visited_[next] = round_, waiting.push_back(next);
        }
        std::sort(found.begin(), found.end());
        found.erase(std::unique(found.begin(), found.end()), found.end());
        return found;
    }

private:
    static constexpr std::size_t none = static_cast<std::size_t>(-1);

    static std::size_t at(cell_number cell) { return static_cast<std::size_t>(cell); }

    void take(parts_t& parts, cell_number cell) const {
        if (cell == no_cell) return;
        const role_t role = unit_.cell(cell).role;
        if (role == role_t::input || role == role_t::parameter || role == role_t::table) parts.known.push_back(cell);
        else if (writer_[at(cell)] != none) parts.statements.push_back(writer_[at(cell)]);
    }

    void note(std::size_t number) {
        const statement_t& statement = unit_.statements[number];
        const formula_t& formula = statement.formula;
        parts_t& parts = parts_[number];
        take(parts, statement.gate);
        leaves_.visit(formula, formula.has_output() ? formula.output.next : formula.taken, [&](const value_t& leaf) {
            if (leaf.op == op_t::input) take(parts, statement.sources[leaf.bits]);
            if (leaf.op == op_t::parameter) take(parts, statement.parameters[leaf.bits]);
            if (leaf.op == op_t::list) take(parts, statement.lists[leaf.bits]);
            if (leaf.op == op_t::time) parts.known.push_back(no_cell);
        });
    }

    const exact::unit_t& unit_;
    std::vector<std::size_t> writer_;  // by cell: the last statement so far that assigns it
    std::vector<parts_t> parts_;
    std::vector<std::size_t> visited_;
    std::size_t round_ = 0;
    Leaves leaves_;
};

}  // namespace

std::vector<std::vector<cell_number>> dependencies_of(const exact::unit_t& unit,
                                                      const std::vector<cell_number>& outputs) {
    Walk walk(unit);
    std::vector<std::vector<cell_number>> result;
    result.reserve(outputs.size());
    for (const cell_number output : outputs) result.push_back(walk.back_from(output));
    return result;
}

}  // namespace tessel::fmu
