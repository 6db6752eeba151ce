// One text loaded piece by piece, as a model of the library is, and as one document, as a model of the host's is.
#pragma once

#include <string>
#include <string_view>

#include "IMetaBlock.h"

namespace tessel::test {

/// Everything that a file tells of a block, floats to the bit.
std::string described(const IMetaBlock& block);

/// What loading came to: the result, what the console was told, and all that is in the model then.
std::string loaded_by_pieces(std::string_view text);
std::string loaded_whole(std::string_view text);

}  // namespace tessel::test
