// How an input lifts the zone of its block.
#pragma once

#include <cstdint>

#include "IMetaBlock.h"

namespace tessel {

/// What a block's zone becomes by an input that `source` feeds: one above a source that is not below it, and a thousand
/// more where the source stands on another tier. Inputs count one after the other, from the zone that the ones before
/// have given.
inline std::int32_t lifted_zone(std::int32_t zone, std::int32_t tier, const IMetaBlock& source) noexcept {
    if (source.zone() < zone) return zone;
    return source.zone() + (source.tier() != tier ? 1001 : 1);
}

}  // namespace tessel
