// Which block is which symbol: for readers of the code, calibrators and tools.

#include <algorithm>
#include <limits>
#include <nlohmann/json.hpp>

#include "coder/exact/columns.h"
#include "coder/exact/layout.h"
#include "coder/exact/project.h"
#include "core/format.h"
#include "core/str.h"
#include "formula/words.h"

namespace tessel::exact {
namespace {

using json = nlohmann::ordered_json;

std::size_t aligned(std::size_t at, std::size_t to) { return (at + to - 1) / to * to; }

class Placing {
public:
    Placing(const unit_t& unit, places_t& places) : unit_(unit), places_(places) {}

    /// The strictest alignment among the members.
    std::size_t alignment(const member_t& member) const {
        if (member.cell != no_cell) return size_of(unit_.cell(member.cell).type);
        std::size_t widest = 1;
        for (const auto& inner : member.members) widest = std::max(widest, alignment(*inner));
        return widest;
    }
    /// Puts a member at or behind a place; the end of it.
    std::size_t put(const member_t& member, std::size_t at) {
        at = aligned(at, alignment(member));
        if (member.cell != no_cell) {
            places_.offsets[member.cell] = at;
            const cell_t& cell = unit_.cell(member.cell);
            return at + size_of(cell.type) * (cell.role == role_t::table ? room_of(unit_, member.cell) : 1);
        }
        for (const auto& inner : member.members) at = put(*inner, at);
        return aligned(at, alignment(member));
    }

private:
    const unit_t& unit_;
    places_t& places_;
};

const char* word_of(role_t role) {
    static constexpr const char* words[] = {"input", "output", "parameter", "table", "signal", "state", "flag"};
    return words[static_cast<std::size_t>(role)];
}

json symbol_of(const unit_t& unit, cell_number number, const places_t& places) {
    const cell_t& cell = unit.cell(number);
    json symbol{{"role", word_of(cell.role)}, {"symbol", cell.access}, {"type", type_text(cell.type)}};
    if (!cell.key.empty()) symbol["key"] = cell.key;
    if (cell.role == role_t::table) symbol["count"] = room_of(unit, number);
    if (cell.of_last_step) symbol["of_last_step"] = true;
    if (cell.kept) symbol["offset"] = places.offsets.at(number);
    else symbol["kept"] = false;
    return symbol;
}

}  // namespace

places_t places_of(const unit_t& unit) {
    places_t places;
    Placing placing(unit, places);
    std::size_t at = 16;  // behind `time` and `tick`
    const member_t layout = layout_of(unit);
    for (const auto& part : layout.members)
        if (!part->members.empty()) at = placing.put(*part, at);
    places.size = aligned(at, 8);
    return places;
}

text_file_t write_trace(const unit_t& unit) {
    const places_t places = places_of(unit);
    std::vector<std::size_t> lines;
    write_source(unit, &lines);
    json blocks = json::array();
    std::map<std::uint64_t, std::size_t> block_at;
    const auto block_of = [&](std::uint64_t id, const std::string& path) -> json& {
        const auto [at, fresh] = block_at.try_emplace(id, blocks.size());
        if (fresh) blocks.push_back(json{{"path", path}, {"id", id}, {"symbols", json::array()}});
        return blocks[at->second];
    };
    for (std::size_t i = 0; i < unit.statements.size(); ++i) {
        const statement_t& statement = unit.statements[i];
        json& block = block_of(statement.block, statement.path);
        block["class"] = statement.class_name;
        block["line"] = lines[i];
        block["formula"] = lines_of(statement.formula);
    }
    for (std::size_t i = 0; i < unit.cells.size(); ++i)
        block_of(unit.cells[i].block, unit.cells[i].path)["symbols"].push_back(
            symbol_of(unit, static_cast<cell_number>(i), places));
    const json trace{{"schema", 1},
                     {"name", unit.name},
                     {"model", unit.model},
                     {"meaning", unit.meaning},
                     {"part", unit.part},
                     {"time", {{"start", unit.ti}, {"end", unit.tf}, {"step", unit.ts}}},
                     {"layout",
                      {{"structure", unit.name + "_t"},
                       {"size", places.size},
                       {"alignment", "each number at a multiple of its size"}}},
                     {"blocks", std::move(blocks)}};
    return {unit.name + ".json", trace.dump(1, ' ', false, json::error_handler_t::replace) + "\n"};
}

// ---- for calibration tools

namespace {

const char* a2l_type(type_t type) {
    switch (type) {
        case type_bool:
        case type_uint8: return "UBYTE";
        case type_int8: return "SBYTE";
        case type_int16: return "SWORD";
        case type_uint16: return "UWORD";
        case type_int32: return "SLONG";
        case type_uint32: return "ULONG";
        case type_int64: return "A_INT64";
        case type_uint64: return "A_UINT64";
        case type_flt32: return "FLOAT32_IEEE";
        default: return "FLOAT64_IEEE";
    }
}

/// Lowest and highest value of a type.
std::string limits_of(type_t type) {
    std::string text;
    with_type(type, [&]<class T>(T) {
        using limits = std::numeric_limits<T>;
        if constexpr (std::is_same_v<T, bool>) text = "0 1";
        else text = tessel::format("{} {}", +limits::lowest(), +limits::max());
    });
    return text;
}

std::string in_quotes(std::string text) {
    std::ranges::replace(text, '"', '\'');
    return "\"" + text + "\"";
}

std::string link_of(const unit_t& unit, const cell_t& cell, std::size_t offset) {
    return tessel::format("      SYMBOL_LINK \"{}.{}\" 0\n", unit.name, cell.access) +
           tessel::format("      /* {} bytes from the structure's begin */\n", offset);
}

std::string measurement(const unit_t& unit, const cell_t& cell, std::size_t offset) {
    return tessel::format(
        "    /begin MEASUREMENT {0}.{1} {2} {3} NO_COMPU_METHOD 0 0 {4}\n      ECU_ADDRESS {5:#x}\n{6}    /end "
        "MEASUREMENT\n",
        unit.name, cell.access, in_quotes(cell.path), a2l_type(cell.type), limits_of(cell.type), offset,
        link_of(unit, cell, offset));
}

std::string characteristic(const unit_t& unit, const cell_t& cell, std::size_t offset, std::size_t count) {
    const bool table = cell.role == role_t::table;
    return tessel::format(
        "    /begin CHARACTERISTIC {0}.{1} {2} {3} {4:#x} layout_{5} 0 NO_COMPU_METHOD {6}\n{7}{8}    /end "
        "CHARACTERISTIC\n",
        unit.name, cell.access, in_quotes(cell.path + " " + cell.key), table ? "VAL_BLK" : "VALUE", offset,
        a2l_type(cell.type), limits_of(cell.type), table ? tessel::format("      NUMBER {}\n", count) : std::string(),
        link_of(unit, cell, offset));
}

}  // namespace

text_file_t write_a2l(const unit_t& unit) {
    const places_t places = places_of(unit);
    std::string text = banner_of(unit);
    text += "ASAP2_VERSION 1 60\n/begin PROJECT " + unit.name + " \"\"\n  /begin MODULE " + unit.name + " \"\"\n";
    for (const type_t type : {type_uint8, type_int8, type_uint16, type_int16, type_uint32, type_int32, type_uint64,
                              type_int64, type_flt32, type_flt64})
        text += tessel::format(
            "    /begin RECORD_LAYOUT layout_{0}\n      FNC_VALUES 1 {0} ROW_DIR DIRECT\n    /end RECORD_LAYOUT\n",
            a2l_type(type));
    for (const auto& [number, offset] : places.offsets) {
        const cell_t& cell = unit.cell(number);
        const bool tuned = cell.role == role_t::parameter || cell.role == role_t::table;
        text += tuned ? characteristic(unit, cell, offset, room_of(unit, number)) : measurement(unit, cell, offset);
    }
    text += "  /end MODULE\n/end PROJECT\n";
    return {unit.name + ".a2l", text};
}

}  // namespace tessel::exact
