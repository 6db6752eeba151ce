// How the regions of subsystems come out in a generated `step`.
#pragma once

#include <vector>

#include "host/codenotes/notes.h"

namespace zarn {

/// The block as generated text and notes call it: "Gain_42 (abs)".
std::string subject_of(const tessel::IMetaBlock& block);

/// Notes on braces in C, or on indentation in Python. The model's blocks stand in the order of the generators.
std::vector<note_t> region_notes(tessel::IMetaModel& model, dialect_t dialect);

}  // namespace zarn
