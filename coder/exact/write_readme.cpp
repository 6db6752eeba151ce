// The page of a program: its interface as tables.

#include "coder/exact/columns.h"
#include "coder/exact/layout.h"
#include "coder/exact/project.h"
#include "core/format.h"

namespace tessel::exact {
namespace {

std::string row(const unit_t& unit, cell_number number, bool with_value) {
    const cell_t& cell = unit.cell(number);
    std::string type = type_text(cell.type), value;
    if (cell.role == role_t::table) {
        type += tessel::format("[{}]", room_of(unit, number));
        value = "see the code";
    } else {
        value = constant_text(cell.type, cell.initial);
    }
    std::string text = tessel::format("| `{}` | {} | ", cell.access, type);
    if (with_value) text += tessel::format("{} | ", value);
    return text + tessel::format("{}{}{} |\n", cell.path, cell.key.empty() ? "" : ", " + cell.key,
                                 cell.of_last_step ? "; the value of the step before" : "");
}

std::string table(const unit_t& unit, const char* title, std::initializer_list<role_t> roles, bool with_value) {
    std::string rows;
    for (std::size_t i = 0; i < unit.cells.size(); ++i)
        for (const role_t role : roles)
            if (unit.cells[i].role == role && unit.cells[i].kept)
                rows += row(unit, static_cast<cell_number>(i), with_value);
    if (rows.empty()) return {};
    return tessel::format("## {}\n\n| member | type |{} block |\n|---|---|{}---|\n{}\n", title,
                          with_value ? " value |" : "", with_value ? "---|" : "", rows);
}

}  // namespace

text_file_t write_readme(const unit_t& unit, const std::string& picture) {
    const std::string& n = unit.name;
    const auto number = [](double v) { return constant_text(type_flt64, bits_of(v)); };
    std::string text =
        tessel::format("# {}\n\nThe model {}{} as C. It computes what a run of the model computes, bit for bit.\n", n,
                       unit.model, unit.part.empty() ? "" : ", part " + unit.part);
    text += tessel::format("Model {}; made by `zarn export c`, do not edit.\n\n", unit.meaning);
    if (!picture.empty()) text += tessel::format("![{}]({})\n\n", n, picture);
    text += tessel::format(
        "    {0}_t m;\n    {0}_init(&m);     /* time {1} s, parameters as in the model */\n    {0}_step(&m);     /* "
        "{2} s "
        "further: reads m.inputs and m.parameters, writes the rest */\n    {0}_run(&m, 10u); /* ten steps */\n\n",
        n, number(unit.ti), number(unit.ts));
    text += tessel::format("A run of the model goes to {} s. `{}.c` and `{}.h` are all that a program needs.\n\n",
                           number(unit.tf), n, n);
    text += table(unit, "Inputs", {role_t::input}, false) + table(unit, "Outputs", {role_t::output}, false) +
            table(unit, "Parameters", {role_t::parameter, role_t::table}, true) +
            table(unit, "Signals", {role_t::signal}, false) + table(unit, "States", {role_t::state}, false);
    text += tessel::format(
        "## Building\n\n`make test` runs `{0}_test`, the first steps of a run beside the program; `make report` tells "
        "sizes "
        "and stack. `{0}_main [IN.csv] > OUT.csv` runs it as long as the model runs. Flags that matter:\n\n    {1}\n",
        n, compiler_flags);
    if (!unit.notes.empty()) text += "\n## Notes\n\n";
    for (const std::string& note : unit.notes) text += "- " + note + "\n";
    return {"README.md", text};
}

}  // namespace tessel::exact
