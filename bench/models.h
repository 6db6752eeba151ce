// The benchmark models as model files.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace bench {

/// Time step of all benchmark models, in seconds.
inline constexpr double step_s = 0.001;

/// The model file of a control loop of 18 blocks: a PI-D controller on a first-order plant. `y_id` is the block whose
/// output is the loop's y.
std::string control_loop(std::size_t steps);
inline constexpr std::uint64_t y_id = 2000000000000018;

/// The model file of `chains` independent chains of 8 blocks: sine, factor, offset, delay, table, sum.
std::string chain_farm(std::size_t chains, std::size_t steps);

/// Id of the block whose output is chain i's o.
std::uint64_t chain_output(std::size_t i);

/// The model file of `chains` independent counters with arithmetic on them, 6 blocks each, whose ports have the type
/// `input` at the constants and `state` at the delays.
std::string typed_farm(std::size_t chains, std::size_t steps, const char* input, const char* state);

/// The model file of `width` chains of `zones` blocks each, one in every zone: sine, then factor, offset and table in
/// turn. The factor and the offset are one constant each for all chains.
std::string wide_zones(std::size_t zones, std::size_t width, std::size_t steps);

}  // namespace bench
