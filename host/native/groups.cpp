#include "host/native/groups.h"

#include <algorithm>
#include <map>
#include <unordered_map>
#include <utility>

namespace zarn::native {
namespace {

using tessel::exact::cell_number;
using tessel::exact::no_cell;
using tessel::exact::unit_t;

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

namespace {

/// Where a variable is written: a row, and the round of it.
struct written_t {
    std::size_t row = nowhere;
    std::size_t round = 0;
    static constexpr std::size_t nowhere = static_cast<std::size_t>(-1);
};

std::vector<row_t> neighbours_of(const unit_t& unit) {
    std::vector<row_t> rows;
    std::string last;
    for (std::size_t i = 0; i < unit.statements.size(); ++i) {
        std::string shape = shape_of(unit, unit.statements[i]);
        const bool is_flag = unit.cell(unit.statements[i].target).role == tessel::exact::role_t::flag;
        if (rows.empty() || is_flag || shape != last) rows.emplace_back();
        rows.back().push_back(i);
        last = std::move(shape);
    }
    return rows;
}

class Splitter {
public:
    explicit Splitter(const unit_t& unit) : unit_(unit), written_(unit.cells.size()) {}

    std::vector<row_t> split(const std::vector<row_t>& rows) {
        for (std::size_t i = 0; i < rows.size(); ++i)
            for (std::size_t round = 0; round < rows[i].size(); ++round)
                written(unit_.statements[rows[i][round]].target) = {i, round};
        std::vector<row_t> result;
        for (std::size_t i = 0; i < rows.size(); ++i)
            for (row_t& part : parts_of(rows[i], i)) result.push_back(std::move(part));
        return result;
    }

private:
    static constexpr std::size_t shortest_part = 4;

    written_t& written(cell_number cell) { return written_[static_cast<std::size_t>(cell)]; }

    /// The statements by the rows that their sources come from, and then by the rounds. None of them reads another, so
    /// that their order is free.
    std::vector<row_t> parts_of(const row_t& row, std::size_t number) {
        if (row.size() < 2 || is_even(row) || reads_itself(row, number)) return {row};
        using key_t = std::vector<std::size_t>;
        std::map<key_t, std::vector<std::pair<key_t, std::size_t>>> parts;
        for (const std::size_t statement : row) {
            key_t rows, rounds;
            for (const cell_number source : unit_.statements[statement].sources) {
                const written_t at = source != no_cell ? written(source) : written_t{};
                rows.push_back(at.row);
                rounds.push_back(at.round);
            }
            parts[rows].emplace_back(rounds, statement);
        }
        if (row.size() < shortest_part * parts.size()) return {row};
        std::vector<row_t> result;
        for (auto& [rows, part] : parts) {
            std::ranges::stable_sort(part, {}, [](const auto& entry) -> const key_t& { return entry.first; });
            auto& one = result.emplace_back();
            for (const auto& entry : part) one.push_back(entry.second);
        }
        return result;
    }
    /// Whether each source comes from one row, by equal strides.
    bool is_even(const row_t& row) {
        const auto& first = unit_.statements[row[0]];
        for (std::size_t which = 0; which < first.sources.size(); ++which) {
            if (first.sources[which] == no_cell) continue;
            const auto at = [&](std::size_t i) { return written(unit_.statements[row[i]].sources[which]); };
            const std::size_t stride = row.size() > 1 ? at(1).round - at(0).round : 0;
            for (std::size_t i = 0; i < row.size(); ++i)
                if (at(i).row != at(0).row || at(i).round != at(0).round + stride * i) return false;
        }
        return true;
    }
    /// Then the order of its statements counts.
    bool reads_itself(const row_t& row, std::size_t number) {
        return std::ranges::any_of(row, [&](std::size_t statement) {
            return std::ranges::any_of(unit_.statements[statement].sources, [&](cell_number source) {
                return source != no_cell && written(source).row == number;
            });
        });
    }

    const unit_t& unit_;
    std::vector<written_t> written_;
};

/// One loop in the making: in which round its rows write and last read each variable.
class Joiner {
public:
    explicit Joiner(const unit_t& unit) : unit_(unit) {}

    /// Whether the row can be done in the loop's rounds, behind its other rows.
    bool takes(const row_t& row) const {
        if (loop_.empty()) return true;
        const auto& own = unit_.statements[row[0]];
        const auto& first = unit_.statements[loop_[0][0]];
        if (row.size() < 2 || row.size() != loop_[0].size() || own.gate != first.gate || is_flag(own) || is_flag(first))
            return false;
        for (std::size_t round = 0; round < row.size(); ++round) {
            const auto& statement = unit_.statements[row[round]];
            for (const cell_number source : statement.sources)
                if (is_behind(written_, source, round)) return false;
            if (is_behind(read_, statement.target, round)) return false;
        }
        return true;
    }
    void add(row_t row) {
        for (std::size_t round = 0; round < row.size(); ++round) {
            const auto& statement = unit_.statements[row[round]];
            written_[statement.target] = round;
            for (const cell_number source : statement.sources)
                if (source != no_cell) read_[source] = round;
        }
        loop_.push_back(std::move(row));
    }
    bool is_empty() const { return loop_.empty(); }
    loop_t take() {
        written_.clear();
        read_.clear();
        return std::exchange(loop_, {});
    }

private:
    using rounds_t = std::unordered_map<cell_number, std::size_t>;

    bool is_flag(const tessel::exact::statement_t& statement) const {
        return unit_.cell(statement.target).role == tessel::exact::role_t::flag;
    }
    static bool is_behind(const rounds_t& rounds, cell_number cell, std::size_t round) {
        const auto found = rounds.find(cell);
        return found != rounds.end() && found->second > round;
    }

    const unit_t& unit_;
    loop_t loop_;
    rounds_t written_, read_;
};

}  // namespace

std::vector<row_t> rows_of(const unit_t& unit) { return Splitter(unit).split(neighbours_of(unit)); }

std::vector<loop_t> loops_of(const unit_t& unit, std::vector<row_t> rows) {
    std::vector<loop_t> loops;
    Joiner loop(unit);
    for (row_t& row : rows) {
        if (!loop.takes(row)) loops.push_back(loop.take());
        loop.add(std::move(row));
    }
    if (!loop.is_empty()) loops.push_back(loop.take());
    return loops;
}

}  // namespace zarn::native
