// Where two ways of running a model begin to differ.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/verify/way.h"

namespace zarn::verify {

/// What an input of a block held in the reference, and in the way where it shows that.
struct input_value_t {
    std::int16_t port = 0;
    tessel::type_t type = tessel::type_unknown;
    std::uint64_t expected = 0;
    std::optional<std::uint64_t> got{};
};

/// The first port at which a way differs from the reference.
struct difference_t {
    enum class kind_t : std::uint8_t {
        value,     ///< a port has another value behind a step
        final,     ///< a port has another value behind the whole run only
        steps,     ///< the runs took different numbers of steps
        unsteady,  ///< a run differs from the same run before
    } kind = kind_t::value;
    watched_t port{};
    std::uint64_t step = 0;
    double time = 0.0;
    std::uint64_t expected = 0, got = 0;  ///< bits of the values; for `steps` the numbers of steps
    std::vector<input_value_t> inputs{};  ///< of the port's block, where one was found; see `add_inputs`
};

/// Where the way differs from a reference that shows the same ports in the same order, nothing where it does not.
/// `expected` and `got` are what they left of a run of at most `steps` steps; both run again to find the first
/// difference.
std::optional<difference_t> compare(Way& reference, const seen_t& expected, Way& way, const seen_t& got,
                                    std::uint64_t steps);

/// Adds what the inputs of the block held: `all` is the reference with every port.
void add_inputs(difference_t& difference, Way& all, Way& way, std::uint64_t steps);

/// A value of a type as text, from its bits: "0.1 (0x3fb999999999999a)".
std::string value_text(tessel::type_t type, std::uint64_t bits);
/// Steps of the type's grid between two floats of it, `never` where one is no number.
std::uint64_t ulps_between(tessel::type_t type, std::uint64_t a, std::uint64_t b);

}  // namespace zarn::verify
