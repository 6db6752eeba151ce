// Instantiates the layouts with up to two inputs, and those with N inputs of one type.

#include "exec/for_each_type.h"
#include "exec/ports.inl"

namespace tessel {

#define BLOCKS_NARROW(T)                        \
    template class Ports<inputs<>, outputs<T>>; \
    template class Ports<inputs<T>, outputs<>>; \
    template class Ports<inputs<T>, outputs<T>>;
BLOCKS_FOR_EACH_TYPE(BLOCKS_NARROW)

#define BLOCKS_TO_BOOL(T)                           \
    template class Ports<inputs<T>, outputs<bool>>; \
    template class Ports<inputs<T, T>, outputs<bool>>;
BLOCKS_FOR_EACH_BUT_BOOL(BLOCKS_TO_BOOL)

#define BLOCKS_PAIR(A, B) template class Ports<inputs<A, B>, outputs<highest<A, B>>>;
BLOCKS_FOR_EACH_PAIR(BLOCKS_PAIR)

#define BLOCKS_SELECT(T)                                 \
    template class Ports<same_inputs<T, 3>, outputs<T>>; \
    template class Ports<same_inputs<T, 4>, outputs<T>>; \
    template class Ports<same_inputs<T, 5>, outputs<T>>; \
    template class Ports<same_inputs<T, 6>, outputs<T>>; \
    template class Ports<same_inputs<T, 7>, outputs<T>>; \
    template class Ports<same_inputs<T, 8>, outputs<T>>;
BLOCKS_FOR_EACH_TYPE(BLOCKS_SELECT)
template class Ports<same_inputs<bool, 2>, outputs<bool>>;

}  // namespace tessel
