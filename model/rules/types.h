// Types of ports, by propagation along the links.
#pragma once

#include "core/export.h"
#include "core/result.h"
#include "model/rules/blocks.h"

namespace tessel::rules {

/// What a sweep over the types does with each block, and where it meets a fault. As it stands, the sweep stops there.
class BLOCKS_API TypePolicy {
public:
    TypePolicy() = default;
    TypePolicy(const TypePolicy&) = delete;
    TypePolicy& operator=(const TypePolicy&) = delete;
    virtual ~TypePolicy();

    /// Lets the block at a position work out its types.
    virtual result_t ask(std::size_t position, IMetaBlock& block);
    /// Whether to go on without a block that has failed, which is not asked again. It may be given types here.
    virtual bool goes_past(std::size_t position, result_t result);
    /// A sweep begins.
    virtual void begin_sweep();
    /// Whether to go on after a sweep that has completed no block.
    virtual bool goes_on();
};

/// Asks in sweeps, in list order, every block with an untyped port, until there is none. A block may be left out of a
/// sweep when it could find nothing that it did not find before, unless others would notice that it is asked.
/// @return result_ok, what a block failed with, or result_types_unresolved when a sweep has completed no block.
BLOCKS_API result_t sweep_types(lineup_t blocks, TypePolicy& policy);

}  // namespace tessel::rules
