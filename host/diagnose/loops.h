// Zones of blocks, and the loops that have none.
#pragma once

#include <vector>

#include "host/diagnose/typing.h"
#include "host/diagnose/wiring.h"

namespace zarn {

/// Lets the blocks work out their zones. Returns those that never get one: they wait for each other, or for such.
std::vector<std::size_t> work_out_zones(const graph_t& graph, const wiring_t& wiring);

/// Reports the loops among blocks without a zone.
void check_loops(const graph_t& graph, const wiring_t& wiring, const std::vector<std::size_t>& waiting, Report& report);

}  // namespace zarn
