// Instantiates the layouts with three inputs of any types; each slice has one type of the first input.

#include "exec/for_each_type.h"
#include "exec/ports.inl"

namespace tessel {

using first_t = type_at<BLOCKS_SLICE, value_types>;

#define BLOCKS_TRIPLE(B, C) template class Ports<inputs<first_t, B, C>, outputs<highest<first_t, B, C>>>;
BLOCKS_FOR_EACH_PAIR(BLOCKS_TRIPLE)

}  // namespace tessel
