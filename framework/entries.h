// The list of the block classes: one line each, sorted by name. A line makes the class known to the factory and to all
// who show classes; its file offers the entry.
#pragma once

#include "framework/entry.h"

/// CLASS(name): a class whose file defines `name_entry`. ALSO(name, other): another name of a class.
#define BLOCKS_CLASSES(CLASS, ALSO) \
    CLASS(abs)                      \
    CLASS(acc)                      \
    CLASS(acos)                     \
    CLASS(add)                      \
    CLASS(asin)                     \
    CLASS(atan)                     \
    CLASS(cast)                     \
    CLASS(clamp)                    \
    CLASS(constant)                 \
    CLASS(cos)                      \
    CLASS(debounce)                 \
    CLASS(delta)                    \
    CLASS(display)                  \
    CLASS(divide)                   \
    CLASS(enable)                   \
    CLASS(from)                     \
    CLASS(from_workspace)           \
    CLASS(goto)                     \
    CLASS(hysteresis)               \
    CLASS(if)                       \
    CLASS(inport)                   \
    CLASS(lerp)                     \
    CLASS(log)                      \
    CLASS(logical)                  \
    CLASS(lut1d)                    \
    CLASS(lut2d)                    \
    CLASS(max)                      \
    CLASS(memory)                   \
    CLASS(min)                      \
    CLASS(mod)                      \
    CLASS(multiply)                 \
    CLASS(not )                     \
    CLASS(outport)                  \
    CLASS(poly1st)                  \
    CLASS(pow)                      \
    CLASS(random)                   \
    CLASS(refsys)                   \
    CLASS(relational)               \
    CLASS(sin)                      \
    CLASS(sinewave)                 \
    CLASS(sqrt)                     \
    CLASS(squarewave)               \
    CLASS(step)                     \
    CLASS(subsys)                   \
    ALSO(subsys, subsystem)         \
    CLASS(subtract)                 \
    CLASS(switch)                   \
    CLASS(tan)                      \
    CLASS(time)                     \
    CLASS(to_workspace)             \
    CLASS(unpack)

namespace tessel {

#define BLOCKS_DECLARE(name) extern const block_entry_t name##_entry;
#define BLOCKS_NOTHING(name, other)
BLOCKS_CLASSES(BLOCKS_DECLARE, BLOCKS_NOTHING)
#undef BLOCKS_DECLARE
#undef BLOCKS_NOTHING

}  // namespace tessel
