// What must not be loaded, found in the texts of a model before anything is made of them.
#pragma once

#include <string>

#include "host/document/document.h"

namespace zarn {

/// Why a model with all that it refers to would take more memory than there is, or than is sensible for its size; ""
/// when it does not. Reads the files that the model refers to.
std::string find_too_large(Document& document);

}  // namespace zarn
