#include "coder/exact/layout.h"

#include <algorithm>

#include "coder/exact/write_c.h"
#include "core/format.h"

namespace tessel::exact {
namespace {

std::string indent(int level) { return std::string(static_cast<std::size_t>(level) * 4, ' '); }

member_t& member_of(member_t& structure, std::string_view name) {
    if (const auto found = structure.by_name.find(name); found != structure.by_name.end()) return *found->second;
    structure.members.push_back(std::make_unique<member_t>());
    member_t& added = *structure.members.back();
    added.name = name;
    structure.by_name.emplace(added.name, &added);
    return added;
}

/// " = 0.00488519785" for a number that stands there in hexadecimal.
std::string rounded(const unit_t& unit, const member_t& member) {
    if (member.cell == no_cell || unit.cell(member.cell).role == role_t::table) return {};
    const cell_t& cell = unit.cell(member.cell);
    if (constant_text(cell.type, cell.initial).find("0x") == std::string::npos) return {};
    const double v = cell.type == type_flt32 ? double{from_bits<float>(cell.initial)} : from_bits<double>(cell.initial);
    return tessel::format(" = {:.9g}", v);
}

}  // namespace

member_t layout_of(const unit_t& unit) {
    member_t top;
    for (const char* name : {"inputs", "outputs", "parameters", "signals", "states"}) member_of(top, name);
    for (std::size_t i = 0; i < unit.cells.size(); ++i) {
        const cell_t& cell = unit.cells[i];
        if (!cell.kept) continue;
        member_t* at = &top;
        std::string_view rest = cell.access;
        while (!rest.empty()) {
            const std::size_t end = std::min(rest.find('.'), rest.size());
            at = &member_of(*at, rest.substr(0, end));
            rest.remove_prefix(std::min(end + 1, rest.size()));
        }
        at->cell = static_cast<cell_number>(i);
    }
    return top;
}

std::size_t room_of(const unit_t& unit, cell_number table) {
    // only a series is read behind its end
    const cell_t& cell = unit.cell(table);
    return std::max<std::size_t>(cell.values.size() + (cell.is_series ? 1 : 0), 1);
}

double element_of(const cell_t& table, std::size_t i) {
    return table.values.empty() ? 0.0 : table.values[std::min(i, table.values.size() - 1)];
}

std::string table_text(const unit_t& unit, cell_number table, int level) {
    constexpr std::size_t widest = 100;
    const cell_t& cell = unit.cell(table);
    const std::size_t room = room_of(unit, table);
    std::string text = "{", line;
    for (std::size_t i = 0; i < room; ++i) {
        const std::string value = constant_text(type_flt64, bits_of(element_of(cell, i))) + (i + 1 < room ? ", " : "");
        if (line.size() + value.size() + indent(level + 1).size() > widest) {
            text += "\n" + indent(level + 1) + line.substr(0, line.find_last_not_of(' ') + 1);
            line.clear();
        }
        line += value;
    }
    if (text.size() == 1) return text + line + "}";
    return text + "\n" + indent(level + 1) + line + "}";
}

void write_members(std::string& text, const unit_t& unit, const member_t& structure, int level) {
    for (const auto& member : structure.members) {
        if (member->cell == no_cell) {
            text += indent(level) + "struct {\n";
            write_members(text, unit, *member, level + 1);
            text += tessel::format("{}}} {};\n", indent(level), member->name);
            continue;
        }
        const cell_t& cell = unit.cell(member->cell);
        text += tessel::format("{}{} {}", indent(level), type_text(cell.type), member->name);
        if (cell.role == role_t::table) text += tessel::format("[{}]", room_of(unit, member->cell));
        text += cell.of_last_step ? "; /* of the step before */\n" : ";\n";
    }
}

void write_initial(std::string& text, const unit_t& unit, const member_t& structure, int level) {
    for (const auto& member : structure.members) {
        const bool last = member == structure.members.back();
        text += indent(level);
        if (member->cell == no_cell) {
            text += "{\n";
            write_initial(text, unit, *member, level + 1);
            text += indent(level) + "}";
        } else {
            const cell_t& cell = unit.cell(member->cell);
            text += cell.role == role_t::table ? table_text(unit, member->cell, level)
                                               : constant_text(cell.type, cell.initial);
        }
        text += tessel::format("{} /* {}{} */\n", last ? "" : ",", member->name, rounded(unit, *member));
    }
}

}  // namespace tessel::exact
