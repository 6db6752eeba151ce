// What a user should know about the project that a generator writes for a model.
//
// What the texts of a class do otherwise than a run stands beside the class (framework/generated_text.h); here are the
// notes on a model at hand, and those on the fixed parts of a project. docs/generated-code.md tells why.
#pragma once

#include <string>
#include <vector>

#include "IMetaModel.h"
#include "framework/generated_text.h"

namespace zarn {

using tessel::dialect_t;

/// One thing to know: "Gain_42 (abs)" or "project", what is the matter, such as `tessel::differs`, and a
/// sentence.
struct note_t {
    std::string subject;
    std::string what;
    std::string sentence;
};

/// Every note on the model's project, in the order of the generated text; those on the project as a whole stand first.
/// The model must be compiled; the order of its blocks is kept.
std::vector<note_t> find_notes(tessel::IMetaModel& model, dialect_t dialect);

/// The same as lines: "Gain_42 (abs): does not compile: its text calls std::abs, which C does not have".
std::vector<std::string> notes_for(tessel::IMetaModel& model, dialect_t dialect);

}  // namespace zarn
