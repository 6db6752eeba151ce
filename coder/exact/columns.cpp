#include "coder/exact/columns.h"

#include <map>

#include "core/format.h"

namespace tessel::exact {

std::vector<column_t> input_columns(const unit_t& unit) {
    constexpr std::size_t lead = std::string_view("inputs.").size();
    std::vector<column_t> columns;
    for (const cell_number number : unit.of(role_t::input))
        columns.push_back({unit.cell(number).access.substr(lead), number});
    return columns;
}

std::vector<column_t> signal_columns(const unit_t& unit) {
    std::map<std::string_view, int> uses;
    for (const port_t& port : unit.ports) ++uses[port.path];
    std::vector<column_t> columns;
    for (const port_t& port : unit.ports) {
        if (!unit.cell(port.cell).kept) continue;
        std::string name = port.path;
        if (uses[port.path] > 1) name += tessel::format("#{}", port.block);
        columns.push_back({std::move(name), port.cell});
    }
    return columns;
}

}  // namespace tessel::exact
