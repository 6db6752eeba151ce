#include "host/native/text.h"

#include <algorithm>
#include <map>
#include <set>
#include <unordered_map>

#include "coder/exact/layout.h"
#include "coder/exact/step.h"
#include "coder/exact/write_c.h"
#include "core/format.h"
#include "host/native/groups.h"

namespace zarn::native {
namespace {

using tessel::format;
using tessel::exact::cell_number;
using tessel::exact::no_cell;
using tessel::exact::role_t;
using tessel::exact::statement_t;
using tessel::exact::unit_t;

constexpr std::size_t small_program = 64;  // statements that the compiler keeps in registers
constexpr std::size_t shortest_loop = 3;
constexpr std::size_t most_constant_tables = 64;
constexpr std::size_t statements_at_once = 400;  // of a function: compilers take long over long ones

class Writer {
public:
    explicit Writer(const unit_t& unit)
        : unit_(unit), program_(unit_), is_small_(unit.statements.size() <= small_program) {
        result_.places.resize(unit.cells.size());
        for (const char* own : {"i", "m", "copy", "done", "steps", "end", "structure"}) program_.names.insert(own);
    }
    text_t take();

private:
    void find_loops();
    void place_all();
    void place(cell_number number);
    bool is_parameter(cell_number number) const {
        return number != no_cell && unit_.cell(number).role == role_t::parameter;
    }
    void place_table(cell_number number);
    void set_initial();
    void write_loop(const loop_t& loop);
    void write_row(const row_t& row);
    std::string access_of(const row_t& row, std::size_t variable);
    std::string table_access(const row_t& row, std::size_t variable);
    std::string literal_of(const row_t& row, std::size_t variable) const;
    std::string index_text(const std::vector<std::uint32_t>& indices);
    cell_number variable(std::size_t statement, std::size_t which) const { return variables_[statement][which]; }
    const place_t& place_of(cell_number number) const { return result_.places[static_cast<std::size_t>(number)]; }
    void line(const std::string& text) { step_ += text + "\n"; }
    void begin_function();
    std::string structure() const;

