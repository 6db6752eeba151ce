#include "coder/fmu/interface.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string_view>
#include <type_traits>
#include <unordered_map>
#include <utility>

#include "coder/fmu/names.h"
#include "core/format.h"
#include "formula/formula.h"

namespace tessel::fmu {
namespace {

using exact::cell_number;
using exact::cell_t;
using exact::role_t;

/// Longer tables are data: a description with their values would not open.
constexpr std::size_t longest_table = 1000;

/// Whether version 2 has a type that holds all values of this one: Real, Integer with 32 bits, Boolean.
bool fits_version_2(type_t type) { return type != type_uint32 && type != type_int64 && type != type_uint64; }

class Maker {
public:
    Maker(const exact::unit_t& unit, version_t version) : unit_(unit), facts_(unit), names_(unit) {
        made_.version = version;
        variable_t time;
        time.causality = causality_t::independent;
        time.unit = "s";
        made_.variables.push_back(std::move(time));
    }

    interface_t make(bool all_signals) {
        for (const cell_number cell : unit_.of(role_t::input)) add_port(cell, causality_t::input);
        for (const cell_number cell : unit_.of(role_t::output)) add_port(cell, causality_t::output);
        for (const cell_number cell : unit_.of(role_t::parameter)) add(cell, causality_t::parameter);
        if (made_.version == version_t::three)
            for (const cell_number cell : unit_.of(role_t::table))
                if (count_of(unit_.cell(cell)) > 0 && count_of(unit_.cell(cell)) <= longest_table)
                    add(cell, causality_t::parameter);
        if (all_signals)
            for (const cell_number cell : unit_.of(role_t::signal)) add_signal(cell);
        // behind all others, so that no port of the model gives way to it
        made_.variables[0].name = names_.unique("time");
        made_.variables[0].description = "time of the communication point";
        add_dependencies();
        return std::move(made_);
    }

private:
    bool fits(const cell_t& cell) const { return made_.version == version_t::three || fits_version_2(cell.type); }

    void add_port(cell_number number, causality_t causality) {
        const cell_t& cell = unit_.cell(number);
        if (!fits(cell))
            throw exact::Refusal(format(
                "{} ({}): version 2 of the interface has no type for {}; take --fmi 3, or put a cast to int32 or "
                "flt64 before it",
                cell.path, causality == causality_t::input ? "input" : "output", short_name(cell.type)));
        add(number, causality);
    }

    /// What an input or an output shows under its own name is not shown twice.
    void add_signal(cell_number number) {
        const cell_t& cell = unit_.cell(number);
        if (cell.port == 0 && names_.has(names_.below_root(cell.path))) return;
        add(number, causality_t::local);
    }

    void add(cell_number number, causality_t causality) {
        const cell_t& cell = unit_.cell(number);
        if (!cell.kept) return;
        if (!fits(cell)) {
            made_.left_out.push_back(format("{} is of type {}, for which version 2 of the interface has no type",
                                            cell.path + (cell.key.empty() ? "" : "." + cell.key),
                                            short_name(cell.type)));
            return;
        }
        const bool is_float = cell.type == type_flt64 || cell.type == type_flt32;
        const fact_t fact = facts_.of(cell);
        number_of_.emplace(number, static_cast<variable_number>(made_.variables.size()));
        made_.variables.push_back(
            {names_.of(cell), causality, cell.type, number, fact.description, is_float ? fact.unit : std::string()});
    }

    void add_dependencies() {
        std::vector<variable_number> outputs;
        std::vector<cell_number> cells;
        for (std::size_t i = 0; i < made_.variables.size(); ++i) {
            if (made_.variables[i].causality != causality_t::output) continue;
            outputs.push_back(static_cast<variable_number>(i));
            cells.push_back(made_.variables[i].cell);
        }
        auto found = dependencies_of(unit_, cells);
        for (std::size_t i = 0; i < outputs.size(); ++i) made_.dependencies.push_back({outputs[i], numbers(found[i])});
    }

    /// What is no variable (a long table, a type that was left out) cannot change.
    std::vector<variable_number> numbers(const std::vector<cell_number>& cells) const {
        std::vector<variable_number> result;
        for (const cell_number cell : cells) {
            const auto found = number_of_.find(cell);
            if (cell == exact::no_cell) result.push_back(0);
            else if (found != number_of_.end()) result.push_back(found->second);
        }
        std::sort(result.begin(), result.end());
        return result;
    }

    const exact::unit_t& unit_;
    Facts facts_;
    Names names_;
    interface_t made_;
    std::unordered_map<cell_number, variable_number> number_of_;
};

template <class T>
std::string shortest(T value) {
    if (std::isnan(value)) return "NaN";
    if (std::isinf(value)) return value > 0 ? "INF" : "-INF";
    char text[64];
    const auto end = std::to_chars(text, text + sizeof text, value).ptr;
    return {text, end};
}

}  // namespace

interface_t make_interface(const exact::unit_t& unit, version_t version, bool all_signals) {
    return Maker(unit, version).make(all_signals);
}

std::string number_text(double value) { return shortest(value); }
std::string number_text(float value) { return shortest(value); }

std::string value_text(type_t type, std::uint64_t bits) {
    std::string text;
    with_type(type, [&]<class T>(T) {
        const T value = from_bits<T>(bits);
        if constexpr (std::is_same_v<T, bool>) text = value ? "true" : "false";
        else if constexpr (std::is_floating_point_v<T>) text = number_text(value);
        else text = std::to_string(value);
    });
    return text;
}

}  // namespace tessel::fmu
