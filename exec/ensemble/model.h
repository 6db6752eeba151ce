// What an ensemble is made of: a model as formulas, and what differs from variant to variant.
#pragma once

#include <cstdint>
#include <vector>

#include "core/export.h"
#include "formula/formula.h"

namespace tessel::ensemble {

/// In place of the number of a member: what the host feeds, the same in all lanes.
constexpr std::int32_t fed_source(std::int32_t number) noexcept { return -2 - number; }

/// One block of a model, at its place in stepping order.
struct member_t {
    formula_t formula;
    std::vector<std::int32_t>
        sources;                ///< of each input: the member whose output feeds it, `fed_source`, -1 for nothing
    std::int32_t gate = -1;     ///< the member whose input 0 is the flag that gates this one, -1 for none
    bool ends_on_zero = false;  ///< whether a remainder by 0 ends a run, as where no random number can be drawn
};

/// A model that can run in lanes. The gates' inputs are of type bool.
struct model_t {
    std::vector<member_t> members;
    double ti = 0.0;
    double tf = 0.0;
    double ts = 1.0;
};

/// What of a formula a variant can set.
enum class part_t : std::uint8_t { parameter, state, output, list };

/// One number that differs between variants: a parameter, what a state or the output has before a run, or an element of
/// a list.
struct place_t {
    std::int32_t member = 0;
    part_t part = part_t::parameter;
    std::uint32_t number = 0;   ///< which parameter, state or list
    std::uint32_t element = 0;  ///< of a list
    bool operator==(const place_t&) const = default;
    auto operator<=>(const place_t&) const = default;
};

/// The bytes of the number at a place of a formula.
BLOCKS_API std::uint64_t value_at(const formula_t& formula, const place_t& place) noexcept;

/// Whether two formulas differ in nothing but what places can tell.
BLOCKS_API bool same_shape(const formula_t& a, const formula_t& b) noexcept;

/// Appends the places at which a formula of the same shape differs from the member's.
BLOCKS_API void append_differences(std::vector<place_t>& places, std::int32_t member, const formula_t& a,
                                   const formula_t& b);

/// A value that can be watched: the output of a member, or what it samples at input 0.
struct signal_t {
    std::int32_t member = 0;
    bool input = false;
};

}  // namespace tessel::ensemble
