// What a user should know about the project that a generator writes for a model.
//
// The fixed parts and the blocks' texts of generated projects are kept as they are, since users have projects that
// build on them. Some do not compile, link or run, some compute other values than a run. docs/generated-code.md tells
// why.
#pragma once

#include <string>
#include <vector>

#include "IMetaModel.h"

namespace zarn {

enum class language_t { c, python };

/// What is the matter with a text.
inline constexpr const char* not_compiled = "does not compile";
inline constexpr const char* not_linked = "does not link";
inline constexpr const char* not_parsed = "does not parse";
inline constexpr const char* not_run = "does not run";
inline constexpr const char* differs = "differs";

/// One thing to know: "Gain_42 (abs)" or "project", one of the words above, and a sentence.
struct note_t {
    std::string subject;
    std::string what;
    std::string sentence;
};

/// Every note on the model's project, in the order of the generated text; those on the project as a whole stand first.
/// The model must be compiled; the order of its blocks is kept.
std::vector<note_t> find_notes(tessel::IMetaModel& model, language_t language);

/// The same as lines: "Gain_42 (abs): does not compile: its text calls std::abs, which C does not have".
std::vector<std::string> notes_for(tessel::IMetaModel& model, language_t language);

}  // namespace zarn
