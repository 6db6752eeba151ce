#include "coder/exact/write_c.h"

#include <algorithm>
#include <cctype>

#include "coder/exact/columns.h"
#include "coder/exact/layout.h"
#include "coder/exact/step.h"
#include "core/format.h"
#include "core/str.h"
#include "formula/words.h"

namespace tessel::exact {
namespace {

constexpr std::size_t widest = 110;

/// A line cut where it is too long, at blanks; what follows is indented.
void add_line(std::string& text, int level, std::string_view line, std::string_view lead = "        ") {
    const std::string indent(static_cast<std::size_t>(level) * 4, ' ');
    std::string head = indent;
    while (head.size() + line.size() > widest) {
        std::size_t cut = line.rfind(' ', widest - head.size());
        if (cut == std::string_view::npos || cut == 0) cut = line.find(' ');
        if (cut == std::string_view::npos) break;
        text += head + std::string(line.substr(0, cut)) + "\n";
        line.remove_prefix(cut + 1);
        head = indent + std::string(lead);
    }
    text += head + std::string(line) + "\n";
}

/// A comment may hold any text of the model.
void add_comment(std::string& text, int level, std::string line) {
    for (const char* mark : {"*/", "/*"}) str::replace_all(line, mark, "* /");
    add_line(text, level, "/* " + line + " */", " * ");
}

std::string joined(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) text += (text.empty() ? "" : "; ") + line;
    return text;
}

std::string number(double v) { return constant_text(type_flt64, bits_of(v)); }

std::string upper(std::string text) {
    for (char& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return text;
}

/// Whether a text has constants that are no numbers.
bool names_infinity(const std::string& text) {
    return text.find("INFINITY") != std::string::npos || text.find("NAN") != std::string::npos;
}

const member_t& member(const member_t& top, std::string_view name) { return *top.by_name.find(name)->second; }

// ---- the source

class Source {
public:
    explicit Source(const unit_t& unit) : unit_(unit), program_(unit), layout_(layout_of(unit)) {}

    std::string take(std::vector<std::size_t>* lines) {
        write_step();  // it tells what it needs
        std::string text = banner_of(unit_) + tessel::format("#include \"{}.h\"\n", unit_.name);
        const bool sizes = program_.rules.need_sizes();
        const std::string rest = constants_text() + init_text();
        const bool math = program_.math || program_.rules.need_math() || names_infinity(rest) || names_infinity(step_);
        if (math || sizes) text += "\n";
        if (math) text += "#include <math.h>\n";
        if (sizes) text += "#include <stddef.h>\n";
        text += "\n" + assumptions() + program_.rules.text() + rest;
        if (lines != nullptr) tell_lines(*lines, 1 + std::ranges::count(text, '\n'));
        return text + step_ + run_text();
    }

private:
    std::string assumptions() const;
    std::string constants_text() const;
    std::string init_text() const;
    std::string run_text() const;
    void tell_lines(std::vector<std::size_t>& lines, std::ptrdiff_t line) const;
    void write_step();
    void write_body();
    void assign_initial(std::string& text, const member_t& structure, const std::string& place) const;

    const unit_t& unit_;
    program_t program_;
    member_t layout_;
    std::string step_;
    std::vector<std::size_t> places_;  // of the statements in it
};

std::string Source::assumptions() const {
    std::string text = "/* What the code takes for granted. */\n";
    text += "#if defined(__FLT_EVAL_METHOD__) && __FLT_EVAL_METHOD__ != 0 && __FLT_EVAL_METHOD__ != 16\n";
    text += "#error \"floating point values must be computed in their own type\"\n#endif\n";
    text += "#if defined(__clang__)\n#pragma STDC FP_CONTRACT OFF\n#endif\n";
    text += tessel::format(
        "typedef char {0}_expects_words[(sizeof(int) == 4 && sizeof(float) == 4 && sizeof(double) == 8) "
        "? 1 : -1];\n\n",
        unit_.name);
    return text;
}

/// Inlined parameters and tables as constants, the values of parameters that a program starts with as one structure.
std::string Source::constants_text() const {
    std::string text;
    for (std::size_t i = 0; i < unit_.cells.size(); ++i) {
        const cell_t& cell = unit_.cells[i];
        const auto cell_at = static_cast<cell_number>(i);
        if (cell.kept || !program_.constants.contains(cell_at)) continue;
        if (cell.role == role_t::parameter)
            text += tessel::format("static const {} {} = {};\n", type_text(cell.type), cell.access,
                                   constant_text(cell.type, cell.initial));
        else if (cell.role == role_t::table)
            text += tessel::format("static const double {}[{}] = {};\n", cell.access, room_of(unit_, cell_at),
                                   table_text(unit_, cell_at, 0));
    }
    if (!text.empty()) text += "\n";
    const member_t& parameters = member(layout_, "parameters");
    if (parameters.members.empty()) return text;
    text += tessel::format("/* The model's values. */\nstatic const {0}_parameters_t {0}_defaults = {{\n", unit_.name);
    write_initial(text, unit_, parameters, 1);
    return text + "};\n\n";
}

void Source::assign_initial(std::string& text, const member_t& structure, const std::string& place) const {
    for (const auto& member : structure.members) {
        const std::string own = place + member->name;
        if (member->cell == no_cell) {
            assign_initial(text, *member, own + ".");
            continue;
        }
        const cell_t& cell = unit_.cell(member->cell);
        const std::string value = cell.starts_as_time ? "m->time" : constant_text(cell.type, cell.initial);
        text += tessel::format("    {} = {};\n", own, value);
    }
}

std::string Source::init_text() const {
    std::string text = tessel::format("void {0}_init({0}_t *m)\n{{\n", unit_.name);
    text += tessel::format("    m->time = {};\n    m->tick = 0u;\n", number(unit_.ti));
    if (!member(layout_, "parameters").members.empty())
        text += tessel::format("    m->parameters = {}_defaults;\n", unit_.name);
    for (const char* name : {"inputs", "outputs", "signals", "states"})
        assign_initial(text, member(layout_, name), tessel::format("m->{}.", name));
    return text + "}\n\n";
}

void Source::write_body() {
    cell_number gate = no_cell;
    std::string around;
    bool first = true;
    for (const statement_t& statement : unit_.statements) {
        const cell_number own = gate_of(unit_, statement);
        if (own != gate && gate != no_cell) step_ += "    }\n";
        const std::string subsystem =
            statement.path.substr(0, std::min(statement.path.rfind('.'), statement.path.size()));
        if (subsystem != around || first) {
            if (!first) step_ += "\n";
            add_comment(step_, 1, "---- " + (subsystem.empty() ? unit_.name : subsystem));
        }
        if (own != gate && own != no_cell) step_ += tessel::format("    if ({}) {{\n", program_.at(own));
        around = subsystem;
        gate = own;
        first = false;
        const int level = gate != no_cell ? 2 : 1;
        const lines_t lines = write_statement(program_, statement);
        if (!lines.simple)
            add_comment(step_, level,
                        tessel::format("{} ({}): {}", statement.path.substr(statement.path.rfind('.') + 1),
                                       statement.class_name, joined(lines_of(statement.formula))));
        places_.push_back(step_.size());
        for (const std::string& line : lines.lines) add_line(step_, level, line);
    }
    if (gate != no_cell) step_ += "    }\n";
    if (!first) step_ += "\n";
}

void Source::tell_lines(std::vector<std::size_t>& lines, std::ptrdiff_t line) const {
    auto at = step_.begin();
    for (const std::size_t place : places_) {
        const auto next = step_.begin() + static_cast<std::ptrdiff_t>(place);
        line += std::count(at, next, '\n');
        at = next;
        lines.push_back(static_cast<std::size_t>(line));
    }
}

void Source::write_step() {
    for (const std::string& note : unit_.notes) add_comment(step_, 0, note);
    step_ += tessel::format("void {0}_step({0}_t *m)\n{{\n", unit_.name);
    write_body();
    step_ += tessel::format("    m->time = m->time + {};\n    m->tick++;\n}}\n\n", number(unit_.ts));
}

std::string Source::run_text() const {
    return tessel::format(
        "void {0}_run({0}_t *m, uint32_t steps)\n{{\n    uint32_t i;\n    for (i = 0u; i < steps; i++) {{\n"
        "        {0}_step(m);\n    }}\n}}\n",
        unit_.name);
}

}  // namespace

std::string banner_of(const unit_t& unit) {
    std::string text =
        tessel::format("/* {}: made from {} by zarn", unit.name, unit.model.empty() ? "a model" : unit.model);
    if (!unit.part.empty()) text += tessel::format(", part {}", unit.part);
    text += "; do not edit.";
    str::replace_all(text, "*/", "* /");
    if (!unit.meaning.empty()) text += tessel::format("\n * Model {}", unit.meaning);
    return text + " */\n";
}

text_file_t write_header(const unit_t& unit) {
    const member_t layout = layout_of(unit);
    std::string text = banner_of(unit);
    const std::string guard = upper(unit.name) + "_H";
    text += tessel::format("#ifndef {0}\n#define {0}\n\n#include <stdbool.h>\n#include <stdint.h>\n\n", guard);
    text += "#ifdef __cplusplus\nextern \"C\" {\n#endif\n\n";
    for (const auto& part : layout.members) {
        if (part->members.empty()) continue;
        text += "typedef struct {\n";
        write_members(text, unit, *part, 1);
        text += tessel::format("}} {}_{}_t;\n\n", unit.name, part->name);
    }
    text +=
        "typedef struct {\n    double time;   /* of the next step, in seconds */\n    uint64_t tick; /* steps since "
        "the start */\n";
    for (const auto& part : layout.members)
        if (!part->members.empty()) text += tessel::format("    {0}_{1}_t {1};\n", unit.name, part->name);
    text += tessel::format("}} {0}_t;\n\n", unit.name);
    text += tessel::format("/* Sets every member: the time to {} s, parameters to the model's values. */\n",
                           number(unit.ti));
    text += tessel::format("void {0}_init({0}_t *m);\n", unit.name);
    text += tessel::format("/* One step of {} s: reads inputs and parameters, writes the rest. */\n", number(unit.ts));
    text += tessel::format(
        "void {0}_step({0}_t *m);\n/* That many steps with the same inputs. */\nvoid {0}_run({0}_t *m, uint32_t "
        "steps);\n\n",
        unit.name);
    text += tessel::format("#ifdef __cplusplus\n}}\n#endif\n\n#endif\n");
    return {unit.name + ".h", text};
}

text_file_t write_source(const unit_t& unit, std::vector<std::size_t>* lines) {
    return {unit.name + ".c", Source(unit).take(lines)};
}

text_file_t write_symbols(const unit_t& unit) {
    std::string text = banner_of(unit) + tessel::format("#include \"{0}.h\"\n\n#include <stddef.h>\n\n", unit.name);
    text += tessel::format(
        "typedef struct {{\n    const char *access;\n    const char *path;\n    int32_t port;\n    const char *role;\n"
        "    const char *type;\n    uint64_t offset;\n    uint64_t size;\n}} {0}_symbol_t;\n\n",
        unit.name);
    static constexpr const char* roles[] = {"input", "output", "parameter", "table", "signal", "state", "flag"};
    std::string rows;
    std::size_t count = 0;
    for (const cell_t& cell : unit.cells) {
        if (!cell.kept) continue;
        rows += tessel::format(
            "    {{\"{0}\", \"{1}\", {2}, \"{3}\", \"{4}\", offsetof({5}_t, {0}), sizeof((({5}_t *)0)->{0})}},\n",
            cell.access, cell.path, cell.port, roles[static_cast<std::size_t>(cell.role)], short_name(cell.type),
            unit.name);
        ++count;
    }
    if (count == 0) rows = "    {\"\", \"\", -1, \"\", \"\", 0u, 0u},\n";
    text += tessel::format("const {0}_symbol_t {0}_symbols[] = {{\n{1}}};\nconst uint32_t {0}_symbol_count = {2}u;\n",
                           unit.name, rows, count);
    return {unit.name + "_symbols.c", text};
}

std::vector<text_file_t> write_c(const unit_t& unit) { return {write_header(unit), write_source(unit)}; }

}  // namespace tessel::exact
