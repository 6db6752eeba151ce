#include "host/native/text.h"

#include <algorithm>
#include <map>
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
    void find_groups();
    void place_all();
    void place(cell_number number);
    void place_table(cell_number number);
    void set_initial();
    void write_group(group_t group);
    void write_piece(group_t piece, cell_number gate);
    std::string access_of(group_t piece, std::size_t variable);
    std::string table_access(group_t piece, std::size_t variable);
    std::string literal_of(group_t piece, std::size_t variable) const;
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
    std::vector<group_t> groups_;
    std::vector<std::vector<cell_number>> variables_;      // of each statement
    std::map<std::vector<double>, std::uint32_t> tables_;  // their contents, and their index among the flt64 values
    std::string step_;
    std::string lists_;  // of indices
    std::size_t functions_ = 0, in_function_ = 0, index_lists_ = 0;
};

void Writer::find_groups() {
    for (const statement_t& statement : unit_.statements) variables_.push_back(variables_of(statement));
    if (!is_small_) {
        groups_ = groups_of(unit_);
        return;
    }
    for (std::size_t i = 0; i < unit_.statements.size(); ++i) groups_.push_back({i, i + 1});
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

/// What neighbours write stands side by side, each variable of theirs in a row of its own; the rest behind.
void Writer::place_all() {
    for (const group_t& group : groups_) {
        const statement_t& first = unit_.statements[group.begin];
        const std::size_t target = first.sources.size(), count = variables_[group.begin].size();
        for (std::size_t which = target; which < count; ++which)
            for (std::size_t i = group.begin; i < group.end; ++i) place(variable(i, which));
    }
    for (std::size_t i = 0; i < unit_.cells.size(); ++i) place(static_cast<cell_number>(i));
}

void Writer::set_initial() {
    for (std::size_t i = 0; i < unit_.cells.size(); ++i) {
        const auto& cell = unit_.cells[i];
        if (cell.role == role_t::table) continue;
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

/// A parameter that has one value in all of the piece, as a constant; "" for all else.
std::string Writer::literal_of(group_t piece, std::size_t which) const {
    const auto& cell = unit_.cell(variable(piece.begin, which));
    if (cell.role != role_t::parameter) return {};
    for (std::size_t i = piece.begin; i < piece.end; ++i)
        if (unit_.cell(variable(i, which)).initial != cell.initial) return {};
    return format("(({}){})", tessel::exact::type_text(cell.type),
                  tessel::exact::constant_text(cell.type, cell.initial));
}

std::string Writer::table_access(group_t piece, std::size_t which) {
    const std::string index = access_of(piece, which);  // "f64[12 + i]"
    return format("(&m->{})", index);
}

/// The element of an array that a variable of statement `i` of the piece is: one and the same, one after the other, or
/// as a list has it.
std::string Writer::access_of(group_t piece, std::size_t which) {
    const place_t first = place_of(variable(piece.begin, which));
    const char* member = Layout::member(first.type);
    std::vector<std::uint32_t> indices;
    for (std::size_t i = piece.begin; i < piece.end; ++i) indices.push_back(place_of(variable(i, which)).index);
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

/// A piece as one loop, or as the statement that it is. Its first statement is written with variables that depend on i.
void Writer::write_piece(group_t piece, cell_number gate) {
    const statement_t& statement = unit_.statements[piece.begin];
    for (std::size_t which = 0; which < variables_[piece.begin].size(); ++which) {
        const cell_number number = variable(piece.begin, which);
        if (number == no_cell) continue;
        auto& cell = unit_.cell(number);
        const std::string literal = literal_of(piece, which);
        const bool is_table = cell.role == role_t::table;
        const bool is_own_flag = cell.role == role_t::flag && number == statement.target;
        cell.kept = literal.empty() && !is_table && !is_own_flag;
        if (!literal.empty()) cell.access = literal;
        else if (is_own_flag) cell.access = format("flag{}", number);
        else cell.access = is_table ? table_access(piece, which) : access_of(piece, which);
    }
    const auto own_place = place_of(statement.target);
    if (gate != no_cell) {
        auto& flag = unit_.cell(gate);
        flag.kept = true;
        flag.access = format("b[{}]", place_of(gate).index);
    }
    const cell_number around = tessel::exact::gate_of(unit_, statement);
    std::string head = around != no_cell ? format("if ({}) ", program_.at(around)) : "";
    if (piece.size() > 1) head += format("for (uint32_t i = 0; i < {}; ++i) ", piece.size());
    line(head + "{");
    for (const std::string& text : tessel::exact::write_statement(program_, statement).lines) line(text);
    if (unit_.cell(statement.target).role == role_t::flag)
        line(format("m->b[{}] = flag{};", own_place.index, statement.target));
    line("}");
}

void Writer::write_group(group_t group) {
    begin_function();
    const cell_number gate = unit_.statements[group.begin].gate;
    if (group.size() >= shortest_loop) {
        if (group.size() > 1) ++result_.loops;
        write_piece(group, gate);
        in_function_ += 4;
        return;
    }
    for (std::size_t i = group.begin; i < group.end; ++i) {
        write_piece({i, i + 1}, gate);
        ++in_function_;
    }
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
    find_groups();
    place_all();
    set_initial();
    for (const group_t& group : groups_) write_group(group);
    if (functions_ != 0) line("}\n");
    std::string calls;
    for (std::size_t i = 0; i < unit_.cells.size(); ++i)
        if (unit_.cells[i].role == role_t::flag) calls += format("m->b[{}] = false;\n", result_.places[i].index);
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
