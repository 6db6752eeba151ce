#include "coder/exact/unit.h"

#include <algorithm>

namespace tessel::exact {

std::vector<cell_number> unit_t::of(role_t role) const {
    std::vector<cell_number> found;
    for (std::size_t i = 0; i < cells.size(); ++i)
        if (cells[i].role == role) found.push_back(static_cast<cell_number>(i));
    return found;
}

const port_t* unit_t::find(std::string_view path, std::int16_t port) const {
    const auto at = std::ranges::find_if(ports, [&](const port_t& p) { return p.path == path && p.port == port; });
    return at != ports.end() ? &*at : nullptr;
}

const port_t* unit_t::find(std::uint64_t block, std::int16_t port) const {
    const auto at = std::ranges::find_if(ports, [&](const port_t& p) { return p.block == block && p.port == port; });
    return at != ports.end() ? &*at : nullptr;
}

}  // namespace tessel::exact