    unit_t unit_;
    tessel::exact::program_t program_;
    bool is_small_;
    text_t result_;
    std::vector<loop_t> loops_;
    std::vector<std::vector<cell_number>> variables_;      // of each statement
    std::map<std::vector<double>, std::uint32_t> tables_;  // their contents, and their index among the flt64 values
    std::string step_;
    std::string lists_;                        // of indices
    std::set<std::uint32_t> constant_tables_;  // of them, by that index
    std::size_t functions_ = 0, in_function_ = 0, index_lists_ = 0;
};

void Writer::find_loops() {
    for (const statement_t& statement : unit_.statements) variables_.push_back(variables_of(statement));
    std::vector<row_t> rows;
    if (!is_small_) rows = rows_of(unit_);
    else
        for (std::size_t i = 0; i < unit_.statements.size(); ++i) rows.push_back({i});
    std::vector<row_t> long_or_single;
    for (row_t& row : rows) {
        if (row.size() >= shortest_loop) long_or_single.push_back(std::move(row));
        else
            for (const std::size_t statement : row) long_or_single.push_back({statement});
    }
    loops_ = loops_of(unit_, std::move(long_or_single));
}

void Writer::place_table(cell_number number) {
    const auto& cell = unit_.cell(number);
    std::vector<double> elements(tessel::exact::room_of(unit_, number));
    for (std::size_t i = 0; i < elements.size(); ++i) elements[i] = tessel::exact::element_of(cell, i);
    const auto [entry, is_new] = tables_.try_emplace(elements, 0u);
    if (is_new) {
        const auto first = result_.layout.add(tessel::type_flt64, static_cast<std::uint32_t>(elements.size()));
        entry->second = first.index;
        for (std::size_t i = 0; i < elements.size(); ++i)
            if (const auto bits = tessel::bits_of(elements[i]); bits != 0)
                result_.initial.push_back({{tessel::type_flt64, first.index + static_cast<std::uint32_t>(i)}, bits});
    }
    result_.places[static_cast<std::size_t>(number)] = {tessel::type_flt64, entry->second};
}

void Writer::place(cell_number number) {
    if (number == no_cell || place_of(number).is_known()) return;
    const auto& cell = unit_.cell(number);
    if (cell.role == role_t::table) return place_table(number);
    result_.places[static_cast<std::size_t>(number)] = result_.layout.add(cell.type);
}

/// What the rounds of a loop write, and the parameters that they read, stands side by side, each variable of theirs in
/// a row of its own; the rest behind.
void Writer::place_all() {
    for (const loop_t& loop : loops_)
        for (const row_t& row : loop) {
            const std::size_t target = unit_.statements[row.front()].sources.size();
            for (std::size_t which = 0; which < variables_[row.front()].size(); ++which)
                for (const std::size_t i : row)
                    if (which >= target || is_parameter(variable(i, which))) place(variable(i, which));
        }
    for (const auto& variables : variables_)
        for (const cell_number number : variables) place(number);
    for (const cell_number number : unit_.of(role_t::input)) place(number);
}

void Writer::set_initial() {
    for (std::size_t i = 0; i < unit_.cells.size(); ++i) {
        const auto& cell = unit_.cells[i];
        if (cell.role == role_t::table || !result_.places[i].is_known()) continue;
        const std::uint64_t bits = cell.starts_as_time ? tessel::bits_of(unit_.ti) : cell.initial;
        if (bits != 0) result_.initial.push_back({result_.places[i], bits});
    }
}

std::string Writer::index_text(const std::vector<std::uint32_t>& indices) {
    const std::string name = format("x{}", ++index_lists_);
    lists_ += format("static const uint32_t {}[{}] = {{", name, indices.size());
    for (std::size_t i = 0; i < indices.size(); ++i) lists_ += format("{}{},", i % 16 == 0 ? "\n" : "", indices[i]);
    lists_ += "};\n";
    return name + "[i]";
}

/// A parameter that has one value in all rounds, as a constant; "" for all else.
std::string Writer::literal_of(const row_t& row, std::size_t which) const {
    const auto& cell = unit_.cell(variable(row.front(), which));
    if (cell.role != role_t::parameter) return {};
    for (const std::size_t i : row)
        if (unit_.cell(variable(i, which)).initial != cell.initial) return {};
    return format("(({}){})", tessel::exact::type_text(cell.type),
                  tessel::exact::constant_text(cell.type, cell.initial));
}

/// A table that all rounds share as a constant, which the compiler can look into, while these are few; else a part of
/// the structure.
std::string Writer::table_access(const row_t& row, std::size_t which) {
    const std::uint32_t index = place_of(variable(row.front(), which)).index;
    const bool is_shared =
        std::ranges::all_of(row, [&](std::size_t i) { return place_of(variable(i, which)).index == index; });
    if (!is_shared || tables_.size() > most_constant_tables) return format("(&m->{})", access_of(row, which));
    const std::string name = format("t{}", index);
    if (constant_tables_.insert(index).second) {
        const cell_number table = variable(row.front(), which);
        lists_ += format("static const double {}[{}] = {};\n", name, tessel::exact::room_of(unit_, table),
                         tessel::exact::table_text(unit_, table, 0));
    }
    return name;
}

/// The element of an array that a variable of round i is: one and the same, one after the other, or
/// as a list has it.
std::string Writer::access_of(const row_t& row, std::size_t which) {
    const place_t first = place_of(variable(row.front(), which));
    const char* member = Layout::member(first.type);
    std::vector<std::uint32_t> indices;
    for (const std::size_t i : row) indices.push_back(place_of(variable(i, which)).index);
    const auto is_row = [&](std::uint32_t stride) {
        for (std::size_t i = 0; i < indices.size(); ++i)
            if (indices[i] != first.index + stride * i) return false;
        return true;
    };
    if (is_row(0)) return format("{}[{}]", member, first.index);
    if (is_row(1)) return format("{}[{} + i]", member, first.index);
    const std::uint32_t stride = indices[1] - indices[0];
    if (is_row(stride) && stride < 0x10000) return format("{}[{} + {} * i]", member, first.index, stride);
    return format("{}[{}]", member, index_text(indices));
}

void Writer::begin_function() {
    if (in_function_ != 0 && in_function_ < statements_at_once) return;
    if (functions_ != 0) line("}\n");
    line(format("static {} void part{}(model_t *m) {{", is_small_ ? "inline" : "__attribute__((noinline))",
                functions_++));
    in_function_ = 0;
}

/// A row as its first statement, with variables that depend on i.
void Writer::write_row(const row_t& row) {
    const statement_t& statement = unit_.statements[row.front()];
    for (std::size_t which = 0; which < variables_[row.front()].size(); ++which) {
        const cell_number number = variable(row.front(), which);
        if (number == no_cell) continue;
        auto& cell = unit_.cell(number);
        const std::string literal = literal_of(row, which);
        const bool is_table = cell.role == role_t::table;
        const bool is_own_flag = cell.role == role_t::flag && number == statement.target;
        cell.kept = literal.empty() && !is_table && !is_own_flag;
        if (!literal.empty()) cell.access = literal;
        else if (is_own_flag) cell.access = format("flag{}", number);
        else cell.access = is_table ? table_access(row, which) : access_of(row, which);
    }
    for (const std::string& text : tessel::exact::write_statement(program_, statement).lines) line(text);
    if (unit_.cell(statement.target).role == role_t::flag)
        line(format("m->b[{}] = flag{};", place_of(statement.target).index, statement.target));
}

void Writer::write_loop(const loop_t& loop) {
    begin_function();
    const statement_t& first = unit_.statements[loop.front().front()];
    if (first.gate != no_cell) {
        auto& flag = unit_.cell(first.gate);
        flag.kept = true;
        flag.access = format("b[{}]", place_of(first.gate).index);
    }
    const cell_number around = tessel::exact::gate_of(unit_, first);
    const std::size_t rounds = loop.front().size();
    std::string head = around != no_cell ? format("if ({}) ", program_.at(around)) : "";
    if (rounds > 1) head += format("for (uint32_t i = 0; i < {}; ++i) ", rounds);
    line(head + "{");
    for (const row_t& row : loop) write_row(row);
    line("}");
    in_function_ += loop.size();
    result_.loops += rounds > 1 ? 1u : 0u;
}

std::string Writer::structure() const {
    std::string text = "typedef struct {\ndouble time, last;\nuint64_t tick;\n";
    for (const tessel::type_t type : Layout::types)
        if (const auto count = result_.layout.count(type); count != 0)
            text += format("{} {}[{}];\n", tessel::exact::type_text(type), Layout::member(type), count);
    return text +
           format("}} model_t;\ntypedef char size_is_known[sizeof(model_t) == {} ? 1 : -1];\n", result_.layout.size());
}

text_t Writer::take() {
    find_loops();
    place_all();
    set_initial();
    for (const loop_t& loop : loops_) write_loop(loop);
    if (functions_ != 0) line("}\n");
    std::string calls;
    for (std::size_t i = 0; i < unit_.cells.size(); ++i)
        if (unit_.cells[i].role == role_t::flag && result_.places[i].is_known())
            calls += format("m->b[{}] = false;\n", result_.places[i].index);
    for (std::size_t i = 0; i < functions_; ++i) calls += format("part{}(m);\n", i);
    const auto number = [](double v) { return tessel::exact::constant_text(tessel::type_flt64, tessel::bits_of(v)); };
    result_.source =
        "#include <math.h>\n#include <stdbool.h>\n#include <stddef.h>\n#include <stdint.h>\n" + structure() +
        program_.rules.text() + lists_ + step_ +
        "__attribute__((visibility(\"default\"))) uint64_t zarn_run(void *structure, uint64_t steps, double "
        "end);\nuint64_t zarn_run(void *structure, uint64_t steps, double end) {\n";
    // a small program lives in a copy that nobody else can see, so that it stays in registers
    result_.source += is_small_ ? "model_t copy = *(model_t *)structure, *m = &copy;\n" : "model_t *m = structure;\n";
    result_.source +=
        "uint64_t done = 0;\nwhile (done < steps && end >= m->time) {\n" + calls +
        format("m->last = m->time;\nm->time = m->time + {};\nm->tick++;\n++done;\n}}\n", number(unit_.ts));
    result_.source += is_small_ ? "*(model_t *)structure = copy;\n" : "";
    result_.source += "return done;\n}\n";
    return std::move(result_);
}

}  // namespace

text_t write_text(const unit_t& unit) { return Writer(unit).take(); }

}  // namespace zarn::native
