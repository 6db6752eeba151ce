// What must not be loaded, found in the texts of a model before anything is made of them.
#pragma once

#include <string>

#include "host/document/document.h"

namespace zarn {

/// What is too much of a model, and what would make it less; both empty for one that can be loaded.
struct excess_t {
    std::string what;
    std::string mend;
};

/// Why a model with all that it refers to would take more memory than there is, or than is sensible for its size. Reads
/// the files that the model refers to.
excess_t find_too_large(Document& document);

/// The same in words, or why the main file cannot be read; "" when nothing speaks against a load.
std::string find_unloadable(Document& document);

}  // namespace zarn
